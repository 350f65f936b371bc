// The one list of the glTF library's classes.
#include "interop/gltf/libKXGltf.h"

#include "interop/gltf/kxGltfAnimation.h"
#include "interop/gltf/kxGltfFormat.h"
#include "interop/gltf/kxGltfInfo.h"
#include "interop/gltf/kxGltfOptions.h"
#include "platform/sg/libKXSg.h"

namespace Kel
{

using namespace Kel::Gltf;

void libKXGltf_arkRegister()
{
    libKXSg_arkRegister();
    kxRegisterClass<kxGltfInfo>("kxGltfInfo", "what a glTF file holds beside its scenes");
    kxRegisterClass<kxGltfAnimationSampler>("kxGltfAnimationSampler", "keys of an animation of a glTF file");
    kxRegisterClass<kxGltfAnimationSamplerList>("kxGltfAnimationSamplerList", "list of kxGltfAnimationSampler objects");
    kxRegisterClass<kxGltfAnimationChannel>("kxGltfAnimationChannel", "what a sampler of a glTF file drives");
    kxRegisterClass<kxGltfAnimationChannelList>("kxGltfAnimationChannelList", "list of kxGltfAnimationChannel objects");
    kxRegisterClass<kxGltfAnimation>("kxGltfAnimation", "a clip as its glTF file has it");
    kxRegisterClass<kxGltfOptions>("kxGltfOptions", "settings for glTF files");
    kxRegisterClass<kxGltfFormat>("kxGltfFormat", "glTF 2.0, as text or binary");
}

} // namespace Kel
