#include "platform/gfx/kxImage.h"

#include "platform/core/kxReport.h"
#include "platform/gfx/kxImageCodec.h"
#include "platform/gfx/kxImageUtils.h"
#include "platform/gfx/libKXGfx.h"
#include "platform/utils/kxIntHistogram.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace Kel::Gfx
{
namespace
{

class kxImageTest : public testing::Test
{
protected:
    void SetUp() override { libKXGfx_arkRegister(); }
};

/// An image of random pixels, for indexed formats with a palette of random colours.
kxSmartPointer<kxImage> makeImage(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height, uint32_t seed = 1)
{
    std::mt19937 random(seed);
    auto image = kxNew<kxImage>();
    EXPECT_TRUE(image->setSize(width, height, format));
    uint8_t* pixels = image->getWritablePixels();
    for (uint64_t i = 0; i < image->getByteSize(); ++i)
        pixels[i] = static_cast<uint8_t>(random());
    if (kxImage::isIndexed(format))
    {
        uint8_t colors[16 * 4];
        for (uint8_t& byte : colors)
            byte = static_cast<uint8_t>(random());
        image->_clut = kxClut::create(colors, 16);
        for (uint64_t i = 0; format == x_8 && i < image->getByteSize(); ++i)
            pixels[i] &= 15;
    }
    return image;
}

std::vector<uint32_t> rgbaOf(kxImage& image)
{
    std::vector<uint32_t> pixels;
    image.forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            const size_t start = pixels.size();
            pixels.resize(start + image.getWidth());
            std::memcpy(&pixels[start], row, size_t(image.getWidth()) * 4);
        });
    return pixels;
}

