// DXT coding and decoding.
//
// Opaque colours are coded by stb_dxt: at a fiftieth of the time it comes within half a decibel of an exhaustive cluster fit.
// It knows no blocks with transparent pixels, so those of dxt1 are fitted here, and the alphas of dxt3 are just nearest.
#include "platform/gfx/kxBlockCompression.h"

#include "platform/gfx/kxPixelRows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#define STB_DXT_STATIC
#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace Kel::Gfx
{

namespace
{

struct Rgb
{
    int red, green, blue;
};

Rgb from565(uint32_t word)
{
    return {static_cast<int>(widenBits(word >> 11, 5)), static_cast<int>(widenBits(word >> 5 & 63, 6)),
            static_cast<int>(widenBits(word & 31, 5))};
}

uint32_t to565(const float color[3])
{
    const auto narrow = [](float value, float largest)
    { return static_cast<uint32_t>(std::clamp(value * largest / 255 + 0.5f, 0.0f, largest)); };
    return narrow(color[0], 31) << 11 | narrow(color[1], 63) << 5 | narrow(color[2], 31);
}

uint32_t pixelOf(const Rgb& color, uint32_t alpha)
{
    return static_cast<uint32_t>(color.red) | static_cast<uint32_t>(color.green) << 8 |
           static_cast<uint32_t>(color.blue) << 16 | alpha << 24;
}

Rgb mix(const Rgb& a, int partOfA, const Rgb& b, int partOfB)
{
    const int whole = partOfA + partOfB;
    return {(partOfA * a.red + partOfB * b.red) / whole, (partOfA * a.green + partOfB * b.green) / whole,
            (partOfA * a.blue + partOfB * b.blue) / whole};
}

void decodeColors(const uint8_t* block, bool canBeTransparent, uint8_t* rgba)
{
    const uint32_t word0 = block[0] | block[1] << 8, word1 = block[2] | block[3] << 8;
    const Rgb a = from565(word0), b = from565(word1);
    uint32_t colors[4] = {pixelOf(a, 255), pixelOf(b, 255)};
    if (canBeTransparent && word0 <= word1)
    {
        colors[2] = pixelOf(mix(a, 1, b, 1), 255);
        colors[3] = 0;
    }
    else
    {
        colors[2] = pixelOf(mix(a, 2, b, 1), 255);
        colors[3] = pixelOf(mix(a, 1, b, 2), 255);
    }
    for (size_t i = 0; i < 16; ++i)
        std::memcpy(rgba + 4 * i, &colors[block[4 + i / 4] >> (i % 4 * 2) & 3], 4);
}

void decodeInterpolatedAlpha(const uint8_t* block, uint8_t* rgba)
{
    const int a = block[0], b = block[1];
    int alphas[8] = {a, b};
    for (int i = 1; a > b && i < 7; ++i)
        alphas[i + 1] = ((7 - i) * a + i * b) / 7;
    for (int i = 1; a <= b && i < 5; ++i)
        alphas[i + 1] = ((5 - i) * a + i * b) / 5;
    if (a <= b)
    {
        alphas[6] = 0;
        alphas[7] = 255;
    }
    uint64_t indices = 0;
    std::memcpy(&indices, block + 2, 6);
    for (size_t i = 0; i < 16; ++i)
        rgba[4 * i + 3] = static_cast<uint8_t>(alphas[indices >> (3 * i) & 7]);
}

/// Direction in which the colours of the opaque pixels differ most: a few steps of power iteration on their covariance.
void findAxis(const float (*colors)[3], size_t count, float mean[3], float axis[3])
{
    for (int c = 0; c < 3; ++c)
    {
        mean[c] = 0;
        for (size_t i = 0; i < count; ++i)
            mean[c] += colors[i][c];
        mean[c] /= static_cast<float>(count);
    }
    float covariance[3][3] = {};
    for (size_t i = 0; i < count; ++i)
        for (int c = 0; c < 3; ++c)
            for (int d = 0; d < 3; ++d)
                covariance[c][d] += (colors[i][c] - mean[c]) * (colors[i][d] - mean[d]);
    // The longest row is never at right angles to the axis that is sought.
    int start = 0;
    const auto lengthOf = [](const float* v) { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; };
    for (int c = 1; c < 3; ++c)
        if (lengthOf(covariance[c]) > lengthOf(covariance[start]))
            start = c;
    std::copy_n(covariance[start], 3, axis);
    for (int step = 0; step < 6; ++step)
    {
        const float length = std::sqrt(lengthOf(axis));
        if (length < 1e-6f)
            break;
        const float unit[3] = {axis[0] / length, axis[1] / length, axis[2] / length};
        for (int c = 0; c < 3; ++c)
            axis[c] = covariance[c][0] * unit[0] + covariance[c][1] * unit[1] + covariance[c][2] * unit[2];
    }
    const float length = std::sqrt(lengthOf(axis));
    for (int c = 0; c < 3; ++c)
        axis[c] = length > 1e-6f ? axis[c] / length : 0;
}

/// Indices of the pixels among two colours, their mean, and transparent; gives the squared error of the opaque ones.
int matchThreeColors(const uint8_t* rgba, uint32_t word0, uint32_t word1, uint8_t indices[16])
{
    const Rgb a = from565(word0), b = from565(word1);
    const Rgb palette[3] = {a, b, mix(a, 1, b, 1)};
    int error = 0;
    for (size_t i = 0; i < 16; ++i)
    {
        if (rgba[4 * i + 3] < 128)
        {
            indices[i] = 3;
            continue;
        }
        int best = 1 << 30;
        for (uint8_t k = 0; k < 3; ++k)
        {
            const int dr = palette[k].red - rgba[4 * i], dg = palette[k].green - rgba[4 * i + 1],
                      db = palette[k].blue - rgba[4 * i + 2];
            const int distance = dr * dr + dg * dg + db * db;
            if (distance < best)
            {
                best = distance;
                indices[i] = k;
            }
        }
        error += best;
    }
    return error;
}

void encodeTransparentBlock(const uint8_t* rgba, uint8_t* block)
{
    float colors[16][3];
    size_t count = 0;
    for (size_t i = 0; i < 16; ++i)
        if (rgba[4 * i + 3] >= 128)
        {
            for (size_t c = 0; c < 3; ++c)
                colors[count][c] = rgba[4 * i + c];
            ++count;
        }
    uint32_t word0 = 0, word1 = 0;
    uint8_t indices[16];
    std::fill(indices, indices + 16, uint8_t(3));
    if (count)
    {
        float mean[3], axis[3];
        findAxis(colors, count, mean, axis);
        float low = 1e9f, high = -1e9f;
        for (size_t i = 0; i < count; ++i)
        {
            float at = 0;
            for (int c = 0; c < 3; ++c)
                at += (colors[i][c] - mean[c]) * axis[c];
            low = std::min(low, at);
            high = std::max(high, at);
        }
        float ends[2][3];
        for (int c = 0; c < 3; ++c)
        {
            ends[0][c] = mean[c] + low * axis[c];
            ends[1][c] = mean[c] + high * axis[c];
        }
        word0 = to565(ends[0]);
        word1 = to565(ends[1]);
        int error = matchThreeColors(rgba, word0, word1, indices);
        // The best ends for the indices that came out, by least squares; kept while they are better.
        for (int step = 0; step < 3 && error > 0; ++step)
        {
            static const float kPartOfFirst[3] = {1, 0, 0.5f};
            float aa = 0, ab = 0, bb = 0, ax[3] = {}, bx[3] = {};
            for (size_t i = 0; i < 16; ++i)
            {
                if (indices[i] == 3)
                    continue;
                const float a = kPartOfFirst[indices[i]], b = 1 - a;
                aa += a * a;
                ab += a * b;
                bb += b * b;
                for (size_t c = 0; c < 3; ++c)
                {
                    ax[c] += a * rgba[4 * i + c];
                    bx[c] += b * rgba[4 * i + c];
                }
            }
            const float determinant = aa * bb - ab * ab;
            if (determinant < 1e-4f)
                break;
            for (int c = 0; c < 3; ++c)
            {
                ends[0][c] = (ax[c] * bb - bx[c] * ab) / determinant;
                ends[1][c] = (bx[c] * aa - ax[c] * ab) / determinant;
            }
            uint8_t better[16];
            const uint32_t better0 = to565(ends[0]), better1 = to565(ends[1]);
            const int betterError = matchThreeColors(rgba, better0, better1, better);
            if (betterError >= error)
                break;
            error = betterError;
            word0 = better0;
            word1 = better1;
            std::copy_n(better, 16, indices);
        }
    }
    // The order of the ends is what says that the fourth index is transparent.
    if (word0 > word1)
    {
        std::swap(word0, word1);
        for (uint8_t& index : indices)
            if (index < 2)
                index ^= 1;
    }
    block[0] = static_cast<uint8_t>(word0);
    block[1] = static_cast<uint8_t>(word0 >> 8);
    block[2] = static_cast<uint8_t>(word1);
    block[3] = static_cast<uint8_t>(word1 >> 8);
    for (size_t row = 0; row < 4; ++row)
        block[4 + row] = static_cast<uint8_t>(indices[4 * row] | indices[4 * row + 1] << 2 | indices[4 * row + 2] << 4 |
                                              indices[4 * row + 3] << 6);
}

bool hasTransparentPixel(const uint8_t* rgba)
{
    uint32_t smallest = 255;
    for (size_t i = 0; i < 16; ++i)
        smallest = std::min<uint32_t>(smallest, rgba[4 * i + 3]);
    return smallest < 128;
}

} // namespace

void decodeBlock(KX_GFX_TEXTURE_FORMAT format, const uint8_t* block, uint8_t rgba[64])
{
    if (format == dxt1)
        return decodeColors(block, true, rgba);
    decodeColors(block + 8, false, rgba);
    if (format == dxt5)
        return decodeInterpolatedAlpha(block, rgba);
    for (size_t i = 0; i < 16; ++i)
        rgba[4 * i + 3] = static_cast<uint8_t>(widenBits(block[i / 2] >> (i % 2 * 4) & 15, 4));
}

void encodeBlock(KX_GFX_TEXTURE_FORMAT format, const uint8_t rgba[64], uint8_t* block)
{
    if (format == dxt1)
    {
        if (hasTransparentPixel(rgba))
            return encodeTransparentBlock(rgba, block);
        return stb_compress_dxt_block(block, rgba, 0, STB_DXT_NORMAL);
    }
    if (format == dxt5)
        return stb_compress_dxt_block(block, rgba, 1, STB_DXT_NORMAL);
    for (size_t i = 0; i < 8; ++i)
        block[i] = static_cast<uint8_t>(narrowBits(rgba[8 * i + 3], 4) | narrowBits(rgba[8 * i + 7], 4) << 4);
    stb_compress_dxt_block(block + 8, rgba, 0, STB_DXT_NORMAL);
}

} // namespace Kel::Gfx
