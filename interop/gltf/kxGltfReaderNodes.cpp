// Cameras, lights, skins, nodes, scenes and animations.
#include "interop/gltf/kxGltfReader.h"

#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxMorphInstance.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kCameraMembers[] = {"name", "type", "perspective", "orthographic"};
constexpr std::string_view kPerspectiveMembers[] = {"aspectRatio", "yfov", "zfar", "znear"};
constexpr std::string_view kOrthographicMembers[] = {"xmag", "ymag", "zfar", "znear"};
constexpr std::string_view kLightMembers[] = {"name", "color", "intensity", "range", "spot", "type"};
constexpr std::string_view kSkinMembers[] = {"name", "joints", "skeleton", "inverseBindMatrices"};
constexpr std::string_view kNodeMembers[] = {"name",  "children", "matrix", "translation", "rotation",
                                             "scale", "mesh",     "skin",   "camera",      "weights"};
constexpr std::string_view kNodeExtensions[] = {"KHR_lights_punctual", "EXT_mesh_gpu_instancing"};
constexpr std::string_view kInstancingMembers[] = {"attributes"};
constexpr std::string_view kSceneMembers[] = {"name", "nodes"};

const kxKnownKeys kCameraKeys = {"camera", kCameraMembers, {}};
const kxKnownKeys kPerspectiveKeys = {"perspective", kPerspectiveMembers, {}};
const kxKnownKeys kOrthographicKeys = {"orthographic", kOrthographicMembers, {}};
const kxKnownKeys kLightKeys = {"light", kLightMembers, {}};
const kxKnownKeys kOtherLightKeys = {"light", std::span(kLightMembers).first(5), {}}; // the type is carried
const kxKnownKeys kSkinKeys = {"skin", kSkinMembers, {}};
const kxKnownKeys kNodeKeys = {"node", kNodeMembers, kNodeExtensions};
const kxKnownKeys kInstancingKeys = {"instancing", kInstancingMembers, {}};
const kxKnownKeys kSceneKeys = {"scene", kSceneMembers, {}};

} // namespace

bool kxGltfReader::readCameras()
{
    const kxJsonValue* list = listOf("cameras");
    if (!list)
        return false;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        const std::string where = kxFormat("camera %u", i);
        auto camera = kxNew<kxCamera>();
        camera->_name = nameOf(json, "camera", i);
        camera->_userData = m_carried.read(json, kCameraKeys);
        const kxJsonValue* type = findMember(json, "type");
        const bool orthographic = type && type->IsString() && textOf(*type) == "orthographic";
        if (!orthographic && !(type && type->IsString() && textOf(*type) == "perspective"))
            m_faults.warn("camera of no known type counts as perspective", where);
        const kxJsonValue* projection = findMember(json, orthographic ? "orthographic" : "perspective");
        camera->_cameraType = orthographic ? kxCameraType::ORTHOGRAPHIC : kxCameraType::PERSPECTIVE;
        if (projection && projection->IsObject())
        {
            readFloatMember(*projection, "yfov", camera->_yfov, where);
            readFloatMember(*projection, "aspectRatio", camera->_aspectRatio, where);
            readFloatMember(*projection, "znear", camera->_znear, where);
            readFloatMember(*projection, "zfar", camera->_zfar, where);
            readFloatMember(*projection, "xmag", camera->_xmag, where);
            readFloatMember(*projection, "ymag", camera->_ymag, where);
            camera->_projectionUserData =
                m_carried.read(*projection, orthographic ? kOrthographicKeys : kPerspectiveKeys);
        }
        else
            m_faults.warn("camera without a projection gets a usual one", where);
        m_cameras.push_back({camera});
        m_objects.lists[static_cast<size_t>(kxGltfKind::CAMERA)].push_back(camera);
    }
    return true;
}

