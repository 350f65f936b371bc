// Pixels of every format: all their values, and the fast rows against single pixels.
#include "platform/gfx/kxPixelRows.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace Kel::Gfx
{
namespace
{

using Info = kxTextureFormatInfo;

std::vector<Info> wordFormats()
{
    std::vector<Info> formats;
    for (const Info& info : kTextureFormats)
        if (getUnpackRow(info.format))
            formats.push_back(info);
    return formats;
}

const char* nameOf(const Info& info)
{
    return kxMetaEnumOf(info.format).getValueName(info.format);
}

/// Components of a word by the table, read bit by bit: red (or luminance), green, blue, alpha; -1 for a missing one.
void componentsOf(const Info& info, uint32_t word, int components[4])
{
    kxComponentBits layout[4] = {info.red, info.green, info.blue, info.alpha};
    if (info.luminance.bits)
        layout[0] = layout[1] = layout[2] = info.luminance;
    if (info.kind == Info::TWO_WAY && word & 0x8000)
    {
        layout[0] = {5, 10};
        layout[1] = {5, 5};
        layout[2] = {5, 0};
        layout[3] = {};
    }
    for (int c = 0; c < 4; ++c)
    {
        const uint32_t bits = layout[c].bits;
        components[c] = bits ? 0 : -1;
        // The bits again and again from the top, until eight are there.
        for (uint32_t i = 0; bits && i < 8; ++i)
            components[c] |= static_cast<int>(word >> (layout[c].shift + bits - 1 - i % bits) & 1) << (7 - i);
    }
}

uint32_t loadWord(const Info& info, const uint8_t* bytes)
{
    uint32_t word = 0;
    for (uint32_t i = 0; i < info.bytesPerPixel(); ++i)
        word |= static_cast<uint32_t>(bytes[i]) << 8 * (info.isTiled() ? info.bytesPerPixel() - 1 - i : i);
    return word;
}

TEST(kxPixelRows, TheTableIsSound)
{
    for (const Info& info : kTextureFormats)
    {
        ASSERT_TRUE(nameOf(info));
        SCOPED_TRACE(nameOf(info));
        const uint32_t bits =
            info.red.bits + info.green.bits + info.blue.bits + info.alpha.bits + info.luminance.bits + info.otherBits;
        EXPECT_EQ(bits, info.bitsPerPixel);
        EXPECT_EQ(findTextureFormat(info.format), &info);
        ASSERT_TRUE(findTextureFormat(info.unpacked));
        EXPECT_FALSE(findTextureFormat(info.unpacked)->isPacked());
        EXPECT_EQ(findTextureFormat(info.unpacked)->hasAlpha(), info.hasAlpha());
    }
    EXPECT_EQ(kxMetaEnumOf(l_8).getValues().size(), kTextureFormatCount);
    EXPECT_EQ(findTextureFormat(static_cast<KX_GFX_TEXTURE_FORMAT>(13)), nullptr);
}

TEST(kxPixelRows, EveryWordIsReadBitByBitAndGivenBack)
{
    for (const Info& info : wordFormats())
    {
        SCOPED_TRACE(nameOf(info));
        const uint32_t byteCount = info.bytesPerPixel();
        const uint32_t wordCount = byteCount < 3 ? 1u << info.bitsPerPixel : 1u << 16;
        std::vector<uint8_t> words(size_t(wordCount) * byteCount), rgba(size_t(wordCount) * 4), again(words.size());
        std::mt19937 random(7);
        for (uint32_t i = 0; i < wordCount; ++i)
        {
            const uint32_t word = byteCount < 3 ? i : static_cast<uint32_t>(random());
            std::memcpy(&words[size_t(i) * byteCount], &word, byteCount);
        }
        getUnpackRow(info.format)(words.data(), rgba.data(), wordCount);
        getPackRow(info.format)(rgba.data(), again.data(), wordCount);
        int faults = 0;
        for (uint32_t i = 0; i < wordCount && faults < 5; ++i)
        {
            const uint32_t word = loadWord(info, &words[size_t(i) * byteCount]);
            int wanted[4];
            componentsOf(info, word, wanted);
            for (int c = 0; c < 4; ++c)
                faults += rgba[4 * size_t(i) + static_cast<size_t>(c)] != (wanted[c] < 0 ? 255 : wanted[c]);
            // Opaque pixels of the format with two layouts are stored in the finer one.
            const bool isCoarseOpaque = info.kind == Info::TWO_WAY && (word & 0xf000) == 0x7000;
            faults += !isCoarseOpaque && loadWord(info, &again[size_t(i) * byteCount]) != word;
            EXPECT_EQ(faults, 0) << "word " << std::hex << word;
        }
    }
}

TEST(kxPixelRows, NarrowingGivesTheNearestValue)
{
    for (uint32_t bits = 1; bits <= 8; ++bits)
        for (uint32_t value = 0; value < 256; ++value)
        {
            const auto distance = [&](uint32_t narrow)
            { return std::abs(static_cast<int>(widenBits(narrow, bits)) - static_cast<int>(value)); };
            int smallest = 256;
            for (uint32_t narrow = 0; narrow < 1u << bits; ++narrow)
                smallest = std::min(smallest, distance(narrow));
            EXPECT_EQ(distance(narrowBits(value, bits)), smallest) << bits << " bits, value " << value;
        }
}

TEST(kxPixelRows, RowsOfEveryLengthAreTheirPixels)
{
    std::mt19937 random(3);
    for (const Info& info : wordFormats())
    {
        SCOPED_TRACE(nameOf(info));
        const size_t byteCount = info.bytesPerPixel();
        uint8_t rgba[65 * 4], words[65 * 4];
        for (size_t i = 0; i < sizeof rgba; ++i)
        {
            rgba[i] = static_cast<uint8_t>(random());
            words[i] = static_cast<uint8_t>(random());
        }
        for (size_t count = 0; count <= 65; ++count)
        {
            uint8_t row[65 * 4 + 1], single[65 * 4 + 1];
            std::memset(row, 0xa5, sizeof row);
            std::memset(single, 0xa5, sizeof single);
            getPackRow(info.format)(rgba, row, count);
            for (size_t i = 0; i < count; ++i)
                getPackRow(info.format)(rgba + 4 * i, single + byteCount * i, 1);
            ASSERT_EQ(std::memcmp(row, single, sizeof row), 0) << "packing " << count;

            std::memset(row, 0xa5, sizeof row);
            std::memset(single, 0xa5, sizeof single);
            getUnpackRow(info.format)(words, row, count);
            for (size_t i = 0; i < count; ++i)
                getUnpackRow(info.format)(words + byteCount * i, single + 4 * i, 1);
            ASSERT_EQ(std::memcmp(row, single, sizeof row), 0) << "unpacking " << count;
        }
    }
}

} // namespace
} // namespace Kel::Gfx
