// Cameras, lights, skins, nodes, scenes and animations.
#include "interop/gltf/kxGltfReader.h"

#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxMorphInstance.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kPerspectiveCameraMembers[] = {"name", "type", "perspective"};
constexpr std::string_view kOrthographicCameraMembers[] = {"name", "type", "orthographic"};
constexpr std::string_view kPerspectiveMembers[] = {"aspectRatio", "yfov", "zfar", "znear"};
constexpr std::string_view kOrthographicMembers[] = {"xmag", "ymag", "zfar", "znear"};
constexpr std::string_view kLightMembers[] = {
    "name", "color", "intensity", "range", "type", "spot/innerConeAngle", "spot/outerConeAngle"};
constexpr std::string_view kSkinMembers[] = {"name", "joints", "skeleton", "inverseBindMatrices"};
constexpr std::string_view kNodeMembers[] = {"name", "children", "rotation", "scale",       "mesh",
                                             "skin", "camera",   "weights",  "translation", "matrix"};
constexpr std::string_view kNodeExtensions[] = {"KHR_lights_punctual/light", "EXT_mesh_gpu_instancing"};
constexpr std::string_view kInstancingMembers[] = {"attributes"};
constexpr std::string_view kSceneMembers[] = {"name", "nodes"};

const kxKnownKeys kPerspectiveCameraKeys = {"camera", kPerspectiveCameraMembers, {}};
const kxKnownKeys kOrthographicCameraKeys = {"camera", kOrthographicCameraMembers, {}};
const kxKnownKeys kPerspectiveKeys = {"perspective", kPerspectiveMembers, {}};
const kxKnownKeys kOrthographicKeys = {"orthographic", kOrthographicMembers, {}};
const kxKnownKeys kSpotKeys = {"light", kLightMembers, {}};
const kxKnownKeys kLightKeys = {"light", std::span(kLightMembers).first(5), {}};
const kxKnownKeys kOtherLightKeys = {"light", std::span(kLightMembers).first(4), {}}; // the type is carried
const kxKnownKeys kSkinKeys = {"skin", kSkinMembers, {}};
const kxKnownKeys kNodeKeys = {"node", kNodeMembers, kNodeExtensions};
// The place is carried as well: a node far out, as on a globe, lies finer than floats can say. Units are metres.
const kxKnownKeys kFarNodeKeys = {"node", std::span(kNodeMembers).first(8), kNodeExtensions};
constexpr double kFarTolerance = 0.005;
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
        const kxJsonValue* type = findMember(json, "type");
        const bool orthographic = type && type->IsString() && textOf(*type) == "orthographic";
        if (!orthographic && !(type && type->IsString() && textOf(*type) == "perspective"))
            m_faults.warn("camera of no known type counts as perspective", where);
        camera->_userData = m_carried.read(json, orthographic ? kOrthographicCameraKeys : kPerspectiveCameraKeys);
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
        light->_userData = m_carried.read(json, !known ? kOtherLightKeys : name == "spot" ? kSpotKeys : kLightKeys);
        readFloatsMember(json, "color", &light->_color.x, 3, where);
        readFloatMember(json, "intensity", light->_intensity, where);
        readFloatMember(json, "range", light->_range, where);
        if (const kxJsonValue* spot = name == "spot" ? findMember(json, "spot") : nullptr)
        {
            readFloatMember(*spot, "innerConeAngle", light->_innerConeAngle, where);
            readFloatMember(*spot, "outerConeAngle", light->_outerConeAngle, where);
        }
        m_lights.push_back({light});
        m_objects.lists[static_cast<size_t>(kxGltfKind::LIGHT)].push_back(light);
    }
    return true;
}

void kxGltfReader::takeNode(const kxJsonValue& json, const std::function<const kxJsonValue*()>& keep)
{
    NodeRecord& record = m_nodeRecords.emplace_back();
    m_childStart.push_back(static_cast<uint32_t>(m_children.size()));
    record.isObject = json.IsObject();
    if (!record.isObject)
        return;
    bool isPlain = true;
    for (auto at = json.MemberBegin(); at != json.MemberEnd(); ++at)
    {
        const std::string_view key = textOf(at->name);
        const kxJsonValue& value = at->value;
        if (key == "name" && value.IsString())
            record.name = kxStringRef(textOf(value));
        else if (key == "translation")
            isPlain &= readFloats(value, &record.translation.x, 3) && !isFinerThanFloats(value, kFarTolerance);
        else if (key == "rotation")
            isPlain &= readFloats(value, record.rotation, 4);
        else if (key == "scale")
            isPlain &= readFloats(value, &record.scale.x, 3);
        else if (key == "mesh")
            isPlain &= readIndex(value, record.mesh);
        else if (key == "children")
        {
            record.hasBrokenChildren = !value.IsArray();
            for (auto child = value.IsArray() ? value.Begin() : nullptr; child && child != value.End(); ++child)
            {
                uint32_t number = UINT32_MAX;
                m_children.push_back(readIndex(*child, number) ? number : UINT32_MAX);
            }
        }
        else
            isPlain = false;
        record.isPlaced |= key == "translation" || key == "rotation" || key == "scale" || key == "matrix";
    }
    if (!isPlain)
        record.json = keep();
}

