#include "platform/gfx/kxTextureFormat.h"

namespace Kel::Gfx
{

const kxMetaEnum& kxMetaEnumOf(KX_GFX_TEXTURE_FORMAT)
{
    static const kxMetaEnum metaEnum("KX_GFX_TEXTURE_FORMAT",
                                     {{"l_8", l_8},
                                      {"a_8", a_8},
                                      {"la_44_8", la_44_8},
                                      {"la_88_16", la_88_16},
                                      {"rgb_332_8", rgb_332_8},
                                      {"rgb_888_24", rgb_888_24},
                                      {"rgba_2222_8", rgba_2222_8},
                                      {"rgba_8888_32", rgba_8888_32},
                                      {"rgba_5551_16", rgba_5551_16},
                                      {"rgba_4444_16", rgba_4444_16},
                                      {"rgb_565_16", rgb_565_16},
                                      {"rgba_3328_16", rgba_3328_16},
                                      {"rgba_5553_16", rgba_5553_16},
                                      {"dxt1", dxt1},
                                      {"dxt3", dxt3},
                                      {"tiled_rgba_5553_16_gamecube", tiled_rgba_5553_16_gamecube},
                                      {"tiled_rgb_565_16_gamecube", tiled_rgb_565_16_gamecube},
                                      {"tiled_l_8_gamecube", tiled_l_8_gamecube},
                                      {"tiled_la_88_16_gamecube", tiled_la_88_16_gamecube},
                                      {"tiled_la_44_8_gamecube", tiled_la_44_8_gamecube},
                                      {"x_8", x_8},
                                      {"x_4", x_4}});
    return metaEnum;
}

const kxMetaEnum& kxMetaEnumOf(KX_GFX_IMAGE_ORDER)
{
    static const kxMetaEnum metaEnum("KX_GFX_IMAGE_ORDER", {{"DEFAULT", DEFAULT}, {"DX", DX}, {"PSX2", PSX2}});
    return metaEnum;
}

} // namespace Kel::Gfx
