#include "opt/image/kxShareImages.h"

#include "opt/tracking/kxLockBase.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/sg/kxAttrSet.h"
#include "tests/opt/image/kxImageTestTools.h"
#include "tests/opt/testRun.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{
namespace
{

struct BoundImage
{
    kxSmartPointer<kxImage> image;
    std::function<void(kxTextureBindAttr&)> change = [](kxTextureBindAttr&) {};
};

kxSmartPointer<kxTextureBindAttr> bindOf(const BoundImage& bound)
{
    auto bind = kxNew<kxTextureBindAttr>();
    bind->setTexture(kxNew<kxTextureAttr>());
    bind->getTexture()->_imageList->append(bound.image);
    bound.change(*bind);
    return bind;
}

kxSmartPointer<kxImage> fileOf(const char* bytes, const char* name, const char* mimeType = "image/png")
{
    auto image = kxNew<kxImage>();
    image->_encoded = kxMemoryBlock::copyOf(bytes, std::strlen(bytes));
    image->_name = name;
    image->_mimeType = mimeType;
    return image;
}

kxSmartPointer<kxImage> changed(kxSmartPointer<kxImage> image, const std::function<void(kxImage&)>& change)
{
    change(*image);
    return image;
}

} // namespace

TEST(kxShareImages, SharesWhatIsEqual)
{
    libKXOpt_arkRegister();
    const auto pixels = [] { return makeTestImage(rgb_888_24, 4, 4); };
    const auto extras = [](const char* text)
    {
        auto data = kxNew<kxUserData>();
        data->_extras = text;
        return data;
    };
    const struct
    {
        const char* what;
        BoundImage a, b;
        bool sharesImages, sharesTextures;
    } cases[] = {
        {"equal files", {fileOf("x", "a")}, {fileOf("x", "b")}, true, true},
        {"other files", {fileOf("x", "a")}, {fileOf("y", "a")}, false, false},
        {"a type that is missing", {fileOf("x", "a")}, {fileOf("x", "a", "")}, true, true},
        {"another type", {fileOf("x", "a")}, {fileOf("x", "a", "image/webp")}, false, false},
        {"extras",
         {fileOf("x", "a")},
         {changed(fileOf("x", "a"), [&](kxImage& image) { image._userData = extras("1"); })},
         false,
         false},
        {"equal extras",
         {changed(fileOf("x", "a"), [&](kxImage& image) { image._userData = extras("1"); })},
         {changed(fileOf("x", "a"), [&](kxImage& image) { image._userData = extras("1"); })},
         true,
         true},
        {"a file of which the pixels were looked at",
         {fileOf("x", "a")},
         {changed(fileOf("x", "a"), [](kxImage& image) { image._width = image._height = 7; })},
         true,
         true},
        {"equal pixels", {pixels()}, {pixels()}, true, true},
        {"other pixels",
         {pixels()},
         {changed(pixels(), [](kxImage& image) { image.getWritablePixels()[9] ^= 1; })},
         false,
         false},
        {"another shape of as many",
         {pixels()},
         {changed(pixels(), [](kxImage& image) { std::tie(image._width, image._height) = std::tuple(2u, 8u); })},
         false,
         false},
        {"another quality of the file to be",
         {pixels()},
         {changed(pixels(), [](kxImage& image) { image._quality = 50; })},
         false,
         false},
        {"another colour profile",
         {pixels()},
         {changed(pixels(), [](kxImage& image) { image._colorProfile = kxMemoryBlock::copyOf("p", 1); })},
         false,
         false},
        {"pixels and a file", {pixels()}, {fileOf("x", "a")}, false, false},
        {"nothing that is known", {kxNew<kxImage>()}, {kxNew<kxImage>()}, false, false},
        {"another sampler",
         {fileOf("x", "a")},
         {fileOf("x", "a"), [](kxTextureBindAttr& bind) { bind.getTexture()->_wrapS = 33071; }},
         true,
         false},
        {"another name of the texture",
         {fileOf("x", "a")},
         {fileOf("x", "a"), [](kxTextureBindAttr& bind) { bind.getTexture()->_name = "t"; }},
         true,
         true},
        {"a second image",
         {fileOf("x", "a")},
         {fileOf("x", "a"), [](kxTextureBindAttr& bind) { bind.getTexture()->_imageList->append(fileOf("z", "c")); }},
         true,
         false},
        {"no image in front",
         {fileOf("x", "a")},
         {fileOf("x", "a"), [](kxTextureBindAttr& bind) { bind.getTexture()->_imageList->insert(0, nullptr); }},
         true,
         false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const auto a = bindOf(c.a), b = bindOf(c.b);
        const kxSmartPointer<kxTextureAttr> before = b->getTexture();
        auto set = kxNew<kxAttrSet>();
        set->appendAttr(a);
        set->appendAttr(b);
        kxSmartPointer<kxNode> root = set;
        auto share = kxNew<kxShareImages>();
        ASSERT_TRUE(share->apply(root));
        EXPECT_EQ(a->getTexture()->getFirstImage(), c.a.image) << "the first one stays";
        EXPECT_EQ(before->getFirstImage() == c.a.image, c.sharesImages);
        EXPECT_EQ(b->getTexture() == a->getTexture(), c.sharesTextures);
        EXPECT_EQ(share->getCounters().size(), size_t(c.sharesImages) + c.sharesTextures);
        auto again = kxNew<kxShareImages>();
        ASSERT_TRUE(again->apply(root));
        EXPECT_TRUE(again->getCounters().empty());
    }
}

// What an animation or a host holds on to keeps its own.
TEST(kxShareImages, LeavesLockedTexturesAlone)
{
    TestRun run;
    for (const int locked : {0, 1, 2})
    {
        const auto a = bindOf({fileOf("x", "a")}), b = bindOf({fileOf("x", "b")});
        const kxSmartPointer<kxTextureAttr> texture = b->getTexture();
        const kxSmartPointer<kxImage> image = texture->getFirstImage();
        auto set = kxNew<kxAttrSet>();
        set->appendAttr(a);
        set->appendAttr(b);
        const kxSmartPointer<kxNode> root = set;
        auto share = run.create<kxShareImages>();
        kxLockInterface* locks = run.m_manager->_lockInterface;
        locks->getCache(kxStringRef(kxDataPumpLock::kCacheName))
            ->append(locked == 0   ? static_cast<kxObject*>(b)
                     : locked == 1 ? static_cast<kxObject*>(texture)
                                   : image);
        locks->setObjectCacheValid(kxDataPumpLock::kCacheName, true);
        kxSmartPointer<kxNode> node = root;
        ASSERT_TRUE(share->apply(node));
        EXPECT_EQ(b->getTexture(), texture) << locked;
        EXPECT_EQ(texture->getFirstImage() == image, locked != 0) << locked;
        ASSERT_EQ(share->getRefusals().size(), 1u) << locked;
        locks->forgetCaches();
    }
}

} // namespace Kel::Opt
