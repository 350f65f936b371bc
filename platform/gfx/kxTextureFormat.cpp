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
                                      {"dxt5", dxt5},
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

const kxTextureFormatInfo* findTextureFormat(KX_GFX_TEXTURE_FORMAT format)
{
    for (const kxTextureFormatInfo& info : kTextureFormats)
        if (info.format == format)
            return &info;
    return nullptr;
}

uint64_t getTextureByteSize(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height)
{
    const kxTextureFormatInfo* info = findTextureFormat(format);
    if (!info)
        return 0;
    const auto filledUp = [](uint64_t side, uint64_t tile) { return (side + tile - 1) / tile * tile; };
    const uint64_t pixelsPerRow = filledUp(width, info->tileWidth);
    // Rows of indices begin on whole bytes.
    return (pixelsPerRow * info->bitsPerPixel + 7) / 8 * filledUp(height, info->tileHeight);
}

} // namespace Kel::Gfx
