// Texture formats and component orders.
#pragma once

#include "platform/gfx/kxGfxNames.h"

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

} // namespace Kel::Gfx
