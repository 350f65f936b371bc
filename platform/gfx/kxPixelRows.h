// Rows of pixels from any format into any other.
#pragma once

#include "platform/gfx/kxTextureFormat.h"

namespace Kel::Gfx
{

/// Works on one row of `pixelCount` pixels; source and target do not overlap.
using kxRowFunction = void (*)(const uint8_t* source, uint8_t* target, size_t pixelCount);

/// Function that turns pixels of a format, in the order of the picture, into RGBA bytes. Components are widened by repeating
/// their bits; a missing alpha is 255, missing colours are white. Null for indices and blocks.
kxRowFunction getUnpackRow(KX_GFX_TEXTURE_FORMAT format);

/// Function that turns RGBA bytes into pixels of a format: each component becomes the value whose widened form is nearest;
/// a luminance is made of the colours, weighted 77 : 150 : 29. Null for indices and blocks.
kxRowFunction getPackRow(KX_GFX_TEXTURE_FORMAT format);

/// Function that does both at once, where there is a short way: equal formats, and those with one byte for each component.
/// Null elsewhere.
kxRowFunction getShortRow(KX_GFX_TEXTURE_FORMAT source, KX_GFX_TEXTURE_FORMAT target);

/// Widens a number of `bits` bits to 8 by repeating its bits; `bits` is 1 to 8.
constexpr uint32_t widenBits(uint32_t value, uint32_t bits)
{
    // As many copies as it takes side by side, less the bits beyond the eighth: one product and one shift, which the compiler
    // vectorises for every number of bits.
    const uint32_t copies = (7 + bits) / bits;
    uint32_t factor = 0;
    for (uint32_t copy = 0; copy < copies; ++copy)
        factor |= 1u << copy * bits;
    return value * factor >> (copies * bits - 8);
}

/// The number of `bits` bits whose widened form is nearest to an 8-bit value.
constexpr uint32_t narrowBits(uint32_t value, uint32_t bits)
{
    // value * largest / 255, rounded: the shift form is exact for products below 65536, and stays in 16 bits.
    const uint32_t product = value * ((1u << bits) - 1) + 128;
    return (product + (product >> 8)) >> 8;
}

} // namespace Kel::Gfx