TEST_F(kxImageTest, SizesCoverWholeTilesBlocksAndBytes)
{
    const struct
    {
        KX_GFX_TEXTURE_FORMAT format;
        uint32_t width, height;
        uint64_t bytes;
    } cases[] = {
        {rgb_888_24, 5, 3, 45},
        {x_4, 5, 3, 9},
        {x_8, 5, 3, 15},
        {dxt1, 1, 1, 8},
        {dxt3, 5, 4, 32},
        {tiled_rgb_565_16_gamecube, 5, 3, 64},
        {tiled_l_8_gamecube, 9, 5, 128},
        {rgba_8888_32, 0, 3, 0},
        {static_cast<KX_GFX_TEXTURE_FORMAT>(13), 4, 4, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(getTextureByteSize(c.format, c.width, c.height), c.bytes) << c.format;
    auto image = kxNew<kxImage>();
    EXPECT_FALSE(image->setSize(1u << 20, 1u << 20, l_8));
    EXPECT_FALSE(image->setSize(0, 1, l_8));
    EXPECT_FALSE(image->hasPixels());
}

TEST_F(kxImageTest, TilesStandInRowsHighByteFirst)
{
    // Pixel (x, y) of 6 by 5 holds 10 y + x; 565 has it in the blue bits.
    auto image = kxNew<kxImage>();
    image->setSize(6, 5, rgb_565_16);
    for (uint16_t y = 0; y < 5; ++y)
        for (uint16_t x = 0; x < 6; ++x)
        {
            const uint16_t word = static_cast<uint16_t>((10 * y + x) % 32);
            std::memcpy(image->getWritablePixels() + (y * 6 + x) * 2, &word, 2);
        }
    auto tiled = kxNew<kxImage>();
    ASSERT_TRUE(tiled->convert(tiled_rgb_565_16_gamecube, image));
    const uint8_t* bytes = tiled->getPixels();
    const auto wordAt = [&](size_t tile, size_t x, size_t y)
    {
        const uint8_t* at = bytes + (tile * 16 + y * 4 + x) * 2;
        return at[0] << 8 | at[1];
    };
    EXPECT_EQ(wordAt(0, 1, 2), 21);
    EXPECT_EQ(wordAt(1, 0, 3), 34 % 32);
    EXPECT_EQ(wordAt(2, 3, 0), 43 % 32);
    EXPECT_EQ(wordAt(1, 3, 0), 5) << "beyond the border the border is repeated";
    EXPECT_EQ(wordAt(2, 3, 3), 43 % 32);

    const uint8_t pixel[4] = {0x12, 0x12, 0x12, 0xab};
    auto one = kxNew<kxImage>();
    one->setSize(1, 1, rgba_8888_32);
    std::memcpy(one->getWritablePixels(), pixel, 4);
    auto target = kxNew<kxImage>();
    ASSERT_TRUE(target->convert(tiled_la_88_16_gamecube, one));
    EXPECT_EQ(target->getPixels()[0], 0xab);
    EXPECT_EQ(target->getPixels()[1], 0x12);
    ASSERT_TRUE(target->convert(tiled_la_44_8_gamecube, one));
    EXPECT_EQ(target->getPixels()[0], 0xa1);
    ASSERT_TRUE(target->convert(tiled_rgba_5553_16_gamecube, one));
    EXPECT_EQ(target->getPixels()[0], 0x51); // alpha 5 of 7, red 1 of 15
    EXPECT_EQ(target->getPixels()[1], 0x11);
}

// Large images are written past the caches, small ones through them; the pixels are those of the format without tiles. A width
// and a height that fill no whole tile.
TEST(kxImage, LargeTiledImagesHoldWhatSmallOnesDo)
{
    for (const uint32_t side : {61u, 1501u})
    {
        auto image = kxNew<kxImage>();
        image->setSize(side, side, rgb_888_24);
        uint8_t* pixels = image->getWritablePixels();
        for (size_t i = 0; i < image->getByteSize(); ++i)
            pixels[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
        auto linear = kxNew<kxImage>(), tiled = kxNew<kxImage>(), linearAgain = kxNew<kxImage>(),
             tiledAgain = kxNew<kxImage>();
        ASSERT_TRUE(linear->convert(rgb_565_16, image) && tiled->convert(tiled_rgb_565_16_gamecube, image));
        ASSERT_TRUE(linearAgain->convert(rgba_8888_32, linear) && tiledAgain->convert(rgba_8888_32, tiled));
        ASSERT_EQ(linearAgain->getByteSize(), tiledAgain->getByteSize());
        EXPECT_EQ(std::memcmp(linearAgain->getPixels(), tiledAgain->getPixels(), tiledAgain->getByteSize()), 0) << side;
    }
}

/// Every pair of formats: what `canConvert` promises works, shows the nearest picture, and what it denies changes nothing.
TEST_F(kxImageTest, ConvertsEveryPairAsItPromises)
{
    for (const kxTextureFormatInfo& from : kTextureFormats)
        for (const kxTextureFormatInfo& to : kTextureFormats)
        {
            SCOPED_TRACE(testing::Message() << from.format << " to " << to.format);
            auto source = makeImage(from.format, 13, 7);
            auto target = kxNew<kxImage>();
            auto inPlace = makeImage(from.format, 13, 7);
            const bool canConvert = source->canConvert(to.format);
            ASSERT_EQ(target->convert(to.format, source), canConvert);
            ASSERT_EQ(inPlace->convert(to.format, inPlace), canConvert);
            const std::vector<uint32_t> before = rgbaOf(*source);
            if (!canConvert)
            {
                EXPECT_FALSE(target->hasPixels());
                EXPECT_EQ(rgbaOf(*inPlace), before);
                continue;
            }
            EXPECT_EQ(target->getFormat(), to.format);
            const std::vector<uint32_t> after = rgbaOf(*target);
            EXPECT_EQ(rgbaOf(*inPlace), after);
            if (to.format == from.format || to.isIndexed() || to.format == rgba_8888_32)
            {
                EXPECT_EQ(after, before);
            }
            // Through RGBA it is the same picture, so a format loses only what its own bits cannot tell.
            auto rgba = kxNew<kxImage>();
            auto twice = kxNew<kxImage>();
            if (to.format != from.format && !to.isIndexed() && rgba->convert(rgba_8888_32, source) &&
                rgba->canConvert(to.format) && twice->convert(to.format, rgba))
            {
                EXPECT_EQ(rgbaOf(*twice), after);
            }
        }
    EXPECT_FALSE(makeImage(rgb_888_24, 4, 4)->canConvert(dxt1));
    EXPECT_FALSE(makeImage(rgba_8888_32, 4, 4)->canConvert(x_8));
    EXPECT_FALSE(makeImage(rgb_888_24, 4, 4)->canConvert(a_8));
    EXPECT_FALSE(makeImage(a_8, 4, 4)->canConvert(rgb_565_16));
    EXPECT_TRUE(makeImage(x_8, 4, 4)->canConvert(x_4)) << "16 colours";
    EXPECT_TRUE(makeImage(x_4, 4, 4)->canConvert(dxt1) == false);
}

TEST_F(kxImageTest, NearestResizeTakesTheMiddlePixels)
{
    for (const kxTextureFormatInfo& info : kTextureFormats)
    {
        SCOPED_TRACE(info.format);
        // Blocks are coded again; coarse opaque pixels of the tiles with two layouts become fine ones.
        const bool isCodedAgain =
            info.kind == kxTextureFormatInfo::BLOCKS || info.format == tiled_rgba_5553_16_gamecube;
        auto image = makeImage(info.format, 9, 6);
        const std::vector<uint32_t> before = rgbaOf(*image);
        for (const auto& [width, height] : {std::pair{3u, 2u}, {4u, 6u}, {18u, 13u}, {1u, 1u}})
        {
            auto resized = kxNew<kxImage>();
            ASSERT_TRUE(resized->resize(image, width, height));
            EXPECT_EQ(resized->getFormat(), info.format);
            const std::vector<uint32_t> after = rgbaOf(*resized);
            ASSERT_EQ(after.size(), width * height);
            for (uint32_t y = 0; y < height && !isCodedAgain; ++y)
                for (uint32_t x = 0; x < width; ++x)
                    ASSERT_EQ(after[y * width + x],
                              before[(2 * y + 1) * 6 / (2 * height) * 9 + (2 * x + 1) * 9 / (2 * width)]);
        }
        EXPECT_TRUE(image->resize(image, 4, 4));
        EXPECT_EQ(image->getWidth(), 4u);
    }
}

TEST_F(kxImageTest, ComponentsAndHistogramsCountEveryPixel)
{
    auto image = makeImage(rgba_4444_16, 21, 13);
    const std::vector<uint32_t> pixels = rgbaOf(*image);
    for (uint32_t component = 0; component < 4; ++component)
    {
        auto extracted = kxNew<kxImage>();
        ASSERT_TRUE(extracted->extractComponent(image, component));
        auto histogram = kxNew<Utils::kxIntHistogram>();
        histogram->initialize(0, 255, 256);
        ASSERT_TRUE(extracted->computeHistogram(0, *histogram));
        std::vector<uint64_t> counts(256);
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            EXPECT_EQ(extracted->getPixels()[i], pixels[i] >> 8 * component & 255);
            ++counts[pixels[i] >> 8 * component & 255];
        }
        for (uint32_t bin = 0; bin < 256; ++bin)
            EXPECT_EQ(histogram->getSampleCount(bin), counts[bin]);
    }
    EXPECT_FALSE(image->extractComponent(image, 4));
}

TEST_F(kxImageTest, AlphaBitsAreThoseOfTheFormatOrThePalette)
{
    const struct
    {
        KX_GFX_TEXTURE_FORMAT format;
        uint32_t bits;
    } cases[] = {{rgba_5551_16, 1}, {rgba_5553_16, 3}, {rgba_3328_16, 8}, {rgb_565_16, 0}, {dxt1, 1}, {dxt3, 4}};
    for (const auto& c : cases)
        EXPECT_EQ(makeImage(c.format, 1, 1)->getAlphaBits(), c.bits) << c.format;
    auto indexed = makeImage(x_8, 2, 2);
    EXPECT_EQ(indexed->getAlphaBits(), 8u);
    const uint8_t opaque[4] = {1, 2, 3, 255};
    indexed->_clut = kxClut::create(opaque, 1);
    EXPECT_EQ(indexed->getAlphaBits(), 0u);
    indexed->getWritablePixels()[0] = 200;
    EXPECT_EQ(rgbaOf(*indexed)[0], 0xff000000u) << "an index beyond the palette is black";
}

/// A kind of file for the tests: "TEST", width, height, and pixels of l_8; a width of 13 is a broken file.
class kxTestCodec : public kxImageCodec
{
    KX_OBJECT(kxTestCodec, kxImageCodec)

    kxStringRef getMimeType() const override { return "image/test"; }
    kxStringRef getExtension() const override { return "test"; }
    bool isCommon() const override { return true; }
    bool claims(const uint8_t* bytes, size_t count) const override
    {
        return count > 5 && !std::memcmp(bytes, "TEST", 4);
    }
    bool readHeader(const uint8_t* bytes, size_t, kxImageHeader& header, std::string&) const override
    {
        header = {bytes[4], bytes[5], l_8};
        return true;
    }
    bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const override
    {
        ++s_decodeCount;
        fault = "thirteen";
        if (bytes[4] == 13 || !image.setSize(bytes[4], bytes[5], l_8))
            return false;
        std::memcpy(image.getWritablePixels(), bytes + 6, byteCount - 6);
        return true;
    }
    Fit getFit(kxImage& image) const override { return image.getFormat() == l_8 ? EXACT : CANNOT; }
    kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string&) const override
    {
        auto file = kxMemoryBlock::create(6 + image.getByteSize());
        std::memcpy(file->getWritableData(), "TEST", 4);
        file->getWritableData()[4] = static_cast<uint8_t>(image.getWidth());
        file->getWritableData()[5] = static_cast<uint8_t>(image.getHeight());
        std::memcpy(file->getWritableData() + 6, image.getPixels(), image.getByteSize());
        return file;
    }
    static int s_decodeCount;
};
KX_IMPLEMENT(kxTestCodec)
int kxTestCodec::s_decodeCount = 0;

TEST_F(kxImageTest, DecodesWhenAskedAndKeepsItsBytesUntilChanged)
{
    kxRegisterClass<kxTestCodec>("kxTestCodec", "a kind of file for tests");
    auto image = kxNew<kxImage>();
    image->_name = "city.test";
    image->_encoded = kxMemoryBlock::copyOf("TEST\2\1ab", 8);
    kxTestCodec::s_decodeCount = 0;
    EXPECT_EQ(image->getWidth(), 2u);
    EXPECT_EQ(image->getTotalBitsPerPixel(), 8u);
    EXPECT_EQ(kxTestCodec::s_decodeCount, 0) << "the head tells";
    EXPECT_EQ(image->getPixels()[1], 'b');
    EXPECT_EQ(image->getPixels()[0], 'a');
    EXPECT_EQ(kxTestCodec::s_decodeCount, 1);
    EXPECT_TRUE(image->convert(l_8, image));
    EXPECT_TRUE(image->_encoded) << "nothing was to be done";

    kxImageFileForm form;
    ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
    EXPECT_EQ(form.bytes, image->_encoded);
    image->getWritablePixels()[1] = 'c';
    EXPECT_FALSE(image->_encoded);
    ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
    EXPECT_EQ(std::memcmp(form.bytes->getData(), "TEST\2\1ac", 8), 0);
    EXPECT_EQ(form.mimeType.str(), "image/test");
}

TEST_F(kxImageTest, BrokenImagesAreReportedOnceAndKeepTheirBytes)
{
    kxRegisterClass<kxTestCodec>("kxTestCodec", "a kind of file for tests");
    const struct
    {
        std::string bytes, line;
    } cases[] = {
        {"TEST\x0d\1a", "image city: thirteen\n"},
        {std::string("TEST\0\1", 6), "image city: a side of 0 pixels\n"},
        {"GIF89a", "image city: a kind of image file that no codec reads\n"},
    };
    for (const auto& c : cases)
    {
        const kxReportCollector collector;
        auto image = kxNew<kxImage>();
        image->_uri = "city";
        image->_encoded = kxMemoryBlock::copyOf(c.bytes.data(), c.bytes.size());
        EXPECT_FALSE(image->ensurePixels());
        EXPECT_FALSE(image->convert(rgba_8888_32, image));
        EXPECT_FALSE(image->resize(image, 2, 2));
        EXPECT_EQ(image->getWidth(), 0u);
        EXPECT_EQ(image->getByteSize(), 0u);
        EXPECT_EQ(collector.m_errors, c.line);
        kxImageFileForm form;
        EXPECT_TRUE(kxImageCodec::encodeForFile(*image, true, form));
        EXPECT_EQ(form.bytes, image->_encoded);
        EXPECT_EQ(collector.m_errors, c.line);
    }
}

TEST_F(kxImageTest, CopiesShareNothing)
{
    auto image = makeImage(x_8, 3, 3);
    image->_name = "a";
    auto copy = kxNew<kxImage>();
    copy->copyFrom(image);
    const std::vector<uint32_t> before = rgbaOf(*image);
    EXPECT_EQ(rgbaOf(*copy), before);
    EXPECT_EQ(copy->getName().str(), "a");
    std::memset(copy->getWritablePixels(), 0, 9);
    std::memset(copy->_clut->_entries->getWritableData(), 7, 16);
    EXPECT_EQ(rgbaOf(*image), before);
}

TEST_F(kxImageTest, LoadedImagesMustHoldTheirPixels)
{
    std::string fault;
    auto image = makeImage(rgb_888_24, 4, 4);
    EXPECT_TRUE(image->userCheckLoaded(fault));
    image->_width = 5;
    EXPECT_FALSE(image->userCheckLoaded(fault));
    EXPECT_EQ(fault, "image of 5 x 4 pixels in 48 bytes");
    image->_width = 0x80000000u;
    image->_height = 0x80000000u;
    EXPECT_FALSE(image->userCheckLoaded(fault));
    auto indexed = makeImage(x_8, 2, 2);
    indexed->_clut = nullptr;
    EXPECT_FALSE(indexed->userCheckLoaded(fault));
}

TEST_F(kxImageTest, NameListsAreReadLineByLine)
{
    EXPECT_EQ(kxImageUtils::getFileName("a/b\\c.png").str(), "c.png");
    EXPECT_EQ(kxImageUtils::getFileName("c.png").str(), "c.png");
    EXPECT_TRUE(kxImageUtils::getFileName(nullptr).isNull());
    const std::string path = testing::TempDir() + "kxImageNames.txt";
    kxFile file;
    ASSERT_TRUE(file.open(path.c_str(), kxFile::WRITE));
    const std::string text = "\xef\xbb\xbf a b.png \r\n\r\n  \nc.png";
    ASSERT_TRUE(file.write(text.data(), text.size()));
    file.close();
    ASSERT_TRUE(file.open(path.c_str(), kxFile::READ));
    auto lines = kxNew<kxStringObjList>();
    EXPECT_EQ(kxImageUtils::parseTextFile(file, *lines), 2);
    ASSERT_EQ(lines->getCount(), 2u);
    EXPECT_EQ(lines->get(0)->str(), "a b.png");
    EXPECT_EQ(lines->get(1)->str(), "c.png");
}

} // namespace
} // namespace Kel::Gfx
