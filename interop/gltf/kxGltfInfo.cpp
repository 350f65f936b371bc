#include "interop/gltf/kxGltfInfo.h"

namespace Kel::Gltf
{

KX_IMPLEMENT(kxGltfInfo)

void kxGltfInfo::listFields(kxFields<kxGltfInfo>& fields)
{
    fields.add(&kxGltfInfo::_asset, "_asset", "JSON text that says who made the file");
    fields.add(&kxGltfInfo::_defaultScene, "_defaultScene", "scene to show first, null when the file names none");
    fields.add(&kxGltfInfo::_impliedScene, "_impliedScene",
               "the file has no scenes; the one scene of the graph is all its nodes");
    fields.add(&kxGltfInfo::_imagesInText, "_imagesInText",
               "images without files of their own stand in the text of the file, not in its binary part");
    fields.add(&kxGltfInfo::_extensionsUsed, "_extensionsUsed", "extensions that the file says it uses");
    fields.add(&kxGltfInfo::_extensionsRequired, "_extensionsRequired",
               "extensions that the file says a reader must know");
    fields.add(&kxGltfInfo::_unusedNodes, "_unusedNodes", "nodes without parents that are in no scene");
    fields.add(&kxGltfInfo::_unusedMeshes, "_unusedMeshes", "meshes that no node draws");
    fields.add(&kxGltfInfo::_unusedCameras, "_unusedCameras", "cameras that no node places");
    fields.add(&kxGltfInfo::_unusedMaterials, "_unusedMaterials", "materials that nothing is drawn with");
    fields.add(&kxGltfInfo::_unusedTextures, "_unusedTextures", "textures that no material uses");
    fields.add(&kxGltfInfo::_unusedSamplers, "_unusedSamplers", "samplers that no texture uses");
    fields.add(&kxGltfInfo::_unusedImages, "_unusedImages", "images that no texture uses");
    fields.add(&kxGltfInfo::_unusedLights, "_unusedLights", "lights that no node places");
    fields.add(&kxGltfInfo::_unusedArrays, "_unusedArrays", "values that nothing uses");
    fields.add(&kxGltfInfo::_unusedViews, "_unusedViews", "bytes that nothing is known to use");
    fields.add(&kxGltfInfo::_bufferName, "_bufferName", "name of the first buffer");
    fields.add(&kxGltfInfo::_bufferUserData, "_bufferUserData", "what the file says of its first buffer beyond that");
}

} // namespace Kel::Gltf