// A node's class depends on what refers to it, so skins and animations are looked at before.
bool kxGltfReader::makeNodes()
{
    if (!listOf("nodes")) // a list that is one has been taken
        return false;
    const kxJsonValue* skins = listOf("skins");
    const kxJsonValue* animations = skins ? listOf("animations") : nullptr;
    if (!animations)
        return false;
    const auto count = static_cast<uint32_t>(m_nodeRecords.size());
    std::vector<bool> isJoint(count), isAnimated(count);
    for (auto skin = skins->Begin(); skin != skins->End(); ++skin)
        if (const kxJsonValue* joints = findMember(*skin, "joints"); joints && joints->IsArray())
            for (auto at = joints->Begin(); at != joints->End(); ++at)
                if (uint32_t joint = 0; readIndex(*at, joint) && joint < count)
                    isJoint[joint] = true;
    forEachAnimatedNode(*animations,
                        [&](uint32_t node)
                        {
                            if (node < count)
                                isAnimated[node] = true;
                        });

    m_nodes.reserve(count);
    auto& found = m_objects.lists[static_cast<size_t>(kxGltfKind::NODE)];
    found.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
    {
        if (!m_nodeRecords[i].isObject)
            return m_faults.refuse("nodes[%u] is not an object", i);
        if (m_nodeRecords[i].hasBrokenChildren)
            return m_faults.refuse("children of node %u are not an array", i);
        kxSmartPointer<kxGroup> node;
        if (isJoint[i])
            node = kxNew<kxJoint>();
        else if (isAnimated[i] || m_nodeRecords[i].isPlaced)
            node = kxNew<kxTransform>();
        else
            node = kxNew<kxGroup>();
        if (isAnimated[i])
            node->_flags |= kxNode::IS_ANIMATED;
        m_nodes.push_back(node);
        found.push_back(node);
    }
    for (uint32_t i = 0; i < count; ++i)
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
        auto skeleton = kxNew<kxSkeleton>();
        skeleton->_name = skin->_name;
        skeleton->_bones->append(*skin->_joints);
        m_database->_skeletonList->append(skeleton);
    }
    return true;
}

bool kxGltfReader::readNodes()
{
    for (uint32_t i = 0; i < m_nodes.size(); ++i)
        if (!readNode(i))
            return false;
    m_nodeRecords = {};
    return true;
}

bool kxGltfReader::readNode(uint32_t index)
{
    const NodeRecord& record = m_nodeRecords[index];
    kxGroup& node = *m_nodes[index];
    node._name = record.name;
    if (record.json)
        return readWholeNode(*record.json, index);
    if (auto* transform = kxCast<kxTransform>(&node))
    {
        const float* q = record.rotation;
        transform->setParts(record.translation, kxQuatf(q[3], q[0], q[1], q[2]), record.scale);
    }
    if (record.mesh < m_meshes.size())
    {
        node.appendChild(m_meshes[record.mesh].mesh);
        m_meshes[record.mesh].used = true;
    }
    else if (record.mesh != UINT32_MAX)
        m_faults.warn("mesh that does not exist is left out", kxFormat("node %u", index));
    return true;
}