bool kxGltfReader::readLights()
{
    const kxJsonValue* extensions = findMember(m_container.json.getRoot(), "extensions");
    const kxJsonValue* extension = extensions ? findMember(*extensions, "KHR_lights_punctual") : nullptr;
    const kxJsonValue* list = extension ? findMember(*extension, "lights") : nullptr;
    if (!list)
        return true;
    warnOthers(*extension, {"lights"}, "KHR_lights_punctual");
    if (!checkObjects(*list, "KHR_lights_punctual/lights"))
        return false;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        const std::string where = kxFormat("light %u", i);
        auto light = kxNew<kxLightAttr>();
        light->_name = nameOf(json, "light", i);
        const kxJsonValue* type = findMember(json, "type");
        const std::string_view name = type && type->IsString() ? textOf(*type) : std::string_view();
        const bool known = name == "directional" || name == "point" || name == "spot";
        if (!known)
            m_faults.warn("light of no known type counts as a point", where);
        light->_lightType = name == "directional" ? kxLightType::DIRECTIONAL
                            : name == "spot"      ? kxLightType::SPOT
                                                  : kxLightType::POINT;
        light->_userData = m_carried.read(json, known ? kLightKeys : kOtherLightKeys);
        readFloatsMember(json, "color", &light->_color.x, 3, where);
        readFloatMember(json, "intensity", light->_intensity, where);
        readFloatMember(json, "range", light->_range, where);
        if (const kxJsonValue* spot = findMember(json, "spot"))
        {
            readFloatMember(*spot, "innerConeAngle", light->_innerConeAngle, where);
            readFloatMember(*spot, "outerConeAngle", light->_outerConeAngle, where);
            warnOthers(*spot, {"innerConeAngle", "outerConeAngle"}, where + ", spot");
        }
        m_lights.push_back({light});
        m_objects.lists[static_cast<size_t>(kxGltfKind::LIGHT)].push_back(light);
    }
    return true;
}

// A node's class depends on what refers to it, so skins and animations are looked at before.
bool kxGltfReader::makeNodes()
{
    const kxJsonValue* list = listOf("nodes");
    const kxJsonValue* skins = list ? listOf("skins") : nullptr;
    const kxJsonValue* animations = skins ? listOf("animations") : nullptr;
    if (!animations)
        return false;
    std::vector<bool> isJoint(list->Size()), isAnimated(list->Size());
    for (auto skin = skins->Begin(); skin != skins->End(); ++skin)
        if (const kxJsonValue* joints = findMember(*skin, "joints"); joints && joints->IsArray())
            for (auto at = joints->Begin(); at != joints->End(); ++at)
                if (uint32_t joint = 0; readIndex(*at, joint) && joint < isJoint.size())
                    isJoint[joint] = true;
    forEachAnimatedNode(*animations,
                        [&](uint32_t node)
                        {
                            if (node < isAnimated.size())
                                isAnimated[node] = true;
                        });

    m_nodes.reserve(list->Size());
    auto& found = m_objects.lists[static_cast<size_t>(kxGltfKind::NODE)];
    found.reserve(list->Size());
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        bool placed = isAnimated[i];
        for (auto at = json.MemberBegin(); at != json.MemberEnd() && !placed; ++at)
        {
            const std::string_view key = textOf(at->name);
            placed = key == "matrix" || key == "translation" || key == "rotation" || key == "scale";
        }
        kxSmartPointer<kxGroup> node;
        if (isJoint[i])
            node = kxNew<kxJoint>();
        else if (placed)
            node = kxNew<kxTransform>();
        else
            node = kxNew<kxGroup>();
        if (isAnimated[i])
            node->_flags |= kxNode::IS_ANIMATED;
        m_nodes.push_back(node);
        found.push_back(node);
    }
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        if (isJoint[i])
            lock(m_nodes[i], "skin");
        if (isAnimated[i])
            lock(m_nodes[i], "animation");
    }
    return true;
}

