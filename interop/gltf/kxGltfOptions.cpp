#include "interop/gltf/kxGltfOptions.h"

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfOptions)

void kxGltfOptions::listFields(kxFields<kxGltfOptions>& fields)
{
    fields.add(&kxGltfOptions::_writeVolumes, "_writeVolumes", "write the bounding volumes of nodes as extras");
}

} // namespace Kel::Gltf
