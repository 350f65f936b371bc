// What becomes of images in files that are written after their pixels have changed.
#include "tests/gltf/kxGltfTestTools.h"

#include "interop/images/libKXImageIO.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/core/kxWrittenSizes.h"
#include "platform/gfx/kxImageCodec.h"

namespace Kel::Gltf
{

namespace
{

using namespace Kel::Gfx;

std::string imageUri(const char* mimeType, uint32_t width = 16, uint32_t height = 8)
{
    auto image = kxNew<kxImage>();
    image->setSize(width, height, rgb_888_24);
    uint8_t* pixels = image->getWritablePixels();
    for (uint32_t i = 0; i < width * height * 3; ++i)
        pixels[i] = static_cast<uint8_t>(i * 7);
    image->_mimeType = mimeType;
    kxImageFileForm form;
    EXPECT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
    EXPECT_EQ(form.mimeType.str(), mimeType);
    std::string uri = "data:" + form.mimeType.str() + ";base64,";
    encodeBase64(form.bytes->getData(), form.bytes->getSize(), uri);
    return uri;
}

/// A scene with textures and images given as JSON; every texture is in use.
std::string texturedScene(const std::string& textures, const std::string& images, const std::string& more = "")
{
    return R"({"asset":{"version":"2.0"},)" + more + R"("materials":[{"pbrMetallicRoughness":{"baseColorTexture":)" +
           R"({"index":0}}}],"textures":[)" + textures + R"(],"images":[)" + images + "]}";
}

class GltfImages : public GltfTest
{
protected:
    void SetUp() override
    {
        GltfTest::SetUp();
        libKXImageIO_arkRegister();
        m_png = "{\"uri\":\"" + imageUri("image/png") + "\"}";
        m_webp = "{\"uri\":\"" + imageUri("image/webp") + "\"}";
    }
    static std::vector<kxImage*> imagesOf(const kxDirectory& directory)
    {
        std::vector<kxImage*> images;
        for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
            if (auto* image = kxCast<kxImage>(directory.getSharedObject(i)))
                images.push_back(image);
        return images;
    }
    static void convertAll(const kxDirectory& directory, KX_GFX_TEXTURE_FORMAT format)
    {
        for (kxImage* image : imagesOf(directory))
        {
            if (kxImage::isIndexed(format))
            {
                EXPECT_TRUE(image->setSize(16, 8, format));
                image->_clut = kxClut::create(reinterpret_cast<const uint8_t*>("\1\2\3\377"), 1);
            }
            else
            {
                EXPECT_TRUE(image->convert(rgba_8888_32, image) && image->convert(format, image));
            }
        }
    }
    bool saveWith(kxDirectory& directory, const char* name, bool noFallback, kxWrittenSizes* sizes = nullptr)
    {
        const auto options = kxNew<kxFileOptions>();
        options->_noFallback = noFallback;
        options->m_writtenSizes = sizes;
        const kxReportCollector reports;
        const bool done =
            kxFileFormat::findWriter(pathOf(name).c_str())->write(directory, pathOf(name).c_str(), *options) ==
            kSuccess;
        m_warnings = reports.m_warnings;
        open(name);
        return done;
    }

