// DXT blocks: decoding against an independent decoder where it is installed, coding by what comes back.
#include "platform/gfx/kxBlockCompression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#ifdef KXOPT_WITH_SQUISH
#include <squish.h>
#endif

namespace Kel::Gfx
{
namespace
{

#ifdef KXOPT_WITH_SQUISH
TEST(kxBlockCompression, DecodesAsAnIndependentDecoder)
{
    const struct
    {
        KX_GFX_TEXTURE_FORMAT format;
        int flag;
    } cases[] = {{dxt1, squish::kDxt1}, {dxt3, squish::kDxt3}, {dxt5, squish::kDxt5}};
    std::mt19937 random(11);
    for (const auto& c : cases)
        for (int n = 0; n < 20000; ++n)
        {
            uint8_t block[16], ours[64], theirs[64];
            for (uint8_t& byte : block)
                byte = static_cast<uint8_t>(random());
            if (n % 4 == 0) // equal ends, which random bytes never have
                std::memcpy(block + getBlockBytes(c.format) - 6, block + getBlockBytes(c.format) - 8, 2);
            decodeBlock(c.format, block, ours);
            squish::Decompress(theirs, block, c.flag);
            ASSERT_EQ(std::memcmp(ours, theirs, 64), 0) << "format " << c.format << ", block " << n;
        }
}
#else
TEST(kxBlockCompression, DecodesAsAnIndependentDecoder)
{
    GTEST_SKIP() << "libsquish is not installed";
}
#endif

double errorOf(const uint8_t* a, const uint8_t* b, bool isOpaqueOnly)
{
    double sum = 0;
    int count = 0;
    for (size_t i = 0; i < 16; ++i)
        if (!isOpaqueOnly || a[4 * i + 3] >= 128)
            for (size_t c = 0; c < 3; ++c, ++count)
                sum += (a[4 * i + c] - b[4 * i + c]) * (a[4 * i + c] - b[4 * i + c]);
    return count ? std::sqrt(sum / count) : 0;
}

TEST(kxBlockCompression, CodesWhatItDecodesCloseToTheSource)
{
    std::mt19937 random(5);
    double sums[3] = {};
    const KX_GFX_TEXTURE_FORMAT formats[] = {dxt1, dxt3, dxt5};
    const int blockCount = 2000;
    for (int n = 0; n < blockCount; ++n)
    {
        // Two colours, a ramp between them and a little noise, with alphas of every kind.
        uint8_t rgba[64], again[64], block[16];
        int ends[2][4];
        for (auto& end : ends)
            for (int& value : end)
                value = static_cast<int>(random() % 232) + 12;
        for (size_t i = 0; i < 16; ++i)
        {
            const int part = static_cast<int>(random() % 9);
            for (size_t c = 0; c < 4; ++c)
                rgba[4 * i + c] = static_cast<uint8_t>((ends[0][c] * part + ends[1][c] * (8 - part)) / 8 +
                                                       static_cast<int>(random() % 9) - 4);
        }
        for (size_t f = 0; f < 3; ++f)
        {
            encodeBlock(formats[f], rgba, block);
            decodeBlock(formats[f], block, again);
            sums[f] += errorOf(rgba, again, f == 0);
            for (size_t i = 0; i < 16; ++i)
            {
                const int alpha = rgba[4 * i + 3], got = again[4 * i + 3];
                const int largest[3] = {0, 8, 255}; // of dxt5 the neighbours decide
                ASSERT_LE(std::abs(got - (f == 0 ? (alpha >= 128 ? 255 : 0) : alpha)), largest[f]);
            }
        }
    }
    EXPECT_LT(sums[0] / blockCount, 14);
    EXPECT_LT(sums[1] / blockCount, 10);
    EXPECT_LT(sums[2] / blockCount, 10);
}

TEST(kxBlockCompression, BlocksOfOneColorAndEmptyBlocksKeepIt)
{
    for (const KX_GFX_TEXTURE_FORMAT format : {dxt1, dxt3, dxt5})
        for (const uint8_t alpha : {uint8_t(0), uint8_t(255)})
        {
            uint8_t rgba[64], again[64], block[16];
            for (size_t i = 0; i < 16; ++i)
            {
                const uint8_t pixel[4] = {200, 30, 90, alpha};
                std::memcpy(rgba + 4 * i, pixel, 4);
            }
            encodeBlock(format, rgba, block);
            decodeBlock(format, block, again);
            EXPECT_EQ(again[3], alpha);
            EXPECT_LE(errorOf(rgba, again, true), 3) << format;
        }
}

} // namespace
} // namespace Kel::Gfx
