// Images in pictures: told apart by what they show, not by their bytes.
#include "opt/verify/kxImageMatch.h"

#include "interop/images/libKXImageIO.h"
#include "opt/libKXOpt.h"
#include "opt/verify/kxPictureComparison.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/gfx/kxImageCodec.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxTextScene.h"
#include "tests/opt/testRun.h"

#include <gmock/gmock.h>

#include <cmath>

namespace Kel::Opt
{

namespace
{

kxSmartPointer<kxImage> makeImage(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height,
                                  const std::vector<uint8_t>& pattern)
{
    auto image = kxNew<kxImage>();
    image->setSize(width, height, format);
    uint8_t* pixels = image->getWritablePixels();
    for (uint64_t i = 0; i < image->getByteSize(); ++i)
        pixels[i] = pattern[i % pattern.size()];
    return image;
}

/// The image as it comes out of a file.
kxSmartPointer<kxImage> encoded(kxImage& image)
{
    kxImageFileForm form;
    EXPECT_TRUE(kxImageCodec::encodeForFile(image, false, form));
    auto file = kxNew<kxImage>();
    file->_encoded = form.bytes;
    return file;
}

/// A triangle with a texture of these images.
kxSmartPointer<kxNode> sceneOf(const std::vector<kxSmartPointer<kxImage>>& images)
{
    kxSmartPointer<kxNode> root;
    std::string fault;
    EXPECT_TRUE(kxTextScene::parse("AttrSet{Material red}(Geometry{tri})", root, nullptr, fault)) << fault;
    auto bind = kxNew<kxTextureBindAttr>();
    bind->_slot = "baseColorTexture";
    bind->setTexture(kxNew<kxTextureAttr>());
    for (kxImage* image : images)
    {
        bind->getTexture()->_imageList->append(image);
        bind->getTexture()->_imageExtensions->append("");
    }
    kxCast<kxAttrSet>(root.get())->appendAttr(bind);
    return root;
}

std::vector<std::string> compare(kxNode* a, kxNode* b, double imageTolerance, bool ignoreImages = false)
{
    kxDrawList listA, listB;
    listA.collect(a);
    listB.collect(b);
    kxPictureComparison comparison({.ignoreImages = ignoreImages, .imageTolerance = imageTolerance});
    const bool isSame = comparison.compare(listA, listB);
    std::vector<std::string> lines = comparison.describe(listA, listB, 20);
    EXPECT_EQ(isSame, lines.empty());
    return lines;
}

} // namespace

TEST(kxImageMatch, DifferenceIsTheRootOfTheMeanSquare)
{
    libKXOpt_arkRegister();
    libKXImageIO_arkRegister();
    const struct
    {
        const char* what;
        kxSmartPointer<kxImage> a, b;
        double wanted, error;
    } cases[] = {
        {"equal", makeImage(rgb_888_24, 5, 3, {1, 2, 3}), makeImage(rgb_888_24, 5, 3, {1, 2, 3}), 0, 0},
        {"another format", makeImage(l_8, 5, 3, {9}), makeImage(rgba_8888_32, 5, 3, {9, 9, 9, 255}), 0, 0},
        {"one component of three", makeImage(rgb_888_24, 4, 4, {10, 20, 30}), makeImage(rgb_888_24, 4, 4, {16, 20, 30}),
         6 / std::sqrt(3.0), 1e-9},
        {"half of the pixels", makeImage(l_8, 4, 4, {0}), makeImage(l_8, 4, 4, {0, 8}), 8 / std::sqrt(2.0), 1e-9},
        {"alpha counts where there is one", makeImage(rgba_8888_32, 4, 4, {7, 7, 7, 100}),
         makeImage(rgba_8888_32, 4, 4, {7, 7, 7, 110}), 5, 1e-9},
        {"the smaller one is scaled up", makeImage(l_8, 4, 4, {77}), makeImage(l_8, 16, 9, {80}), 3, 1e-9},
        {"wider against higher", makeImage(l_8, 8, 2, {50}), makeImage(l_8, 2, 8, {51}), 1, 1e-9},
    };
    for (const auto& c : cases)
    {
        EXPECT_NEAR(imageDifference(*c.a, *c.b), c.wanted, c.error) << c.what;
        EXPECT_NEAR(imageDifference(*c.b, *c.a), c.wanted, c.error) << c.what;
    }
    EXPECT_LT(imageDifference(*kxNew<kxImage>(), *cases[0].a), 0);
}

TEST(kxImageMatch, PicturesAreTheSameWhenTheirImagesShowTheSame)
{
    libKXOpt_arkRegister();
    libKXImageIO_arkRegister();
    auto grey = makeImage(l_8, 8, 8, {40, 90});
    auto color = makeImage(rgb_888_24, 8, 8, {40, 40, 40, 90, 90, 90});
    auto near = makeImage(l_8, 8, 8, {42, 92});
    auto other = makeImage(l_8, 8, 8, {200, 90});
    auto broken = kxNew<kxImage>();
    broken->_encoded = kxMemoryBlock::copyOf("\x89PNG\r\n\x1a\n", 8);
    const kxSmartPointer<kxImage> brokenToo = kxNew<kxImage>();
    brokenToo->copyFrom(broken);
    const auto missing = kxNew<kxImage>(), missingPng = kxNew<kxImage>(), missingElsewhere = kxNew<kxImage>();
    missing->_uri = missingPng->_uri = "gone.png";
    missingPng->_mimeType = "image/png";
    missingElsewhere->_uri = "other.png";
    const kxSmartPointer<kxImage> greyFile = encoded(*grey), nearFile = encoded(*near);
    const struct
    {
        const char* what;
        std::vector<kxSmartPointer<kxImage>> a, b;
        double tolerance;
        const char* difference; // null: the same
    } cases[] = {
        {"pixels and a file of them", {grey}, {greyFile}, 0, nullptr},
        {"another format", {greyFile}, {color}, 0, nullptr},
        {"other pixels", {greyFile}, {nearFile}, 0, "has another image"},
        {"other pixels within the tolerance", {greyFile}, {near}, 2.1, nullptr},
        {"and beyond it", {grey}, {nearFile}, 1.9, "has another image (difference 2 of 255)"},
        {"a fallback and another kind behind it", {grey}, {nullptr, greyFile, other}, 0, nullptr},
        {"the first one counts", {grey, near}, {near, grey}, 0, "has another image"},
        {"no image at all", {grey}, {}, 9, "has another image"},
        {"one that cannot be read", {grey}, {broken}, 9, "has another image"},
        {"one that cannot be read, and the same", {broken}, {brokenToo}, 0, nullptr},
        {"one that is not there, with its type and without", {missing}, {missingPng}, 0, nullptr},
        {"one that is not there in another place", {missing}, {missingElsewhere}, 0, "has another image"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const kxReportCollector collector;
        const auto a = sceneOf(c.a), b = sceneOf(c.b);
        const std::vector<std::string> lines = compare(a, b, c.tolerance);
        if (c.difference)
            EXPECT_THAT(lines, testing::ElementsAre(testing::HasSubstr(c.difference)));
        else
            EXPECT_THAT(lines, testing::IsEmpty());
        EXPECT_THAT(compare(a, b, 0, true), testing::IsEmpty());
    }
}

TEST(kxImageMatch, ImagesOfMaterialVariantsCount)
{
    libKXOpt_arkRegister();
    libKXImageIO_arkRegister();
    const auto sceneWith = [](kxImage& image)
    {
        const kxSmartPointer<kxNode> root = sceneOf({makeImage(l_8, 4, 4, {7})});
        auto* geometry = kxCast<kxGeometry>(kxCast<kxGroup>(root)->getChild(0u));
        auto variant = kxNew<kxMaterialVariant>();
        auto bind = kxNew<kxTextureBindAttr>();
        bind->setTexture(kxNew<kxTextureAttr>());
        bind->getTexture()->_imageList->append(&image);
        variant->_attrs->append(bind);
        geometry->_variants = kxNew<kxMaterialVariantList>();
        geometry->_variants->append(variant);
        return root;
    };
    auto image = makeImage(l_8, 8, 8, {40, 90}), near = makeImage(l_8, 8, 8, {43, 93});
    const auto a = sceneWith(*image), b = sceneWith(*encoded(*image)), c = sceneWith(*near);
    EXPECT_THAT(compare(a, b, 0), testing::IsEmpty());
    EXPECT_THAT(compare(a, c, 3), testing::IsEmpty());
    EXPECT_THAT(compare(a, c, 2), testing::ElementsAre(testing::HasSubstr("material variants has another image")));
    EXPECT_THAT(compare(a, c, 0, true), testing::IsEmpty());
}

// Optimizations change images in place; what is remembered must not change with them.
TEST(kxImageMatch, WhatIsRememberedStaysAsItWas)
{
    libKXOpt_arkRegister();
    libKXImageIO_arkRegister();
    for (const double tolerance : {0.0, 30.0})
        for (const bool isFile : {false, true})
        {
            auto image = makeImage(l_8, 8, 8, {40, 90});
            if (isFile)
                image = encoded(*image);
            const auto scene = sceneOf({image});
            kxDrawList before, after, changed;
            before.collect(scene);
            ASSERT_TRUE(image->convert(rgb_888_24, image));
            after.collect(scene);
            image->getWritablePixels()[0] = 255; // a difference of 15 in the mean
            changed.collect(scene);
            const kxPictureComparison::Options options = {.imageTolerance = tolerance};
            EXPECT_TRUE(kxPictureComparison(options).compare(before, after)) << tolerance << isFile;
            EXPECT_EQ(kxPictureComparison(options).compare(before, changed), tolerance > 0) << tolerance << isFile;
        }
}

TEST(kxImageMatch, AStepOfAScriptTakesATolerance)
{
    const auto scriptWith = [](const char* line)
    {
        return std::string("[OPTIMIZE]\noptimizationCount = 3\nhierarchyCheck = false\n"
                           "[OPTIMIZATION1]\nname = kxVerifyPicture\n") +
               line + "[OPTIMIZATION2]\nname = kxConvertImage\nformat = rgb_565_16\n" +
               "[OPTIMIZATION3]\nname = kxVerifyPicture\n" + line;
    };
    for (const bool isTolerant : {false, true})
    {
        TestRun run;
        auto info = kxNew<kxSceneInfo>();
        info->setName("scene");
        info->setSceneGraph(sceneOf({makeImage(rgb_888_24, 8, 8, {41, 93, 17})}));
        run.getService()->_file->addInfo(info);
        auto driver = run.createDriver(scriptWith(isTolerant ? "imageTolerance = 4\n" : "").c_str());
        EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
        EXPECT_THAT(run.takeText(), testing::HasSubstr(isTolerant ? "picture of \"scene\" unchanged"
                                                                  : "kxTextureBindAttr baseColorTexture has another"));
    }
}

} // namespace Kel::Opt
