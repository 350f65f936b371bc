// What a writer of glTF files may be asked for.
#pragma once

#include "platform/core/kxFileOptions.h"

namespace Kel::Gltf
{

using namespace Kel::Core;

/// Settings for glTF files beyond those of every format.
class kxGltfOptions : public kxFileOptions
{
    KX_OBJECT(kxGltfOptions, kxFileOptions)
    static void listFields(kxFields<kxGltfOptions>& fields);

    /// Write the bounding volumes of nodes as extras: `"kxoptVolume": {"min": [x, y, z], "max": [x, y, z]}`, in the node's own
    /// space, before its matrix. The format itself has boxes for positions only.
    bool _writeVolumes = false;
};

} // namespace Kel::Gltf
