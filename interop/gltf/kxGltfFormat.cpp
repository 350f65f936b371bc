#include "interop/gltf/kxGltfFormat.h"

#include "interop/gltf/kxGltfOptions.h"
#include "interop/gltf/kxGltfReader.h"
#include "interop/gltf/kxGltfWriter.h"

#include <cstring>

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfFormat)

bool kxGltfFormat::claims(std::string_view lowerCaseExtension, const uint8_t* head, size_t headBytes) const
{
    if (headBytes >= 4 && std::memcmp(head, "glTF", 4) == 0)
        return true;
    return lowerCaseExtension == "gltf" || lowerCaseExtension == "glb";
}

bool kxGltfFormat::canWrite(std::string_view lowerCaseExtension) const
{
    return lowerCaseExtension == "gltf" || lowerCaseExtension == "glb";
}

kxResult kxGltfFormat::read(const char* path, const kxFileOptions& options, kxDirectory& directory)
{
    return kxGltfReader(path, options).read(directory) ? kSuccess : kFailure;
}

kxResult kxGltfFormat::write(kxDirectory& directory, const char* path, const kxFileOptions& options)
{
    const auto* own = kxCast<kxGltfOptions>(&options);
    kxGltfWriter writer(path, getLowerCaseExtension(path) == "glb", options);
    writer.setVolumesWritten(own && own->_writeVolumes);
    return writer.write(directory) ? kSuccess : kFailure;
}

} // namespace Kel::Gltf
