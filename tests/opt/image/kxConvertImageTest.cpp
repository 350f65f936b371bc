#include "opt/image/kxConvertImage.h"

#include "platform/core/kxReport.h"
#include "tests/opt/image/kxImageTestTools.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{
namespace
{

class kxConvertImageTest : public testing::Test
{
protected:
    kxConvertImageTest()
    {
        libKXOpt_arkRegister();
        convert = kxNew<kxConvertImage>();
        log = std::make_unique<ImageLog>(*convert);
    }
    std::string run(kxImage* image, KX_GFX_TEXTURE_FORMAT format)
    {
        convert->convertImage(image, format, DEFAULT);
        return log->take();
    }
    bool configure(const char* section)
    {
        auto registry = kxNew<kxRegistry>();
        registry->loadText(std::string("[s]\n") + section, "script");
        convert->setRegistry(registry);
        return convert->configure(0);
    }
    static kxSmartPointer<kxImage> indexedImage(KX_GFX_TEXTURE_FORMAT format, uint32_t colorCount)
    {
        auto image = makeTestImage(format, 8, 4, {1});
        std::vector<uint8_t> colors(4 * colorCount, 255);
        image->_clut = kxClut::create(colors.data(), colorCount);
        return image;
    }

    kxSmartPointer<kxConvertImage> convert;
    std::unique_ptr<ImageLog> log;
};

TEST_F(kxConvertImageTest, SaysForEachImageWhatBecameOfIt)
{
    const struct
    {
        kxSmartPointer<kxImage> image;
        KX_GFX_TEXTURE_FORMAT target;
        const char* text;
        KX_GFX_TEXTURE_FORMAT result;
    } cases[] = {
        {makeTestImage(rgba_8888_32, 8, 4), rgba_5551_16,
         "converted image from (128 bytes) (32 bpp) to format 8 (64 bytes)(16 bpp)\n", rgba_5551_16},
        {makeTestImage(rgba_4444_16, 8, 4), rgb_565_16,
         "converted image from (64 bytes) (16 bpp) to format 10 (64 bytes)(16 bpp)\n", rgb_565_16},
        {makeTestImage(l_8, 8, 4), rgb_565_16, "Image (image) is already using a smaller image format\n", l_8},
        {makeTestImage(rgb_888_24, 8, 4), dxt1,
         "converted image from (96 bytes) (24 bpp) to format 14 (16 bytes)(4 bpp)\n", dxt1},
        {makeTestImage(rgb_888_24, 8, 4), a_8, "NOT converted (image) from format (5) to format (1)\n", rgb_888_24},
        {makeTestImage(l_8, 8, 4), x_8, "NOT converted (image) from format (0) to format (65536)\n", l_8},
        {makeTestImage(rgb_888_24, 8, 4, {200, 10, 77}), x_8,
         "palettization: paletteColorsCount (3), l2Error = (1.29099). lInfinity error = (2), image name (image)\n"
         "converted image from (96 bytes) (24 bpp) to format 65536 (32 bytes)(8 bpp)\n",
         x_8},
        {makeTestImage(rgb_565_16, 8, 4, {0, 0}), x_4,
         "palettization: paletteColorsCount (2), l2Error = (0). lInfinity error = (0), image name (image)\n"
         "converted image from (64 bytes) (16 bpp) to format 65537 (16 bytes)(4 bpp)\n",
         x_4},
        // From 8 to 4 bits of index the palette is made anew.
        {indexedImage(x_8, 20), x_4,
         "palettization: paletteColorsCount (2), l2Error = (0). lInfinity error = (0), image name (image)\n"
         "converted image from (32 bytes) (8 bpp) to format 65537 (16 bytes)(4 bpp)\n",
         x_4},
        {indexedImage(x_8, 20), l_8, "converted image from (32 bytes) (8 bpp) to format 0 (32 bytes)(8 bpp)\n", l_8},
        {indexedImage(x_8, 20), dxt1, "converted image from (32 bytes) (8 bpp) to format 14 (16 bytes)(4 bpp)\n", dxt1},
    };
    int savings = 0;
    for (const auto& c : cases)
    {
        const auto before = static_cast<int>(c.image->getByteSize());
        EXPECT_EQ(run(c.image, c.target), c.text);
        EXPECT_EQ(c.image->getFormat(), c.result);
        savings += before - static_cast<int>(c.image->getByteSize());
    }
    EXPECT_EQ(convert->getTotalSizeSavings(), savings);
    convert->postVisit();
    EXPECT_EQ(log->take(), "total savings of image size = (" + std::to_string(savings) + ")\n");
    EXPECT_EQ(run(nullptr, x_8), "");
}

TEST_F(kxConvertImageTest, SmallerImagesAreConvertedWhenAllowed)
{
    convert->setConvertIfSmaller(false);
    auto image = makeTestImage(l_8, 8, 4);
    EXPECT_EQ(run(image, rgba_8888_32), "converted image from (32 bytes) (8 bpp) to format 7 (128 bytes)(32 bpp)\n");
    EXPECT_EQ(convert->getTotalSizeSavings(), -96);
    auto nothing = indexedImage(x_4, 4);
    EXPECT_EQ(run(nothing, x_8), "converted image from (16 bytes) (4 bpp) to format 65536 (32 bytes)(8 bpp)\n");
}

TEST_F(kxConvertImageTest, PalettesAboveTheThresholdAreDropped)
{
    auto image = makeTestImage(rgb_888_24, 8, 4, {200, 10, 77});
    convert->_palettizationThreshold = 1;
    EXPECT_EQ(run(image, x_8),
              "probable bad palettization: paletteColorsCount (3), l2Error = (1.29099). lInfinity error "
              "= (2), image name (image)\n"
              "NOT converted (image) from format (5) to format (65536)\n");
    EXPECT_EQ(image->getFormat(), rgb_888_24);
    // 0.0 is not above 0.
    convert->_palettizationThreshold = 0;
    auto black = makeTestImage(rgb_888_24, 8, 4, {0});
    run(black, x_8);
    EXPECT_EQ(black->getFormat(), x_8);
}

TEST_F(kxConvertImageTest, ARefusedPaletteLeavesTheOldOne)
{
    auto image = makeTestImage(x_8, 16, 16);
    std::vector<uint8_t> colors(4 * 256);
    for (size_t i = 0; i < colors.size(); ++i)
        colors[i] = i % 4 == 3 ? 255 : static_cast<uint8_t>(i * 37);
    image->_clut = kxClut::create(colors.data(), 256);
    const std::vector<uint8_t> before = rgbaOf(*image);
    convert->_palettizationThreshold = 1;
    EXPECT_NE(run(image, x_4).find("NOT converted (image) from format (65536) to format (65537)\n"), std::string::npos);
    EXPECT_EQ(image->getFormat(), x_8);
    EXPECT_EQ(rgbaOf(*image), before);
}

TEST_F(kxConvertImageTest, SavingsStopAtWhatTheFieldHolds)
{
    convert->_totalSizeSavings = INT32_MAX - 10;
    run(makeTestImage(rgb_888_24, 8, 4), rgb_565_16);
    EXPECT_EQ(convert->getTotalSizeSavings(), INT32_MAX);
}

/// Values that only `configure` understands are no mistakes of the script; values that nobody understands are.
TEST_F(kxConvertImageTest, WordsThatItReadsItselfAreNotWarnedOf)
{
    const struct
    {
        const char* line;
        bool isWarned;
    } cases[] = {{"isExclude = include", false}, {"isExclude = Exclude", false}, {"format = DXT1", false},
                 {"format = dxt1", false},       {"order = psx2", false},        {"isExclude = never", true}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.line);
        const kxReportCollector collector;
        EXPECT_TRUE(configure(c.line));
        convert->autoConfigure(0);
        EXPECT_EQ(!collector.m_warnings.empty(), c.isWarned) << collector.m_warnings;
    }
    EXPECT_EQ(convert->_format, dxt1);
    EXPECT_EQ(convert->_order, PSX2);
}

