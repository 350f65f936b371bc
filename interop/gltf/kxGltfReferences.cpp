#include "interop/gltf/kxGltfReferences.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

/// Place of indices in an extension: steps between slashes, '*' for every member or element.
struct Rule
{
    std::string_view extension;
    std::string_view place; ///< kind of object that has the extension, empty for any
    std::string_view path;
    kxGltfKind kind;
};

using enum kxGltfKind;

constexpr Rule kRules[] = {
    {"MSFT_lod", "node", "ids/*", NODE},
    {"MSFT_lod", "material", "ids/*", MATERIAL},
    {"KHR_interactivity", "", "graphs/*/nodes/*/configuration/nodeIndex/value/*", NODE},
    {"KHR_interactivity", "", "graphs/*/nodes/*/values/animation/value/*", ANIMATION},
    {"KHR_physics_rigid_bodies", "", "joint/connectedNode", NODE},
    {"KHR_physics_rigid_bodies", "", "collider/geometry/node", NODE},
    {"KHR_physics_rigid_bodies", "", "trigger/geometry/node", NODE},
    {"KHR_physics_rigid_bodies", "", "trigger/nodes/*", NODE},
    {"EXT_lights_image_based", "", "lights/*/specularImages/*/*", IMAGE},
    {"EXT_mesh_manifold", "", "manifoldPrimitive/indices", ACCESSOR},
    {"EXT_mesh_manifold", "", "mergeIndices", ACCESSOR},
    {"EXT_mesh_manifold", "", "mergeValues", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "visibility", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "silhouetteNormals", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "material", MATERIAL},
    {"EXT_mesh_primitive_edge_visibility", "", "lineStrings/*/indices", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "lineStrings/*/material", MATERIAL},
    {"EXT_mesh_features", "", "featureIds/*/texture/index", TEXTURE}, // its other numbers count other things
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/values", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/arrayOffsets", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/stringOffsets", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTextures/*/properties/*/index", TEXTURE},
    {"EXT_feature_metadata", "", "featureTables/*/properties/*/arrayOffsetBufferView", BUFFER_VIEW},
    {"EXT_feature_metadata", "", "featureTables/*/properties/*/stringOffsetBufferView", BUFFER_VIEW},
    {"EXT_feature_metadata", "", "featureTextures/*/properties/*/texture/index", TEXTURE},
    {"EXT_feature_metadata", "", "featureIdTextures/*/featureIds/texture/index", TEXTURE},
    {"MSFT_audio_emitter", "", "clips/*/bufferView", BUFFER_VIEW},
    {"KHR_audio", "", "audio/*/bufferView", BUFFER_VIEW},
    {"KHR_audio_emitter", "", "audio/*/bufferView", BUFFER_VIEW},
    {"OMI_physics_shape", "", "shapes/*/*/mesh", MESH},
    {"CESIUM_primitive_outline", "", "indices", ACCESSOR},
    {"OMI_collider", "", "mesh", MESH},
    {"VRMC_vrm", "", "meta/thumbnailImage", IMAGE},
    {"VRMC_vrm", "", "humanoid/humanBones/*/node", NODE},
    {"VRMC_vrm", "", "firstPerson/meshAnnotations/*/node", NODE},
    {"VRMC_vrm", "", "expressions/*/*/morphTargetBinds/*/node", NODE},
    {"VRMC_vrm", "", "expressions/*/*/materialColorBinds/*/material", MATERIAL},
    {"VRMC_vrm", "", "expressions/*/*/textureTransformBinds/*/material", MATERIAL},
    {"VRMC_springBone", "", "colliders/*/node", NODE},
    {"VRMC_springBone", "", "springs/*/joints/*/node", NODE},
    {"VRMC_springBone", "", "springs/*/center", NODE},
    {"VRMC_node_constraint", "", "constraint/*/source", NODE},
    {"VRM", "", "meta/texture", TEXTURE},
    {"VRM", "", "humanoid/humanBones/*/node", NODE},
    {"VRM", "", "firstPerson/firstPersonBone", NODE},
    {"VRM", "", "firstPerson/meshAnnotations/*/mesh", MESH},
    {"VRM", "", "blendShapeMaster/blendShapeGroups/*/binds/*/mesh", MESH},
    {"VRM", "", "secondaryAnimation/boneGroups/*/bones/*", NODE},
    {"VRM", "", "secondaryAnimation/boneGroups/*/center", NODE},
    {"VRM", "", "secondaryAnimation/colliderGroups/*/node", NODE},
    {"VRM", "", "materialProperties/*/textureProperties/*", TEXTURE},
};

/// Names of indices that mean the same in every extension, so that data which nobody else refers to stay with it.
struct Convention
{
    std::string_view key;
    kxGltfKind kind;
};
constexpr Convention kConventions[] = {{"bufferView", BUFFER_VIEW}, {"accessor", ACCESSOR}};

/// Extensions whose numbers are no indices, or count things within the extension itself.
constexpr std::string_view kWithoutIndices[] = {
    "KHR_materials_", "KHR_node_", "KHR_xmp",    "KHR_texture_transform", "KHR_mesh_quantization",
    "AGI_",           "FB_",       "CESIUM_RTC", "EXT_instance_features"};

bool isWithoutIndices(std::string_view name)
{
    return std::any_of(std::begin(kWithoutIndices), std::end(kWithoutIndices),
                       [&](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; });
}

bool hasRules(std::string_view name)
{
    return std::any_of(std::begin(kRules), std::end(kRules), [&](const Rule& rule) { return rule.extension == name; });
}

