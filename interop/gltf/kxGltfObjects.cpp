#include "interop/gltf/kxGltfObjects.h"

#include "interop/gltf/kxGltfBufferView.h"
#include "platform/attrs/kxLightAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxAnimation.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSkin.h"

#include <charconv>

namespace Kel::Gltf
{

using namespace Kel::Attrs;
using namespace Kel::Sg;

namespace
{

constexpr std::string_view kPrefixes[kGltfKindCount] = {
    "/scenes/",   "/nodes/",      "/meshes/",    "/materials/",
    "/textures/", "/images/",     "/cameras/",   "/extensions/KHR_lights_punctual/lights/",
    "/skins/",    "/animations/", "/accessors/", "/bufferViews/"};

} // namespace

std::string_view pointerPrefix(kxGltfKind kind)
{
    return kPrefixes[static_cast<size_t>(kind)];
}

kxGltfKind kindOf(const kxObject* object)
{
    if (!object)
        return kxGltfKind::COUNT;
    const kxMetaObject* const types[kGltfKindCount] = {
        kxSceneInfo::staticMetaObject(),    kxGroup::staticMetaObject(),       kxMesh::staticMetaObject(),
        kxMaterialAttr::staticMetaObject(), kxTextureAttr::staticMetaObject(), kxImage::staticMetaObject(),
        kxCamera::staticMetaObject(),       kxLightAttr::staticMetaObject(),   kxSkin::staticMetaObject(),
        kxAnimation::staticMetaObject(),    kxVertexArray::staticMetaObject(), kxGltfBufferView::staticMetaObject()};
    if (object->isOfType(kxMesh::staticMetaObject()))
        return kxGltfKind::MESH; // a group, but not a node of the file
    for (size_t kind = 0; kind < kGltfKindCount; ++kind)
        if (object->isOfType(types[kind]))
            return static_cast<kxGltfKind>(kind);
    return kxGltfKind::COUNT;
}

bool splitPointer(std::string_view text, kxGltfKind& kind, uint32_t& index, std::string_view& rest)
{
    if (text.empty() || text[0] != '/')
        return false;
    for (size_t k = 0; k < kGltfKindCount; ++k)
    {
        if (text.substr(0, kPrefixes[k].size()) != kPrefixes[k])
            continue;
        const char* begin = text.data() + kPrefixes[k].size();
        const char* end = text.data() + text.size();
        const auto number = std::from_chars(begin, end, index);
        if (number.ec != std::errc() || (number.ptr != end && *number.ptr != '/'))
            return false;
        kind = static_cast<kxGltfKind>(k);
        rest = {number.ptr, static_cast<size_t>(end - number.ptr)};
        return true;
    }
    return false;
}

} // namespace Kel::Gltf