TEST_F(kxConvertImageTest, NameListsPickImages)
{
    const struct
    {
        const char* what;
        bool isExclude;
        std::vector<const char*> list;
        const char* name;
        const char* text; // null: converted
        const char* uri = nullptr;
    } cases[] = {
        {"excluded", true, {"a.png"}, "textures/a.png", "Image (textures/a.png) excluded from conversion\n"},
        {"not excluded", true, {"a.png"}, "b.png", nullptr},
        {"the case of letters counts", true, {"A.png"}, "a.png", nullptr},
        {"included", false, {"b.png", "a.png"}, "a.png", nullptr},
        {"not included", false, {"b.png"}, "a.png", "Image (a.png) not included in conversion\n"},
        {"an empty list includes nothing", false, {}, "a.png", "Image (a.png) not included in conversion\n"},
        {"no name, excluding", true, {"a.png"}, "", nullptr},
        {"no name, including", false, {"a.png"}, "", "Image not included in conversion because it has no name\n"},
        {"no name and no list", false, {}, "", nullptr},
        {"a name without the file's extension", false, {"Coat.png"}, "Coat", nullptr, "tex/Coat.png"},
        {"a name that is not the file's", true, {"a.png"}, "Wall", "Image (Wall) excluded from conversion\n", "a.png"},
        {"the name counts too", false, {"Wall"}, "Wall", nullptr, "a.png"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        convert->reset();
        convert->_isExclude = c.isExclude;
        for (const char* name : c.list)
            convert->_imageList->append(kxNew<kxStringObj>(name));
        auto image = makeTestImage(rgb_888_24, 4, 4, {}, c.name);
        if (c.uri)
            image->_uri = c.uri;
        const std::string text = run(image, rgb_565_16);
        if (c.text)
        {
            EXPECT_EQ(text, c.text);
        }
        EXPECT_EQ(image->getFormat(), c.text ? rgb_888_24 : rgb_565_16);
    }
}

TEST_F(kxConvertImageTest, AlphaIsPreservedBitByBit)
{
    const struct
    {
        const char* what;
        KX_GFX_TEXTURE_FORMAT source, target;
        uint32_t targetBits;
        std::vector<uint8_t> pattern;
        bool isConverted;
    } cases[] = {
        {"opaque into none", rgba_8888_32, rgb_565_16, 0, {1, 2, 3, 255}, true},
        {"one that is not opaque", rgba_8888_32, rgb_565_16, 0, {1, 2, 3, 255, 4, 5, 6, 254}, false},
        {"two levels into one bit", rgba_8888_32, rgba_5551_16, 1, {1, 2, 3, 255, 1, 2, 3, 0}, true},
        {"a third level", rgba_8888_32, rgba_5551_16, 1, {1, 2, 3, 255, 1, 2, 3, 128}, false},
        {"levels of 17", rgba_8888_32, rgba_4444_16, 4, {1, 2, 3, 0x11, 1, 2, 3, 0xee}, true},
        {"a level between", rgba_8888_32, rgba_4444_16, 4, {1, 2, 3, 0x12}, false},
        {"levels of three bits", rgba_8888_32, rgba_5553_16, 3, {1, 2, 3, 0x49, 1, 2, 3, 0xb6}, true},
        {"as many bits as there are", rgba_4444_16, rgba_4444_16, 4, {7, 9}, true},
        {"no alpha", rgb_888_24, rgb_565_16, 0, {1}, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        convert->_preserveAlpha = true;
        convert->_targetAlphaBits = c.targetBits;
        auto image = makeTestImage(c.source, 4, 4, c.pattern);
        const std::string text = run(image, c.target);
        if (!c.isConverted)
        {
            EXPECT_EQ(text, "Not converting image image to preserve alpha values.\n");
        }
        EXPECT_EQ(image->getFormat(), c.isConverted ? c.target : c.source);
    }
}

TEST_F(kxConvertImageTest, ScriptsNameFormatsAndOrders)
{
    EXPECT_TRUE(configure("format = RGB_565_16\norder = PSX2\nisExclude = Include\npreserveAlpha = True\n"));
    EXPECT_EQ(convert->_format, rgb_565_16);
    EXPECT_EQ(convert->_order, PSX2);
    EXPECT_FALSE(convert->getIsExclude());
    EXPECT_TRUE(convert->_preserveAlpha);
    EXPECT_EQ(convert->_targetAlphaBits, 0u);
    EXPECT_TRUE(configure("format = rgba_5553_16\npreserveAlpha = false\nisExclude = perhaps\n"));
    EXPECT_TRUE(convert->_preserveAlpha) << "nothing takes it back";
    EXPECT_FALSE(convert->getIsExclude());
    EXPECT_EQ(convert->_targetAlphaBits, 3u);

    EXPECT_FALSE(configure("format = dxt1\norder = sideways\n"));
    EXPECT_EQ(convert->_format, dxt1) << "what was read before stays";
    EXPECT_EQ(log->take(), "order sideways not recognized (DEFAULT, DX, PSX2)\n");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(configure("format = Blue_9\n"));
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Format Blue_9 not recognized\n");
    EXPECT_EQ(log->take(), "");
    for (const kxMetaEnum::Value& value : kxMetaEnumOf(l_8).getValues())
        if (value.value != dxt5)
        {
            EXPECT_EQ(parseTextureFormat(value.name), value.value);
        }
}

TEST_F(kxConvertImageTest, NameListsComeFromFiles)
{
    const std::string path = testing::TempDir() + "kxConvertNames.txt";
    kxFile file;
    ASSERT_TRUE(file.open(path.c_str(), kxFile::WRITE));
    ASSERT_TRUE(file.write("textures/a.png\nb.png\n", 21));
    file.close();
    EXPECT_TRUE(configure(("imageListFilename = " + path + "\n").c_str()));
    ASSERT_EQ(convert->_imageList->getCount(), 2u);
    EXPECT_EQ(convert->_imageList->get(0)->str(), "a.png");
    EXPECT_EQ(convert->getImageListFilename()->str(), path);
    EXPECT_TRUE(configure("imageListFilename = no/such/file\n"));
    EXPECT_EQ(log->take(), "");
}

TEST_F(kxConvertImageTest, SettingsGoBackBehindEachApplication)
{
    convert->_format = x_4;
    convert->_order = DX;
    convert->_preserveAlpha = true;
    convert->_targetAlphaBits = 5;
    convert->_isExclude = false;
    convert->_palettizationThreshold = 3;
    convert->_convertIfSmaller = false;
    convert->_imageList->append(kxNew<kxStringObj>("a"));
    convert->_imageListFilename->setString("b");
    convert->_totalSizeSavings = 9;
    convert->postVisit();
    EXPECT_EQ(convert->_format, rgba_5551_16);
    EXPECT_EQ(convert->_order, DEFAULT);
    EXPECT_FALSE(convert->_preserveAlpha);
    EXPECT_EQ(convert->_targetAlphaBits, 0u);
    EXPECT_TRUE(convert->getIsExclude());
    EXPECT_EQ(convert->getPalettizationThreshold(), 100);
    EXPECT_FALSE(convert->getConvertIfSmaller()) << "this one stays";
    EXPECT_EQ(convert->_imageList->getCount(), 0u);
    EXPECT_TRUE(convert->getImageListFilename()->isEmpty());
    EXPECT_EQ(convert->getTotalSizeSavings(), 0);
}

TEST_F(kxConvertImageTest, BrokenImagesAreLeftAlone)
{
    const kxReportCollector collector;
    auto image = kxNew<kxImage>();
    image->_name = "broken";
    image->_encoded = kxMemoryBlock::copyOf("x", 1);
    EXPECT_EQ(run(image, x_8), "");
    EXPECT_EQ(run(image, rgb_565_16), "");
    EXPECT_TRUE(image->_encoded);
    EXPECT_EQ(collector.m_errors, "image broken: a kind of image file that no codec reads\n");
}

} // namespace
} // namespace Kel::Opt
