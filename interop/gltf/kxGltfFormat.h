// glTF 2.0 as a format of scene files.
#pragma once

#include "platform/core/kxFileFormat.h"

namespace Kel::Gltf
{

using namespace Kel::Core;

/// Reads and writes .gltf and .glb.
class kxGltfFormat : public kxFileFormat
{
    KX_OBJECT(kxGltfFormat, kxFileFormat)

    const char* getName() const override { return "glTF 2.0"; }
    bool claims(std::string_view lowerCaseExtension, const uint8_t* head, size_t headBytes) const override;
    bool canWrite(std::string_view lowerCaseExtension) const override;
    kxResult read(const char* path, const kxFileOptions& options, kxDirectory& directory) override;
    kxResult write(kxDirectory& directory, const char* path, const kxFileOptions& options) override;
};

} // namespace Kel::Gltf
