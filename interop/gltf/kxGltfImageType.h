// Kinds of encoded images and how a scene file names them.
#pragma once

#include "platform/core/kxStringRef.h"

namespace Kel::Gltf
{

using namespace Kel::Core;

/// Extensions that give a texture an image of a kind that not every reader knows.
constexpr std::string_view kImageSourceExtensions[] = {"EXT_texture_webp", "KHR_texture_basisu", "MSFT_texture_dds",
                                                       "EXT_texture_avif"};

/// Media type of encoded bytes by how they begin; null for unknown ones.
kxStringRef detectImageType(const uint8_t* bytes, size_t byteCount);
/// Extension that a texture needs for an image of a media type; empty for types that every reader knows.
std::string_view sourceExtensionOf(std::string_view mediaType);

} // namespace Kel::Gltf