bool kxGltfReader::readSkins()
{
    static const kxStringRef kBindMatrices("INVERSE_BIND_MATRICES");
    const kxJsonValue* list = listOf("skins");
    if (!list)
        return false;
    m_skins.resize(list->Size());
    auto& found = m_objects.lists[static_cast<size_t>(kxGltfKind::SKIN)];
    found.resize(list->Size());
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        const std::string where = kxFormat("skin %u", i);
        auto skin = kxNew<kxSkin>();
        skin->_name = nameOf(json, "skin", i);
        const kxJsonValue* joints = findMember(json, "joints");
        bool usable = joints && joints->IsArray() && !joints->Empty();
        for (uint32_t k = 0; usable && k < joints->Size(); ++k)
        {
            uint32_t joint = 0;
            usable = readIndex((*joints)[k], joint) && joint < m_nodes.size();
            if (usable)
                skin->_joints->append(m_nodes[joint]);
        }
        if (!usable)
        {
            m_faults.warn("skin whose joints do not exist is left out", where);
            continue;
        }
        skin->_userData = m_carried.read(json, kSkinKeys);
        uint32_t index = 0;
        if (readReference(json, "skeleton", m_nodes.size(), "skeleton root", where, index))
        {
            skin->_skeletonRoot->append(m_nodes[index]);
            lock(m_nodes[index], "skin");
        }
        if (readReference(json, "inverseBindMatrices", m_arrays.getAccessorCount(), "list of matrices", where, index))
        {
            kxVertexArray* matrices = m_arrays.get(index, kBindMatrices);
            if (!matrices)
                return false;
            if (!matrices->_matrix || matrices->_componentCount != 16 ||
                matrices->_componentType != kxComponentType::FLOAT32 ||
                matrices->_count < static_cast<int64_t>(joints->Size()))
                m_faults.warn("inverse bind matrices that do not fit the joints are left out", where);
            else
                skin->_inverseBindMatrices = matrices;
        }
        m_skins[i] = skin;
        found[i] = skin;
        m_database->_skinList->append(skin);
    }
    return true;
}

bool kxGltfReader::readNodes()
{
    const kxJsonValue* list = listOf("nodes");
    for (uint32_t i = 0; i < list->Size(); ++i)
        if (!readNode((*list)[i], i))
            return false;
    m_childStart.push_back(static_cast<uint32_t>(m_children.size()));
    return true;
}

bool kxGltfReader::readNode(const kxJsonValue& json, uint32_t index)
{
    kxGroup& node = *m_nodes[index];
    const std::string where = kxFormat("node %u", index);
    kxVec3f translation(0, 0, 0), scale(1, 1, 1);
    float rotation[4] = {0, 0, 0, 1};
    kxMatrix44f matrix;
    bool hasMatrix = false, carries = false;
    m_childStart.push_back(static_cast<uint32_t>(m_children.size()));
    const kxJsonValue *mesh = nullptr, *camera = nullptr, *light = nullptr;
    for (auto at = json.MemberBegin(); at != json.MemberEnd(); ++at)
    {
        const std::string_view key = textOf(at->name);
        if (key == "name")
            node._name = nameOf(json, "node", index);
        else if (key == "translation")
            readFloatsMember(json, "translation", &translation.x, 3, where);
        else if (key == "rotation")
            readFloatsMember(json, "rotation", rotation, 4, where);
        else if (key == "scale")
            readFloatsMember(json, "scale", &scale.x, 3, where);
        else if (key == "matrix")
        {
            hasMatrix = true;
            readFloatsMember(json, "matrix", matrix.getValue(), 16, where);
        }
        else if (key == "mesh")
            mesh = &at->value;
        else if (key == "camera")
            camera = &at->value;
        else if (key == "children")
        {
            if (!at->value.IsArray())
                return m_faults.refuse("children of node %u are not an array", index);
            for (auto child = at->value.Begin(); child != at->value.End(); ++child)
            {
                uint32_t number = 0;
                if (readIndex(*child, number) && number < m_nodes.size())
                    m_children.push_back(number);
                else
                    m_faults.warn("child that does not exist is left out", where);
            }
        }
        else if (key != "skin" && key != "weights")
            carries = true;
    }
    if (carries)
        node._userData = m_carried.read(json, kNodeKeys);
    if (auto* transform = kxCast<kxTransform>(&node))
    {
        if (hasMatrix)
            transform->setMatrix(matrix);
        else
            transform->setParts(translation, kxQuatf(rotation[3], rotation[0], rotation[1], rotation[2]), scale);
    }

    const kxJsonValue* extensions = findMember(json, "extensions");
    if (mesh)
        attachMesh(node, json, where);
    else if (findMember(json, "skin") || findMember(json, "weights"))
        m_faults.warn("skin or weights of a node without mesh are left out", where);
    else if (extensions && findMember(*extensions, "EXT_mesh_gpu_instancing"))
        m_faults.warn("instances of a node without mesh are left out", where);
    uint32_t number = 0;
    if (camera && readReference(json, "camera", m_cameras.size(), "camera", where, number))
    {
        node.appendChild(m_cameras[number].object);
        m_cameras[number].used = true;
    }
    light = extensions ? findMember(*extensions, "KHR_lights_punctual") : nullptr;
    if (light)
        warnOthers(*light, {"light"}, where + ", KHR_lights_punctual");
    if (light && !findMember(*light, "light"))
        m_faults.warn("light that does not exist is left out", where);
    if (light && readReference(*light, "light", m_lights.size(), "light", where, number))
    {
        auto set = kxNew<kxLightSet>();
        set->appendLightAttr(m_lights[number].object);
        m_lights[number].used = true;
        node.appendChild(set);
    }
    return !m_faults.isRefused();
}

