#include "interop/images/kxDdsCodec.h"

#include "platform/core/kxReport.h"
#include "platform/gfx/kxPixelBands.h"
#include "platform/gfx/kxPixelRows.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Kel::Interop
{

KX_IMPLEMENT(kxDdsCodec)

namespace
{

// The header as 32-bit words behind the four letters of the signature.
enum HeaderWord
{
    SIZE = 0,
    FLAGS = 1,
    HEIGHT = 2,
    WIDTH = 3,
    PITCH = 4,
    MIPMAP_COUNT = 6,
    FORMAT_SIZE = 18,
    FORMAT_FLAGS = 19,
    FOUR_LETTERS = 20,
    BIT_COUNT = 21,
    MASKS = 22, // red (or luminance), green, blue, alpha
    CAPABILITIES = 26,
    CAPABILITIES_2 = 27,
    HEADER_WORDS = 31
};
constexpr size_t kHeaderBytes = 4 + 4 * HEADER_WORDS;
constexpr size_t kSecondHeaderBytes = 20; // behind the first one when the four letters are DX10

constexpr uint32_t kHasFourLetters = 0x4, kHasAlpha = 0x1, kIsAlphaOnly = 0x2, kIsRgb = 0x40, kIsLuminance = 0x20000;
constexpr uint32_t kIsCubeOrVolume = 0x200 | 0x200000;
constexpr uint32_t kIsFlat = 3, kIsCube = 0x4; // of the second header: its dimensions, its flags

constexpr uint32_t fourLetters(const char (&text)[5])
{
    return static_cast<uint32_t>(text[0] | text[1] << 8 | text[2] << 16 | text[3] << 24);
}

/// A layout of components: what files are written with, and what those with the same number of bits are read as.
struct Layout
{
    KX_GFX_TEXTURE_FORMAT format;
    uint32_t flags;
    uint32_t bitCount;
    uint32_t masks[4]; // red or luminance, green, blue, alpha
};
const Layout kLayouts[] = {
    {l_8, kIsLuminance, 8, {0xff, 0, 0, 0}},
    {a_8, kIsAlphaOnly, 8, {0, 0, 0, 0xff}},
    {la_44_8, kIsLuminance | kHasAlpha, 8, {0x0f, 0, 0, 0xf0}},
    {la_88_16, kIsLuminance | kHasAlpha, 16, {0x00ff, 0, 0, 0xff00}},
    {rgb_332_8, kIsRgb, 8, {0xe0, 0x1c, 0x03, 0}},
    {rgba_2222_8, kIsRgb | kHasAlpha, 8, {0x30, 0x0c, 0x03, 0xc0}},
    {rgb_565_16, kIsRgb, 16, {0xf800, 0x07e0, 0x001f, 0}},
    {rgba_5551_16, kIsRgb | kHasAlpha, 16, {0x7c00, 0x03e0, 0x001f, 0x8000}},
    {rgba_4444_16, kIsRgb | kHasAlpha, 16, {0x0f00, 0x00f0, 0x000f, 0xf000}},
    {rgba_3328_16, kIsRgb | kHasAlpha, 16, {0x00e0, 0x001c, 0x0003, 0xff00}},
    {rgb_888_24, kIsRgb, 24, {0xff0000, 0x00ff00, 0x0000ff, 0}},
    {rgba_8888_32, kIsRgb | kHasAlpha, 32, {0x00ff0000, 0x0000ff00, 0x000000ff, 0xff000000}},
};

struct BlockLayout
{
    KX_GFX_TEXTURE_FORMAT format;
    uint32_t letters;
};
const BlockLayout kBlockLayouts[] = {
    {dxt1, fourLetters("DXT1")},
    {dxt3, fourLetters("DXT3")},
    {dxt5, fourLetters("DXT5")},
    // The same blocks for colours that are multiplied by their alpha; the pixels are as they are.
    {dxt3, fourLetters("DXT2")},
    {dxt5, fourLetters("DXT4")},
};

/// Formats of the second header, by their numbers there.
struct NumberedLayout
{
    uint32_t number;
    uint32_t letters; // of the block format it is, 0 for components
    uint32_t flags;
    uint32_t bitCount;
    uint32_t masks[4];
};
const NumberedLayout kNumberedLayouts[] = {
    {71, fourLetters("DXT1"), 0, 0, {}},
    {72, fourLetters("DXT1"), 0, 0, {}},
    {74, fourLetters("DXT3"), 0, 0, {}},
    {75, fourLetters("DXT3"), 0, 0, {}},
    {77, fourLetters("DXT5"), 0, 0, {}},
    {78, fourLetters("DXT5"), 0, 0, {}},
    {28, 0, kIsRgb | kHasAlpha, 32, {0x000000ff, 0x0000ff00, 0x00ff0000, 0xff000000}},
    {29, 0, kIsRgb | kHasAlpha, 32, {0x000000ff, 0x0000ff00, 0x00ff0000, 0xff000000}},
    {87, 0, kIsRgb | kHasAlpha, 32, {0x00ff0000, 0x0000ff00, 0x000000ff, 0xff000000}},
    {91, 0, kIsRgb | kHasAlpha, 32, {0x00ff0000, 0x0000ff00, 0x000000ff, 0xff000000}},
    {88, 0, kIsRgb, 32, {0x00ff0000, 0x0000ff00, 0x000000ff, 0}},
    {93, 0, kIsRgb, 32, {0x00ff0000, 0x0000ff00, 0x000000ff, 0}},
    {61, 0, kIsLuminance, 8, {0xff, 0, 0, 0}},
    {65, 0, kIsAlphaOnly, 8, {0, 0, 0, 0xff}},
    {85, 0, kIsRgb, 16, {0xf800, 0x07e0, 0x001f, 0}},
    {86, 0, kIsRgb | kHasAlpha, 16, {0x7c00, 0x03e0, 0x001f, 0x8000}},
    {115, 0, kIsRgb | kHasAlpha, 16, {0x0f00, 0x00f0, 0x000f, 0xf000}},
};

/// What the headers say, put into one form.
struct Content
{
    uint32_t width = 0, height = 0;
    KX_GFX_TEXTURE_FORMAT format = rgba_8888_32;
    bool isBlocks = false;
    uint32_t flags = 0, bitCount = 0;
    uint32_t masks[4] = {};
    size_t start = 0; // of the pixels
    uint64_t byteSize = 0;
};

KX_GFX_TEXTURE_FORMAT formatOf(const Content& content)
{
    const auto bitsOf = [](uint32_t mask) { return std::popcount(mask); };
    for (const Layout& layout : kLayouts)
        if ((layout.flags & ~kHasAlpha) == (content.flags & (kIsRgb | kIsLuminance | kIsAlphaOnly)) &&
            std::equal(layout.masks, layout.masks + 4, content.masks,
                       [&](uint32_t a, uint32_t b) { return bitsOf(a) == bitsOf(b); }))
            return layout.format;
    // A sixteenth bit without meaning: the alpha of every pixel is full.
    if (content.bitCount <= 16 && bitsOf(content.masks[0]) == 5 && bitsOf(content.masks[1]) == 5 &&
        bitsOf(content.masks[2]) == 5)
        return rgba_5551_16;
    if (content.flags & kIsLuminance)
        return content.masks[3] ? la_88_16 : l_8;
    return content.masks[3] ? rgba_8888_32 : rgb_888_24;
}

/// The four letters; where they are none, as of formats that older writers give by number, the number.
std::string nameOfLetters(uint32_t letters)
{
    std::string name;
    for (uint32_t rest = letters; rest; rest >>= 8)
        name += static_cast<char>(rest & 255);
    const bool isText =
        name.size() == 4 && std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
    return isText ? name : kxFormat("%u", letters);
}

bool readContent(const uint8_t* bytes, size_t byteCount, Content& content, std::string& fault)
{
    uint32_t words[HEADER_WORDS];
    if (byteCount < kHeaderBytes)
    {
        fault = kxFormat("DDS: %zu bytes, the head alone has %zu", byteCount, kHeaderBytes);
        return false;
    }
    std::memcpy(words, bytes + 4, sizeof words);
    if (words[SIZE] != 124 || words[FORMAT_SIZE] != 32)
    {
        fault = kxFormat("DDS: heads of %u and %u bytes, wanted 124 and 32", words[SIZE], words[FORMAT_SIZE]);
        return false;
    }
    content.width = words[WIDTH];
    content.height = words[HEIGHT];
    content.start = kHeaderBytes;
    if (words[CAPABILITIES_2] & kIsCubeOrVolume)
    {
        fault = "DDS: a cube or a volume, only flat images are read";
        return false;
    }
    uint32_t letters = words[FORMAT_FLAGS] & kHasFourLetters ? words[FOUR_LETTERS] : 0;
    content.flags = words[FORMAT_FLAGS] & (kHasAlpha | kIsRgb | kIsLuminance | kIsAlphaOnly);
    content.bitCount = words[BIT_COUNT];
    std::copy_n(words + MASKS, 4, content.masks);
    if (!(content.flags & (kHasAlpha | kIsAlphaOnly)))
        content.masks[3] = 0;
    // Writers repeat the mask of a grey for the colours that such a file does not have.
    if (content.flags & kIsLuminance)
        content.masks[1] = content.masks[2] = 0;
    if (letters == fourLetters("DX10"))
    {
        uint32_t second[5];
        if (byteCount < kHeaderBytes + kSecondHeaderBytes)
        {
            fault = "DDS: the second head is cut short";
            return false;
        }
        std::memcpy(second, bytes + kHeaderBytes, sizeof second);
        content.start += kSecondHeaderBytes;
        const auto* layout = std::find_if(std::begin(kNumberedLayouts), std::end(kNumberedLayouts),
                                          [&](const NumberedLayout& l) { return l.number == second[0]; });
        // A second header may tell of a cube that the first keeps quiet about.
        if (second[1] != kIsFlat || second[2] & kIsCube || second[3] > 1)
        {
            fault = "DDS: a line, a volume, a cube or a list of images, only single flat ones are read";
            return false;
        }
        if (layout == std::end(kNumberedLayouts))
        {
            fault = kxFormat("DDS: format %u is not read", second[0]);
            return false;
        }
        letters = layout->letters;
        content.flags = layout->flags;
        content.bitCount = layout->bitCount;
        std::copy_n(layout->masks, 4, content.masks);
    }
    if (letters)
    {
        const auto* layout = std::find_if(std::begin(kBlockLayouts), std::end(kBlockLayouts),
                                          [&](const BlockLayout& l) { return l.letters == letters; });
        if (layout == std::end(kBlockLayouts))
        {
            fault = kxFormat("DDS: format %s is not read", nameOfLetters(letters).c_str());
            return false;
        }
        content.isBlocks = true;
        content.format = layout->format;
        content.byteSize = getTextureByteSize(content.format, content.width, content.height);
    }
    else
    {
        uint32_t together = 0, overlap = 0;
        for (uint32_t mask : content.masks)
        {
            overlap |= together & mask;
            together |= mask;
            // The bits of one component stand side by side.
            const uint32_t bits = mask ? mask >> std::countr_zero(mask) : 0;
            overlap |= bits & (bits + 1);
        }
        const bool isWhole = content.bitCount % 8 == 0 && content.bitCount >= 8 && content.bitCount <= 32;
        if (!isWhole || overlap || !together || uint64_t(together) >> content.bitCount ||
            !(content.flags & (kIsRgb | kIsLuminance | kIsAlphaOnly)))
        {
            fault = kxFormat("DDS: %u bits with the masks %x %x %x %x are not read", content.bitCount, content.masks[0],
                             content.masks[1], content.masks[2], content.masks[3]);
            return false;
        }
        content.format = formatOf(content);
        content.byteSize = uint64_t(content.width) * (content.bitCount / 8) * content.height;
    }
    return true;
}

/// Value of a component as 8 bits.
uint32_t componentOf(uint32_t word, uint32_t mask)
{
    const auto bits = static_cast<uint32_t>(std::popcount(mask));
    const uint32_t value = (word & mask) >> std::countr_zero(mask);
    return bits <= 8 ? widenBits(value, bits)
                     : static_cast<uint32_t>((uint64_t(value) * 255 + (1u << (bits - 1)) - 1) / ((1ull << bits) - 1));
}

void wordsToRgba(const uint8_t* source, uint8_t* rgba, uint32_t width, const Content& content)
{
    const bool isLuminance = content.flags & kIsLuminance;
    const size_t wordBytes = content.bitCount / 8;
    for (uint32_t x = 0; x < width; ++x, source += wordBytes, rgba += 4)
    {
        uint32_t word = 0;
        std::memcpy(&word, source, wordBytes);
        for (size_t c = 0; c < 3; ++c)
        {
            const uint32_t mask = content.masks[isLuminance ? 0 : c];
            rgba[c] = static_cast<uint8_t>(mask ? componentOf(word, mask) : content.flags & kIsAlphaOnly ? 255 : 0);
        }
        rgba[3] = static_cast<uint8_t>(content.masks[3] ? componentOf(word, content.masks[3]) : 255);
    }
}

void rgbaToWords(const uint8_t* rgba, uint8_t* target, uint32_t width, const Layout& layout)
{
    const size_t wordBytes = layout.bitCount / 8;
    for (uint32_t x = 0; x < width; ++x, target += wordBytes, rgba += 4)
    {
        uint32_t word = 0;
        for (size_t c = 0; c < 4; ++c)
            if (const uint32_t mask = layout.masks[c])
                word |= narrowBits(rgba[c], static_cast<uint32_t>(std::popcount(mask))) << std::countr_zero(mask);
        std::memcpy(target, &word, wordBytes);
    }
}

const Layout* layoutOf(KX_GFX_TEXTURE_FORMAT format)
{
    const auto* layout =
        std::find_if(std::begin(kLayouts), std::end(kLayouts), [&](const Layout& l) { return l.format == format; });
    return layout == std::end(kLayouts) ? nullptr : layout;
}

const BlockLayout* blockLayoutOf(KX_GFX_TEXTURE_FORMAT format)
{
    const auto* layout = std::find_if(std::begin(kBlockLayouts), std::end(kBlockLayouts),
                                      [&](const BlockLayout& l) { return l.format == format; });
    return layout == std::end(kBlockLayouts) ? nullptr : layout;
}

} // namespace

bool kxDdsCodec::claims(const uint8_t* bytes, size_t byteCount) const
{
    return byteCount >= 4 && std::equal(bytes, bytes + 4, "DDS ");
}

bool kxDdsCodec::readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const
{
    Content content;
    if (!readContent(bytes, byteCount, content, fault))
        return false;
    header = {content.width, content.height, content.format};
    return true;
}

bool kxDdsCodec::decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const
{
    Content content;
    if (!readContent(bytes, byteCount, content, fault))
        return false;
    if (content.byteSize > byteCount - content.start)
    {
        fault = kxFormat("DDS: %u x %u pixels need %llu bytes, the file has %zu", content.width, content.height,
                         static_cast<unsigned long long>(content.byteSize), byteCount - content.start);
        return false;
    }
    image.setSize(content.width, content.height, content.format);
    const uint8_t* source = bytes + content.start;
    uint8_t* target = image.getWritablePixels();
    if (content.isBlocks)
    {
        std::memcpy(target, source, content.byteSize);
        return true;
    }
    std::vector<uint8_t> row(size_t(content.width) * 4);
    kxBandWriter writer(*findTextureFormat(content.format), target, content.width, content.height);
    const size_t stride = size_t(content.width) * (content.bitCount / 8);
    for (uint32_t y = 0; y < content.height; ++y, source += stride)
    {
        wordsToRgba(source, row.data(), content.width, content);
        writer.putRow(row.data());
    }
    return true;
}

kxImageCodec::Fit kxDdsCodec::getFit(kxImage& image) const
{
    const KX_GFX_TEXTURE_FORMAT format = image.getFormat();
    if (!layoutOf(format) && !blockLayoutOf(format))
        return CANNOT;
    if (image._mimeType == getMimeType())
        return AS_IT_CAME;
    // Whole bytes are better off in other files: those are smaller, and every reader knows them.
    return kxImage::isPacked(format) || format == a_8 ? EXACT : LOSES_FORMAT;
}

kxSmartPointer<kxMemoryBlock> kxDdsCodec::encode(kxImage& image, std::string& fault) const
{
    const KX_GFX_TEXTURE_FORMAT format = image.getFormat();
    const Layout* layout = layoutOf(format);
    const BlockLayout* blocks = blockLayoutOf(format);
    if (!layout && !blocks)
    {
        fault = "DDS: no layout for its format";
        return nullptr;
    }
    const size_t stride = layout ? size_t(image.getWidth()) * (layout->bitCount / 8) : 0;
    const size_t byteSize = layout ? stride * image.getHeight() : image.getByteSize();
    uint32_t words[HEADER_WORDS] = {};
    words[SIZE] = 124;
    words[FLAGS] = 0x1007u | (layout ? 0x8u : 0x80000u); // size and format given; bytes of a row, or of all blocks
    words[HEIGHT] = image.getHeight();
    words[WIDTH] = image.getWidth();
    words[PITCH] = static_cast<uint32_t>(layout ? stride : byteSize);
    words[FORMAT_SIZE] = 32;
    words[FORMAT_FLAGS] = layout ? layout->flags : kHasFourLetters;
    words[CAPABILITIES] = 0x1000; // a texture
    if (layout)
    {
        words[BIT_COUNT] = layout->bitCount;
        std::copy_n(layout->masks, 4, words + MASKS);
    }
    else
        words[FOUR_LETTERS] = blocks->letters;
    auto file = kxMemoryBlock::create(kHeaderBytes + byteSize);
    uint8_t* target = file->getWritableData();
    std::memcpy(target, "DDS ", 4);
    std::memcpy(target + 4, words, sizeof words);
    target += kHeaderBytes;
    if (blocks)
        std::memcpy(target, image.getPixels(), byteSize);
    else
        image.forEachRgbaRow(
            [&](uint32_t, const uint8_t* row)
            {
                rgbaToWords(row, target, image.getWidth(), *layout);
                target += stride;
            });
    return file;
}

} // namespace Kel::Interop
