// Texture formats and component orders.
#pragma once

#include "platform/gfx/kxGfxNames.h"

#include <iterator>

namespace Kel::Gfx
{

/// Formats of pixels in memory. The numbers are those that scripts and files use.
enum KX_GFX_TEXTURE_FORMAT : int32_t
{
    l_8 = 0,
    a_8 = 1,
    la_44_8 = 2,
    la_88_16 = 3,
    rgb_332_8 = 4,
    rgb_888_24 = 5,
    rgba_2222_8 = 6,
    rgba_8888_32 = 7,
    rgba_5551_16 = 8,
    rgba_4444_16 = 9,
    rgb_565_16 = 10,
    rgba_3328_16 = 11,
    rgba_5553_16 = 12,
    dxt1 = 14,
    dxt3 = 15,
    dxt5 = 16, ///< read from files and written back; scripts have no name for it
    tiled_rgba_5553_16_gamecube = 21,
    tiled_rgb_565_16_gamecube = 22,
    tiled_l_8_gamecube = 23,
    tiled_la_88_16_gamecube = 24,
    tiled_la_44_8_gamecube = 25,
    x_8 = 0x10000, ///< indices into a palette, 8 bits
    x_4 = 0x10001  ///< indices into a palette, 4 bits
};
const kxMetaEnum& kxMetaEnumOf(KX_GFX_TEXTURE_FORMAT);

/// Order of the components of a pixel.
enum KX_GFX_IMAGE_ORDER : int32_t
{
    DEFAULT = 100,
    DX = 101,
    PSX2 = 102
};
const kxMetaEnum& kxMetaEnumOf(KX_GFX_IMAGE_ORDER);

/// One component within a pixel's word: how many bits it has and how many lie below them.
struct kxComponentBits
{
    uint8_t bits = 0;
    uint8_t shift = 0;
};

/// How a format lays out its pixels: one row of the table of formats, from which everything else about a format follows.
///
/// Pixels of linear formats stand in rows, one word each, low byte first. Pixels of tiled formats stand in tiles of
/// `tileWidth` by `tileHeight`, tile after tile in rows from the top left, high byte first; images that end within a tile
/// are filled up to whole ones. Of indices the first pixel of a byte has the high bits. Block formats code blocks of 4 by 4.
struct kxTextureFormatInfo
{
    enum Kind : uint8_t
    {
        WORDS,   ///< components at fixed places of a word
        TWO_WAY, ///< opaque pixels as 1 and 5 5 5 bits, others as 0 and 3 4 4 4 bits (alpha first)
        INDICES,
        BLOCKS
    };

    KX_GFX_TEXTURE_FORMAT format;
    Kind kind;
    uint8_t bitsPerPixel;
    kxComponentBits red, green, blue, alpha, luminance;
    uint8_t otherBits; ///< bits of a pixel that are no component: its index, or the choice between two layouts
    uint8_t tileWidth, tileHeight;
    /// Format with one byte for each component; the format itself when it is that already.
    KX_GFX_TEXTURE_FORMAT unpacked;