// Instances, skin and weights stand between the node and its mesh, in this order; the mesh itself is shared.
void kxGltfReader::attachMesh(kxGroup& node, const kxJsonValue& json, const std::string& where)
{
    uint32_t number = 0;
    if (!readReference(json, "mesh", m_meshes.size(), "mesh", where, number))
        return;
    Mesh& mesh = m_meshes[number];
    mesh.used = true;
    kxGroup* parent = &node;
    auto enter = [&](kxGroup* group)
    {
        parent->appendChild(group);
        parent = group;
    };

    const kxJsonValue* extensions = findMember(json, "extensions");
    if (const kxJsonValue* instancing = extensions ? findMember(*extensions, "EXT_mesh_gpu_instancing") : nullptr)
    {
        kxSmartPointer<kxGroup> instances;
        if (!readInstances(instances, *instancing, where))
            return;
        if (instances)
            enter(instances);
    }
    if (readReference(json, "skin", m_skins.size(), "skin", where, number))
    {
        kxSkin* skin = m_skins[number];
        if (skin && lastJointOf(mesh) >= static_cast<int64_t>(skin->_joints->getCount()))
            m_faults.warn("skin with fewer joints than its vertices follow is left out", where);
        else if (skin)
        {
            auto actor = kxNew<kxActor>();
            actor->_skin = skin;
            enter(actor);
        }
    }
    if (const kxJsonValue* weights = findMember(json, "weights"))
    {
        std::vector<float> values(weights->IsArray() ? weights->Size() : 0);
        if (values.size() != mesh.targetCount || !readFloats(*weights, values.data(), values.size()))
            m_faults.warn("weights that do not fit the morph targets are left out", where);
        else
        {
            auto morph = kxNew<kxMorphInstance>();
            for (const float value : values)
                morph->_weights->append(value);
            enter(morph);
        }
    }
    parent->appendChild(mesh.mesh);
}

bool kxGltfReader::readInstances(kxSmartPointer<kxGroup>& outermost, const kxJsonValue& json, const std::string& where)
{
    const kxJsonValue* attributes = findMember(json, "attributes");
    auto instances = kxNew<kxInstanceArray>();
    bool usable = attributes && attributes->IsObject() && attributes->MemberCount() > 0;
    for (auto at = usable ? attributes->MemberBegin() : json.MemberEnd(); usable && at != attributes->MemberEnd(); ++at)
    {
        uint32_t accessor = 0;
        const std::string_view name = textOf(at->name);
        kxVertexArray* array = readIndex(at->value, accessor) ? m_arrays.get(accessor, kxStringRef(name)) : nullptr;
        if (m_faults.isRefused())
            return false;
        const uint32_t components = name == "TRANSLATION" || name == "SCALE" ? 3 : name == "ROTATION" ? 4 : 0;
        usable = array && (!components || (array->_componentCount == components && !array->_matrix)) &&
                 (instances->_arrays->isEmpty() || array->_count == instances->_arrays->get(0)->_count);
        if (usable)
            instances->_arrays->append(array);
    }
    if (!usable)
    {
        m_faults.warn("instances that have no usable list of places are left out", where);
        return true;
    }
    instances->_userData = m_carried.read(json, kInstancingKeys);
    outermost = instances;
    return true;
}