template <class Visit>
void visitPath(const kxJsonValue& value, std::string_view path, Visit visit)
{
    if (path.empty())
        return visit(value);
    const size_t slash = path.find('/');
    const std::string_view step = path.substr(0, slash);
    const std::string_view rest = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    if (value.IsObject())
    {
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
            if (step == "*" || textOf(at->name) == step)
                visitPath(at->value, rest, visit);
    }
    else if (value.IsArray() && step == "*")
        for (auto at = value.Begin(); at != value.End(); ++at)
            visitPath(*at, rest, visit);
}

// Calls back for every value; nesting is bounded by the parser.
template <class Visit>
void visitAll(const kxJsonValue& value, Visit& visit)
{
    visit(value);
    if (value.IsObject())
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
            visitAll(at->value, visit);
    else if (value.IsArray())
        for (auto at = value.Begin(); at != value.End(); ++at)
            visitAll(*at, visit);
}

// Calls back for every index that has one of the conventional names.
template <class Mark>
void markConventions(const kxJsonValue& extension, Mark mark)
{
    auto visit = [&](const kxJsonValue& value)
    {
        if (!value.IsObject())
            return;
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            for (const Convention& convention : kConventions)
                if (uint32_t index; key == convention.key && readIndex(at->value, index))
                    mark(at->value, convention.kind);
            if (isTextureUse(key, at->value) || (key == "texture" && isTextureUse("Texture", at->value)))
                mark(*findMember(at->value, "index"), TEXTURE);
        }
    };
    visitAll(extension, visit);
}

// True when a use of a texture stands where those of a material's extension are not looked for.
bool hasHiddenTexture(const kxJsonValue& value, bool isHidden)
{
    if (value.IsArray())
        return std::any_of(value.Begin(), value.End(),
                           [](const kxJsonValue& element) { return hasHiddenTexture(element, true); });
    if (!value.IsObject())
        return false;
    return std::any_of(value.MemberBegin(), value.MemberEnd(),
                       [&](const auto& member)
                       {
                           const std::string_view key = textOf(member.name);
                           return (key == "texture" && isTextureUse("Texture", member.value)) ||
                                  (isHidden && isTextureUse(key, member.value)) ||
                                  hasHiddenTexture(member.value, isHidden);
                       });
}

// A graph of behaviour names things by pointers with parameters, "/nodes/{which}/scale"; a parameter that is given as a
// constant in the same step of the graph is an index.
template <class Mark>
void markTemplateParameters(const kxJsonValue& extension, Mark mark)
{
    visitPath(extension, "graphs/*/nodes/*",
              [&](const kxJsonValue& step)
              {
                  visitPath(step, "configuration/pointer/value/*",
                            [&](const kxJsonValue& pointer)
                            {
                                if (!pointer.IsString())
                                    return;
                                const std::string_view text = textOf(pointer);
                                for (size_t kind = 0; kind < kGltfKindCount; ++kind)
                                {
                                    const std::string_view prefix = pointerPrefix(static_cast<kxGltfKind>(kind));
                                    const size_t close = text.find('}');
                                    if (text.substr(0, prefix.size()) != prefix || text.size() <= prefix.size() ||
                                        text[prefix.size()] != '{' || close == std::string_view::npos)
                                        continue;
                                    const std::string name(text.substr(prefix.size() + 1, close - prefix.size() - 1));
                                    visitPath(step, "values/" + name + "/value/*",
                                              [&](const kxJsonValue& index)
                                              { mark(index, static_cast<kxGltfKind>(kind)); });
                                }
                            });
              });
}

} // namespace

bool isTextureUse(std::string_view key, const kxJsonValue& value)
{
    const kxJsonValue* named = key.ends_with("Texture") ? findMember(value, "index") : nullptr;
    uint32_t index;
    return named && readIndex(*named, index);
}

kxGltfMarks markIndices(std::string_view name, std::string_view place, const kxJsonValue& extension)
{
    kxGltfMarks marks;
    const auto mark = [&](const kxJsonValue& index, kxGltfKind kind) { marks[&index] = kind; };
    markConventions(extension, mark);
    for (const Rule& rule : kRules)
        if (rule.extension == name && (rule.place.empty() || rule.place == place))
            visitPath(extension, rule.path, [&](const kxJsonValue& index) { mark(index, rule.kind); });
    if (name == "KHR_interactivity")
        markTemplateParameters(extension, mark);
    return marks;
}

kxGltfMarks markData(const kxJsonValue& extras)
{
    kxGltfMarks marks;
    markConventions(extras,
                    [&](const kxJsonValue& index, kxGltfKind kind)
                    {
                        if (kind != TEXTURE)
                            marks[&index] = kind;
                    });
    return marks;
}

bool holdsReferences(std::string_view name, const kxJsonValue& extension)
{
    if (hasRules(name))
        return true;
    bool found = false;
    auto visit = [&](const kxJsonValue& value)
    {
        kxGltfKind kind;
        uint32_t index;
        std::string_view rest;
        found = found || (value.IsString() && splitPointer(textOf(value), kind, index, rest));
    };
    visitAll(extension, visit);
    markConventions(extension, [&](const kxJsonValue&, kxGltfKind kind) { found = found || kind != TEXTURE; });
    return found || hasHiddenTexture(extension, false);
}

bool mayHoldMoreIndices(std::string_view name, const kxJsonValue& extension, const kxGltfMarks& marks)
{
    if (hasRules(name) || isWithoutIndices(name))
        return false;
    bool found = false;
    auto visit = [&](const kxJsonValue& value)
    { found = found || ((value.IsInt64() || value.IsUint64()) && !marks.contains(&value)); };
    visitAll(extension, visit);
    return found;
}

} // namespace Kel::Gltf
