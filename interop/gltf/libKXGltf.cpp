// The one list of the glTF library's classes.
#include "interop/gltf/libKXGltf.h"

#include "interop/gltf/kxGltfBufferView.h"
#include "interop/gltf/kxGltfFormat.h"
#include "interop/gltf/kxGltfInfo.h"
#include "interop/gltf/kxGltfKeys.h"
#include "interop/gltf/kxGltfOptions.h"
#include "platform/sg/libKXSg.h"

namespace Kel
{

using namespace Kel::Gltf;

void libKXGltf_arkRegister()
{
    libKXSg_arkRegister();
    kxRegisterClass<kxGltfBufferView>("kxGltfBufferView", "bytes of a glTF file that an extension knows how to read");
    kxRegisterClass<kxGltfBufferViewList>("kxGltfBufferViewList", "list of kxGltfBufferView objects");
    kxRegisterClass<kxGltfInfo>("kxGltfInfo", "what a glTF file holds beside its scenes");
    kxRegisterClass<kxGltfKeyForm>("kxGltfKeyForm", "how a glTF file held keys of an animation");
    kxRegisterClass<kxGltfOptions>("kxGltfOptions", "settings for glTF files");
    kxRegisterClass<kxGltfFormat>("kxGltfFormat", "glTF 2.0, as text or binary");
}

} // namespace Kel
