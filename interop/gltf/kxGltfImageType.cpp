#include "interop/gltf/kxGltfImageType.h"

#include <cstring>

namespace Kel::Gltf
{

namespace
{

struct ImageType
{
    std::string_view mediaType;
    std::string_view extension;
    std::string_view magic; // at `magicAt`
    size_t magicAt;
};

constexpr ImageType kTypes[] = {
    {"image/png", "", "\x89PNG\r\n\x1a\n", 0},
    {"image/jpeg", "", "\xff\xd8\xff", 0},
    {"image/webp", "EXT_texture_webp", "WEBP", 8},
    {"image/ktx2", "KHR_texture_basisu", "\xabKTX 20\xbb\r\n\x1a\n", 0},
    {"image/vnd-ms.dds", "MSFT_texture_dds", "DDS ", 0},
    {"image/avif", "EXT_texture_avif", "ftypavif", 4},
};

const ImageType* find(std::string_view mediaType)
{
    for (const ImageType& type : kTypes)
        if (type.mediaType == mediaType)
            return &type;
    return nullptr;
}

} // namespace

kxStringRef detectImageType(const uint8_t* bytes, size_t byteCount)
{
    for (const ImageType& type : kTypes)
        if (byteCount >= type.magicAt + type.magic.size() &&
            std::memcmp(bytes + type.magicAt, type.magic.data(), type.magic.size()) == 0)
            return kxStringRef(type.mediaType);
    return kxStringRef();
}

std::string_view sourceExtensionOf(std::string_view mediaType)
{
    const ImageType* type = find(mediaType);
    return type ? type->extension : std::string_view();
}

} // namespace Kel::Gltf