bool kxGltfReader::readWholeNode(const kxJsonValue& json, uint32_t index)
{
    kxGroup& node = *m_nodes[index];
    const std::string where = kxFormat("node %u", index);
    nameOf(json, "node", index);
    const kxJsonValue* matrixJson = findMember(json, "matrix");
    const kxJsonValue* place = matrixJson ? matrixJson : findMember(json, "translation");
    const bool isFar = place && isFinerThanFloats(*place, kFarTolerance);
    node._userData = m_carried.read(json, isFar ? kFarNodeKeys : kNodeKeys);
    if (auto* transform = kxCast<kxTransform>(&node))
    {
        if (matrixJson)
        {
            kxMatrix44f matrix;
            readFloatsMember(json, "matrix", matrix.getValue(), 16, where);
            transform->setMatrix(matrix);
        }
        else
        {
            kxVec3f translation(0, 0, 0), scale(1, 1, 1);
            float rotation[4] = {0, 0, 0, 1};
            readFloatsMember(json, "translation", &translation.x, 3, where);
            readFloatsMember(json, "rotation", rotation, 4, where);
            readFloatsMember(json, "scale", &scale.x, 3, where);
            transform->setParts(translation, kxQuatf(rotation[3], rotation[0], rotation[1], rotation[2]), scale);
        }
    }

    const kxJsonValue* extensions = findMember(json, "extensions");
    if (findMember(json, "mesh"))
        attachMesh(node, json, where);
    else if (findMember(json, "skin") || findMember(json, "weights"))
        m_faults.warn("skin or weights of a node without mesh are left out", where);
    else if (extensions && findMember(*extensions, "EXT_mesh_gpu_instancing"))
        m_faults.warn("instances of a node without mesh are left out", where);
    uint32_t number = 0;
    if (readReference(json, "camera", m_cameras.size(), "camera", where, number))
    {
        node.appendChild(m_cameras[number].object);
        m_cameras[number].used = true;
    }
    if (const kxJsonValue* light = extensions ? findMember(*extensions, "KHR_lights_punctual") : nullptr)
    {
        if (!findMember(*light, "light"))
            m_faults.warn("light that does not exist is left out", where);
        else if (readReference(*light, "light", m_lights.size(), "light", where, number))
        {
            auto set = kxNew<kxLightSet>();
            set->appendLightAttr(m_lights[number].object);
            m_lights[number].used = true;
            node.appendChild(set);
        }
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
    const auto count = static_cast<uint32_t>(m_nodes.size());
    m_childStart.push_back(static_cast<uint32_t>(m_children.size()));
    size_t kept = 0;
    for (uint32_t i = 0; i < count; ++i)
    {
        const uint32_t begin = std::exchange(m_childStart[i], static_cast<uint32_t>(kept));
        for (uint32_t k = begin; k < m_childStart[i + 1]; ++k)
        {
            if (m_children[k] < count)
                m_children[kept++] = m_children[k];
            else
                m_faults.warn("child that does not exist is left out", kxFormat("node %u", i));
        }
    }
    m_childStart[count] = static_cast<uint32_t>(kept);
    m_children.resize(kept);

    // Nodes without open parents are taken away until none is left; what stays lies on a cycle or below one.
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
    lockJointRoots();
    return true;
}

// The joints of a skin have to have a node above all of them. Where the file does not name it, it is kept all the same.
void kxGltfReader::lockJointRoots()
{
    const auto parentOf = [](const kxNode* node) { return node->getParentCount() > 0 ? node->getParent(0) : nullptr; };
    for (const kxSkin* skin : *m_database->_skinList)
    {
        if (!skin->_skeletonRoot->isEmpty())
            continue;              // locked when it was read
        std::vector<kxNode*> line; // from the first joint upwards
        std::unordered_map<const kxNode*, size_t> places;
        for (kxNode* at = skin->_joints->get(0); at; at = parentOf(at))
        {
            places[at] = line.size();
            line.push_back(at);
        }
        size_t common = 0;
        for (kxNode* at : *skin->_joints)
        {
            while (at && !places.contains(at))
                at = parentOf(at);
            common = std::max(common, at ? places[at] : line.size());
        }
        if (common < line.size() && !skin->_joints->contains(line[common])) // joints stay anyway
            lock(line[common], "skin");
    }
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
    kxGltfAnimationReader reader(*m_database, m_arrays, m_objects, m_carried, m_faults);
    std::unordered_set<const kxObject*> isDriven;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        auto animation = kxNew<kxAnimation>();
        animation->_name = nameOf((*list)[i], "animation", i);
        m_objects.lists[static_cast<size_t>(kxGltfKind::ANIMATION)].push_back(animation);
        m_database->_animationList->append(animation);
        if (!reader.read((*list)[i], i, *animation))
            return false;
        forEachTrack(*animation,
                     [&](const kxAnimationTrack& track)
                     {
                         if (track._target)
                             lock(track._target, "animation");
                         isDriven.insert(track._target);
                     });
    }
    // The channels of these were left out. They stay locked, but nothing moves them.
    for (const auto& node : m_nodes)
        if (!isDriven.contains(node))
            node->_flags &= ~kxNode::IS_ANIMATED;
    return true;
}

} // namespace Kel::Gltf
