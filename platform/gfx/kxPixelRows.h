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

/// Widening a number to 8 bits by repeating its bits: value * factor >> shift.
struct kxWidening
{
    uint16_t factor;
    uint16_t shift;
};
/// `bits` is 1 to 8.
constexpr kxWidening getWidening(uint32_t bits)
{
    // As many copies as it takes side by side, less the bits beyond the eighth.
    const uint32_t copies = (7 + bits) / bits;
    uint32_t factor = 0;
    for (uint32_t copy = 0; copy < copies; ++copy)
        factor |= 1u << copy * bits;
    return {static_cast<uint16_t>(factor), static_cast<uint16_t>(copies * bits - 8)};
}
constexpr uint32_t widenBits(uint32_t value, uint32_t bits)
{
    return value * getWidening(bits).factor >> getWidening(bits).shift;
}

/// Narrowing an 8-bit value to the number whose widened form is nearest: value * factor + half has it in the highest bits of
/// sixteen. That is value * largest / 255, rounded, for every value and number of bits, and never above 65535.
struct kxNarrowing
{
    uint16_t factor;
    uint16_t half;
};
/// `bits` is 1 to 8.
constexpr kxNarrowing getNarrowing(uint32_t bits)
{
    return {static_cast<uint16_t>(257 - (256u >> bits)), static_cast<uint16_t>(0x8000u >> bits)};
}
constexpr uint32_t narrowBits(uint32_t value, uint32_t bits)
{
    return (value * getNarrowing(bits).factor + getNarrowing(bits).half) >> (16 - bits);
}

} // namespace Kel::Gfx