bool kxGltfReader::linkNodes()
{
    // Nodes without open parents are taken away until none is left; what stays lies on a cycle or below one.
    const auto count = static_cast<uint32_t>(m_nodes.size());
    std::vector<uint32_t> parents(count), ready;
    m_isChild.resize(count);
    for (const uint32_t child : m_children)
    {
        ++parents[child];
        m_isChild[child] = true;
    }
    for (uint32_t i = 0; i < count; ++i)
    {
        if (parents[i] == 0)
            ready.push_back(i);
        else if (parents[i] > 1)
            m_faults.warn("node has several parents and is drawn below each", kxFormat("node %u", i));
    }
    uint32_t taken = 0;
    while (!ready.empty())
    {
        const uint32_t node = ready.back();
        ready.pop_back();
        ++taken;
        for (uint32_t k = m_childStart[node]; k < m_childStart[node + 1]; ++k)
            if (--parents[m_children[k]] == 0)
                ready.push_back(m_children[k]);
    }
    if (taken != count)
    {
        const auto onCycle = std::find_if(parents.begin(), parents.end(), [](uint32_t p) { return p > 0; });
        return m_faults.refuse("nodes lie below themselves (node %u)",
                               static_cast<uint32_t>(onCycle - parents.begin()));
    }
    for (uint32_t i = 0; i < count; ++i)
        for (uint32_t k = m_childStart[i]; k < m_childStart[i + 1]; ++k)
            m_nodes[i]->appendChild(m_nodes[m_children[k]]);
    return true;
}

bool kxGltfReader::readScenes()
{
    const kxJsonValue* list = listOf("scenes");
    if (!list)
        return false;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        const std::string where = kxFormat("scene %u", i);
        auto scene = kxNew<kxSceneInfo>();
        auto root = kxNew<kxGroup>();
        scene->_name = nameOf(json, "scene", i);
        scene->_userData = m_carried.read(json, kSceneKeys);
        scene->setSceneGraph(root);
        const kxJsonValue* nodes = findMember(json, "nodes");
        if (nodes && !nodes->IsArray())
            return m_faults.refuse("nodes of scene %u are not an array", i);
        for (uint32_t k = 0; nodes && k < nodes->Size(); ++k)
        {
            uint32_t node = 0;
            if (!readIndex((*nodes)[k], node) || node >= m_nodes.size())
            {
                m_faults.warn("node that does not exist is left out", where);
                continue;
            }
            if (m_isChild[node])
                m_faults.warn("scene lists a node that is below another one", where);
            root->appendChild(m_nodes[node]);
        }
        m_scenes.push_back(scene);
        m_objects.lists[static_cast<size_t>(kxGltfKind::SCENE)].push_back(scene);
    }
    uint32_t first = 0;
    if (readReference(m_container.json.getRoot(), "scene", m_scenes.size(), "scene to show first", "", first))
        m_info->_defaultScene = m_scenes[first];
    if (m_scenes.empty())
    {
        auto scene = kxNew<kxSceneInfo>();
        auto root = kxNew<kxGroup>();
        scene->setSceneGraph(root);
        for (kxGroup* node : m_nodes)
            if (node->getParentCount() == 0)
                root->appendChild(node);
        m_scenes.push_back(scene);
        m_info->_impliedScene = true;
    }
    return true;
}

bool kxGltfReader::readAnimations()
{
    const kxJsonValue* list = listOf("animations");
    if (!list)
        return false;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        auto animation = kxNew<kxGltfAnimation>();
        animation->_name = nameOf((*list)[i], "animation", i);
        m_objects.lists[static_cast<size_t>(kxGltfKind::ANIMATION)].push_back(animation);
        if (!readAnimation((*list)[i], i, *animation, m_arrays, m_objects, m_carried, m_faults))
            return false;
        for (kxGltfAnimationChannel* channel : *animation->_channels)
            if (channel->_target)
                lock(channel->_target, "animation");
        m_database->_animationList->append(animation);
    }
    return true;
}

} // namespace Kel::Gltf
