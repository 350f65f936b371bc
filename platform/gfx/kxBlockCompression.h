// DXT blocks: 4 by 4 pixels in 8 or 16 bytes.
#pragma once

#include "platform/gfx/kxTextureFormat.h"

namespace Kel::Gfx
{

/// Bytes of one block of a block format.
constexpr size_t getBlockBytes(KX_GFX_TEXTURE_FORMAT format)
{
    return format == dxt1 ? 8 : 16;
}

/// Decodes one block into 16 RGBA pixels in rows.
void decodeBlock(KX_GFX_TEXTURE_FORMAT format, const uint8_t* block, uint8_t rgba[64]);

/// Codes 16 RGBA pixels in rows. For dxt1 a pixel with an alpha below 128 becomes transparent black; a block without such
/// pixels keeps four colours. Deterministic.
void encodeBlock(KX_GFX_TEXTURE_FORMAT format, const uint8_t rgba[64], uint8_t* block);

} // namespace Kel::Gfx