    constexpr bool isPacked() const { return unpacked != format; }
    constexpr bool isIndexed() const { return kind == INDICES; }
    constexpr bool isTiled() const { return kind != BLOCKS && tileWidth > 1; }
    constexpr bool hasAlpha() const { return alpha.bits != 0; }
    constexpr bool hasColor() const { return red.bits != 0; }
    constexpr uint32_t bytesPerPixel() const { return bitsPerPixel / 8u; } ///< 0 below 8 bits
};

/// The formats, in the order of their numbers. The bits of block formats are what a pixel has on average.
inline constexpr kxTextureFormatInfo kTextureFormats[] = {
    // clang-format off
    // format, kind, bits per pixel,                     red      green    blue     alpha    luminance other tile unpacked
    {l_8,          kxTextureFormatInfo::WORDS,    8, {},      {},      {},      {},      {8, 0},  0, 1, 1, l_8},
    {a_8,          kxTextureFormatInfo::WORDS,    8, {},      {},      {},      {8, 0},  {},      0, 1, 1, a_8},
    {la_44_8,      kxTextureFormatInfo::WORDS,    8, {},      {},      {},      {4, 0},  {4, 4},  0, 1, 1, la_88_16},
    {la_88_16,     kxTextureFormatInfo::WORDS,   16, {},      {},      {},      {8, 8},  {8, 0},  0, 1, 1, la_88_16},
    {rgb_332_8,    kxTextureFormatInfo::WORDS,    8, {3, 5},  {3, 2},  {2, 0},  {},      {},      0, 1, 1, rgb_888_24},
    {rgb_888_24,   kxTextureFormatInfo::WORDS,   24, {8, 0},  {8, 8},  {8, 16}, {},      {},      0, 1, 1, rgb_888_24},
    {rgba_2222_8,  kxTextureFormatInfo::WORDS,    8, {2, 6},  {2, 4},  {2, 2},  {2, 0},  {},      0, 1, 1, rgba_8888_32},
    {rgba_8888_32, kxTextureFormatInfo::WORDS,   32, {8, 0},  {8, 8},  {8, 16}, {8, 24}, {},      0, 1, 1, rgba_8888_32},
    {rgba_5551_16, kxTextureFormatInfo::WORDS,   16, {5, 11}, {5, 6},  {5, 1},  {1, 0},  {},      0, 1, 1, rgba_8888_32},
    {rgba_4444_16, kxTextureFormatInfo::WORDS,   16, {4, 12}, {4, 8},  {4, 4},  {4, 0},  {},      0, 1, 1, rgba_8888_32},
    {rgb_565_16,   kxTextureFormatInfo::WORDS,   16, {5, 11}, {6, 5},  {5, 0},  {},      {},      0, 1, 1, rgb_888_24},
    {rgba_3328_16, kxTextureFormatInfo::WORDS,   16, {3, 13}, {3, 10}, {2, 8},  {8, 0},  {},      0, 1, 1, rgba_8888_32},
    {rgba_5553_16, kxTextureFormatInfo::TWO_WAY, 16, {4, 8},  {4, 4},  {4, 0},  {3, 12}, {},      1, 1, 1, rgba_8888_32},
    {dxt1,         kxTextureFormatInfo::BLOCKS,   4, {1, 0},  {1, 0},  {1, 0},  {1, 0},  {},      0, 4, 4, rgba_8888_32},
    {dxt3,         kxTextureFormatInfo::BLOCKS,   8, {1, 0},  {2, 0},  {1, 0},  {4, 0},  {},      0, 4, 4, rgba_8888_32},
    {dxt5,         kxTextureFormatInfo::BLOCKS,   8, {1, 0},  {2, 0},  {1, 0},  {4, 0},  {},      0, 4, 4, rgba_8888_32},
    {tiled_rgba_5553_16_gamecube,
                   kxTextureFormatInfo::TWO_WAY, 16, {4, 8},  {4, 4},  {4, 0},  {3, 12}, {},      1, 4, 4, rgba_8888_32},
    {tiled_rgb_565_16_gamecube,
                   kxTextureFormatInfo::WORDS,   16, {5, 11}, {6, 5},  {5, 0},  {},      {},      0, 4, 4, rgb_888_24},
    {tiled_l_8_gamecube,
                   kxTextureFormatInfo::WORDS,    8, {},      {},      {},      {},      {8, 0},  0, 8, 4, l_8},
    {tiled_la_88_16_gamecube,
                   kxTextureFormatInfo::WORDS,   16, {},      {},      {},      {8, 8},  {8, 0},  0, 4, 4, la_88_16},
    {tiled_la_44_8_gamecube,
                   kxTextureFormatInfo::WORDS,    8, {},      {},      {},      {4, 4},  {4, 0},  0, 8, 4, la_88_16},
    {x_8,          kxTextureFormatInfo::INDICES,  8, {},      {},      {},      {},      {},      8, 1, 1, x_8},
    {x_4,          kxTextureFormatInfo::INDICES,  4, {},      {},      {},      {},      {},      4, 1, 1, x_4},
    // clang-format on
};
inline constexpr size_t kTextureFormatCount = std::size(kTextureFormats);

/// Row of the table; null for a number that is no format.
const kxTextureFormatInfo* findTextureFormat(KX_GFX_TEXTURE_FORMAT format);

/// Bytes of the pixels of an image of that size; 0 when a side is 0 or the number is no format.
uint64_t getTextureByteSize(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height);

} // namespace Kel::Gfx