    std::string m_png, m_webp;
};

const char* const kWebpOnly = R"({"extensions":{"EXT_texture_webp":{"source":0}}})";
const char* const kWebpBoth = R"({"source":0,"extensions":{"EXT_texture_webp":{"source":1}}})";
const char* const kNeedsWebp = R"("extensionsUsed":["EXT_texture_webp"],"extensionsRequired":["EXT_texture_webp"],)";
const char* const kUsesWebp = R"("extensionsUsed":["EXT_texture_webp"],)";

} // namespace

TEST_F(GltfImages, ChangedImagesTakeTheRolesThatTheirFilesHave)
{
    const std::string both = m_png + "," + m_webp;
    const struct
    {
        const char* what;
        std::string scene;
        KX_GFX_TEXTURE_FORMAT format;
        bool noFallback;
        const char* texture;
        size_t imageCount;
        const char *used, *required;
    } cases[] = {
        {"a PNG stands beside blocks", texturedScene(R"({"source":0})", m_png), dxt1, false,
         R"({"source":1,"extensions":{"MSFT_texture_dds":{"source":0}}})", 2, R"(["MSFT_texture_dds"])", ""},
        {"blocks alone are required", texturedScene(R"({"source":0})", m_png), dxt1, true,
         R"({"extensions":{"MSFT_texture_dds":{"source":0}}})", 1, R"(["MSFT_texture_dds"])",
         R"(["MSFT_texture_dds"])"},
        {"of two that became DDS the first counts", texturedScene(kWebpBoth, both, kUsesWebp), rgb_565_16, false,
         R"({"source":1,"extensions":{"MSFT_texture_dds":{"source":0}}})", 2, R"(["MSFT_texture_dds"])", ""},
        {"of two that became PNG as well", texturedScene(kWebpBoth, both, kUsesWebp), x_4, false, R"({"source":0})", 1,
         "", ""},
        {"nothing needs WebP any more", texturedScene(kWebpOnly, m_webp, kNeedsWebp), x_8, false, R"({"source":0})", 1,
         "", ""},
        {"a WebP stays one without a PNG", texturedScene(kWebpOnly, m_webp, kNeedsWebp), rgb_888_24, false, kWebpOnly,
         1, R"(["EXT_texture_webp"])", R"(["EXT_texture_webp"])"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const auto directory = loadText(c.scene);
        ASSERT_TRUE(directory) << m_errors;
        convertAll(*directory, c.format);
        kxWrittenSizes sizes;
        ASSERT_TRUE(saveWith(*directory, "out.gltf", c.noFallback, &sizes));
        EXPECT_EQ(at("textures/0"), c.texture);
        EXPECT_EQ(count("images"), c.imageCount);
        EXPECT_EQ(at("extensionsUsed"), c.used);
        EXPECT_EQ(at("extensionsRequired"), c.required);
        EXPECT_EQ(m_warnings, "");

        // What is said of the sizes is what the file holds.
        uint64_t said = 0, held = 0;
        for (const kxImage* image : imagesOf(*directory))
        {
            ASSERT_TRUE(sizes.find(image));
            said += *sizes.find(image);
        }
        const auto again = load("out.gltf");
        ASSERT_TRUE(again) << m_errors;
        EXPECT_EQ(imagesOf(*again).size(), c.imageCount);
        for (kxImage* image : imagesOf(*again))
        {
            held += image->_encoded->getSize();
            EXPECT_EQ(image->getWidth(), 16u);
        }
        EXPECT_EQ(said, held);
        const std::string first = get("out.gltf");
        ASSERT_TRUE(saveWith(*again, "out.gltf", c.noFallback));
        EXPECT_EQ(get("out.gltf"), first) << "unchanged images stay as they are";
    }
}

TEST_F(GltfImages, TheFirstImageOfATextureIsARealOne)
{
    const auto directory = loadText(texturedScene(kWebpOnly, m_webp, kNeedsWebp));
    ASSERT_TRUE(directory) << m_errors;
    for (uint32_t i = 0; i < directory->getSharedEntryCount(); ++i)
        if (const auto* texture = kxCast<Attrs::kxTextureAttr>(directory->getSharedObject(i)))
        {
            EXPECT_TRUE(texture->getImage(0));
        }
}

TEST_F(GltfImages, FallbacksStandBesideTheirImages)
{
    put("in/a.png", "");
    const auto directory = loadText(texturedScene(R"({"source":0})", m_png));
    ASSERT_TRUE(directory);
    imagesOf(*directory)[0]->_uri = "tex/a.png";
    convertAll(*directory, dxt3);
    ASSERT_TRUE(saveWith(*directory, "out.gltf", false));
    EXPECT_EQ(at("images"), R"([{"uri":"tex/a.dds","mimeType":"image/vnd-ms.dds"},)"
                            R"({"uri":"tex/a.png","mimeType":"image/png"}])");
    EXPECT_EQ(get("tex/a.dds").substr(0, 4), "DDS ");
    EXPECT_EQ(get("tex/a.png").substr(1, 3), "PNG");
    ASSERT_TRUE(save(*directory, "out.glb"));
    const auto binary = load("out.glb");
    ASSERT_TRUE(binary);
    EXPECT_EQ(imagesOf(*binary).size(), 2u);
}

TEST_F(GltfImages, WhatAFileCannotHoldOrHardwareMayRefuseIsSaid)
{
    const struct
    {
        KX_GFX_TEXTURE_FORMAT format;
        uint32_t side;
        const char* sampler;
        std::vector<const char*> warnings;
    } cases[] = {
        {rgba_5553_16, 8, "9729", {"no kind of image file holds its format"}},
        {tiled_rgb_565_16_gamecube, 8, "9729", {"no kind of image file holds its format"}},
        {rgb_565_16, 6, "9987", {}},
        {dxt1, 8, "9729", {}},
        {dxt1, 6, "9987", {"no multiples of 4", "has one level"}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.format);
        const auto directory =
            loadText(texturedScene(R"({"source":0,"sampler":0})",
                                   "{\"name\":\"pic\",\"uri\":\"" + imageUri("image/png", c.side, c.side) + "\"}",
                                   std::string(R"("samplers":[{"minFilter":)") + c.sampler + "}],"));
        ASSERT_TRUE(directory) << m_errors;
        convertAll(*directory, c.format);
        ASSERT_TRUE(saveWith(*directory, "out.gltf", false));
        EXPECT_EQ(std::count(m_warnings.begin(), m_warnings.end(), '\n'), static_cast<long>(c.warnings.size()))
            << m_warnings;
        for (const char* warning : c.warnings)
        {
            EXPECT_NE(m_warnings.find(warning), std::string::npos) << m_warnings;
            EXPECT_NE(m_warnings.find("pic: "), std::string::npos) << m_warnings;
        }
    }
}

} // namespace Kel::Gltf
