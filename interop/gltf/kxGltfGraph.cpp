#include "interop/gltf/kxGltfGraph.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxTransform.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

template <class T>
uint64_t hashWith(uint64_t hash, const T& value)
{
    static_assert(std::has_unique_object_representations_v<T>);
    return hashBytes(&value, sizeof value, hash);
}

// Hashes use what is the same in every run, although nothing depends on their order.
uint64_t serialOf(const kxObject* object)
{
    return object ? object->getSerial() : 0;
}

} // namespace

kxGltfGraph::kxGltfGraph(kxGltfFaults& faults) : m_faults(faults)
{
    m_states.emplace_back();
    m_modifiers.emplace_back();
}

void kxGltfGraph::warnOfType(const kxObject* object, const char* text)
{
    const std::string kind = kxFormat("%s %s", object->getTypeName(), text);
    m_faults.warn(kind.c_str(), "");
}

// ---- attributes

uint32_t kxGltfGraph::internState(std::vector<Entry> entries)
{
    if (entries.empty())
        return 0;
    uint64_t hash = 0;
    for (const Entry& entry : entries)
        hash = hashWith(hash, serialOf(entry.attr) << 1 | uint64_t(entry.overriding));
    const auto [begin, end] = m_stateNumbers.equal_range(hash);
    for (auto at = begin; at != end; ++at)
        if (m_states[at->second] == entries)
            return at->second;
    const auto number = static_cast<uint32_t>(m_states.size());
    m_states.push_back(std::move(entries));
    m_stateNumbers.emplace(hash, number);
    return number;
}

uint32_t kxGltfGraph::stateWith(uint32_t state, const kxAttrSet* set)
{
    if (set->_attrs->isEmpty())
        return state;
    const bool overriding = set->isOfType(kxOverrideAttrSet::staticMetaObject());
    std::vector<Entry> entries = m_states[state];
    bool changed = false;
    for (const kxAttr* attr : *set->_attrs)
    {
        if (!attr || attr->isOfType(kxGeometryAttr::staticMetaObject()) ||
            attr->isOfType(kxGeometrySetAttr::staticMetaObject()))
            continue;
        if (!attr->isOfType(kxMaterialAttr::staticMetaObject()) &&
            !attr->isOfType(kxTextureBindAttr::staticMetaObject()))
        {
            warnOfType(attr, "has no counterpart in glTF and is not written");
            continue;
        }
        const Entry entry{attr->getMetaObject(), attr->getUnit(), attr, overriding};
        auto at = std::find_if(entries.begin(), entries.end(),
                               [&](const Entry& e) { return e.type == entry.type && e.unit == entry.unit; });
        if (at == entries.end())
            entries.push_back(entry);
        else if (!at->overriding || (overriding && at->attr == attr))
            *at = entry;
        else
            continue;
        changed = true;
    }
    if (!changed)
        return state;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b)
              { return a.type != b.type ? a.type->getIndex() < b.type->getIndex() : a.unit < b.unit; });
    return internState(std::move(entries));
}

uint32_t kxGltfGraph::materialOf(uint32_t state)
{
    if (state == 0)
        return kNone;
    const auto known = m_materialOfState.find(state);
    if (known != m_materialOfState.end())
        return known->second;
    const kxMaterialAttr* attr = nullptr;
    std::vector<const kxTextureBindAttr*> binds;
    for (const Entry& entry : m_states[state])
    {
        if (const auto* material = kxCast<kxMaterialAttr>(entry.attr))
            attr = material;
        else if (const auto* bind = kxCast<kxTextureBindAttr>(entry.attr); bind && bind->_texture)
            binds.push_back(bind);
    }
    const uint32_t number = attr || !binds.empty() ? internMaterial(attr, std::move(binds)) : kNone;
    m_materialOfState.emplace(state, number);
    return number;
}

uint32_t kxGltfGraph::internMaterial(const kxMaterialAttr* attr, std::vector<const kxTextureBindAttr*> binds)
{
    uint64_t hash = hashWith(0, serialOf(attr));
    for (const kxTextureBindAttr* bind : binds)
        hash = hashWith(hash, serialOf(bind));
    const auto [begin, end] = m_materialNumbers.equal_range(hash);
    for (auto at = begin; at != end; ++at)
        if (materials[at->second].attr == attr && materials[at->second].binds == binds)
            return at->second;
    const auto number = static_cast<uint32_t>(materials.size());
    materials.push_back({attr, std::move(binds)});
    m_materialNumbers.emplace(hash, number);
    if (attr)
    {
        uint32_t& first = m_first[attr];
        materials[number].nextCopy = first ? std::exchange(materials[first - 1].nextCopy, number) : kNone;
        if (!first)
            first = number + 1;
    }
    return number;
}

uint32_t kxGltfGraph::addMaterial(const kxAttrList& attrs)
{
    kxAttrSet set;
    set._attrs->append(attrs);
    return materialOf(stateWith(0, &set));
}

// ---- meshes

void kxGltfGraph::appendPrimitives(std::vector<Primitive>& primitives, const kxGeometry* geometry, uint32_t state)
{
    const uint32_t material = materialOf(stateWith(state, geometry));
    auto append = [&](const kxGeometryAttr* data)
    {
        if (!data)
            return;
        // The format has no primitives without vertices, nor empty lists of indices.
        bool isEmpty = data->_arrays->isEmpty() || (data->_indices && data->_indices->_count == 0);
        for (const kxVertexArray* array : *data->_arrays)
            isEmpty |= !array || array->_count == 0;
        if (isEmpty)
            m_faults.warn("geometry without vertices is not written", geometry->getName().str());
        else
            primitives.push_back({geometry, data, material});
    };
    for (const kxAttr* attr : *geometry->_attrs)
    {
        append(kxCast<kxGeometryAttr>(attr));
        if (const auto* set = kxCast<kxGeometrySetAttr>(attr))
            for (const kxGeometryAttr* data : *set->_geometryAttrs)
                append(data);
    }
    if (geometry->_variants)
        for (const kxMaterialVariant* variant : *geometry->_variants)
            if (variant)
                addMaterial(*variant->_attrs);
}

uint32_t kxGltfGraph::internMesh(const kxMesh* source, kxStringRef name, std::vector<Primitive> primitives)
{
    if (primitives.empty())
        return kNone; // the format has no meshes without primitives
    uint64_t hash = hashWith(0, serialOf(source));
    for (const Primitive& primitive : primitives)
        hash = hashWith(hash, serialOf(primitive.geometry) << 32 ^ serialOf(primitive.data) ^
                                  uint64_t(primitive.material) << 16);
    const auto [begin, end] = m_meshNumbers.equal_range(hash);
    for (auto at = begin; at != end; ++at)
        if (meshes[at->second].source == source && meshes[at->second].primitives == primitives)
            return at->second;
    const auto number = static_cast<uint32_t>(meshes.size());
    meshes.push_back({source, name, std::move(primitives)});
    m_meshNumbers.emplace(hash, number);
    if (source)
    {
        uint32_t& first = m_first[source];
        meshes[number].nextCopy = first ? std::exchange(meshes[first - 1].nextCopy, number) : kNone;
        if (!first)
            first = number + 1;
    }
    return number;
}

kxGltfGraph::MeshUse kxGltfGraph::useMesh(const kxMesh* mesh, uint32_t state)
{
    if (const uint64_t plain = state == 0 ? m_plainMeshUses.get(mesh) : 0)
        return {static_cast<uint32_t>(plain >> 2), (plain & 2) != 0};
    const auto known = m_meshUses.find({mesh, state});
    if (known != m_meshUses.end())
        return known->second;
    struct Step
    {
        const kxGroup* group;
        uint32_t next;
        uint32_t state;
    };
    std::vector<Primitive> primitives;
    MeshUse use{kNone, false};
    std::vector<Step> steps{{mesh, 0, state}};
    while (!steps.empty())
    {
        Step& step = steps.back();
        if (step.next == step.group->getChildCount())
        {
            steps.pop_back();
            continue;
        }
        const kxNode* child = step.group->getChild(step.next++);
        const auto* set = kxCast<kxAttrSet>(child);
        if (!set)
        {
            use.hasOthers |= child != nullptr;
            continue;
        }
        const uint32_t inner = step.state;
        if (const auto* geometry = kxCast<kxGeometry>(child))
        {
            appendPrimitives(primitives, geometry, inner);
            if (geometry->getChildCount() > 0)
                steps.push_back({geometry, 0, inner});
        }
        else
            steps.push_back({set, 0, stateWith(inner, set)});
    }
    use.mesh = internMesh(mesh, mesh->getName(), std::move(primitives));
    if (state == 0)
        m_plainMeshUses[mesh] = uint64_t(use.mesh) << 2 | uint64_t(use.hasOthers) << 1 | 1;
    else
        m_meshUses.emplace(std::pair(mesh, state), use);
    return use;
}

uint32_t kxGltfGraph::addMesh(const kxMesh* mesh)
{
    return has(mesh) ? first(mesh) : useMesh(mesh, 0).mesh;
}

void kxGltfGraph::placeMesh(uint32_t owner, uint32_t mesh, uint32_t modifiers)
{
    if (mesh == kNone)
        return;
    // The first mesh goes to the owner itself, further ones to children of their own.
    if (owner == kNone || nodes[owner].mesh != kNone)
        owner = openHelper(owner, meshes[mesh].name);
    nodes[owner].mesh = mesh;
    if (modifiers == 0)
        return;
    More& more = moreOf(owner);
    more.skin = m_modifiers[modifiers].skin;
    more.morph = m_modifiers[modifiers].morph;
    more.instances = m_modifiers[modifiers].instances;
}

// ---- nodes

uint32_t kxGltfGraph::internModifiers(const Modifiers& modifiers)
{
    // Few at a time: those of the path and of its neighbours, so the last ones are looked at.
    const size_t lookBack = std::min<size_t>(m_modifiers.size(), 8);
    for (size_t i = m_modifiers.size() - lookBack; i < m_modifiers.size(); ++i)
        if (m_modifiers[i] == modifiers)
            return static_cast<uint32_t>(i);
    m_modifiers.push_back(modifiers);
    return static_cast<uint32_t>(m_modifiers.size() - 1);
}

kxGltfGraph::More& kxGltfGraph::moreOf(uint32_t node)
{
    if (nodes[node].more == kNone)
    {
        nodes[node].more = static_cast<uint32_t>(more.size());
        more.emplace_back();
    }
    return more[nodes[node].more];
}

uint32_t kxGltfGraph::openNode(const kxGroup* source, uint32_t parent)
{
    const auto number = static_cast<uint32_t>(nodes.size());
    if (number >= kMaxNodes)
        m_failed = true;
    Node& node = nodes.emplace_back();
    node.source = source;
    node.parent = parent;
    uint32_t& first = m_first[source];
    if (first)
    {
        // The copy before the last one is the one that the first names: the chain goes first, newest ... oldest.
        node.nextCopy = std::exchange(nodes[first - 1].nextCopy, number);
        node.copy = node.nextCopy == kNone ? 1 : nodes[node.nextCopy].copy + 1;
    }
    else
        first = number + 1;
    if (parent == kNone && m_inScene)
    {
        node.scene = static_cast<uint32_t>(scenes.size());
        scenes.back().roots.push_back(number);
    }
    return number;
}

uint32_t kxGltfGraph::openHelper(uint32_t parent, kxStringRef name)
{
    const auto number = static_cast<uint32_t>(nodes.size());
    if (number >= kMaxNodes)
        m_failed = true;
    nodes.emplace_back().parent = parent;
    if (!name.isEmpty())
        moreOf(number).name = name;
    if (parent == kNone && m_inScene)
        scenes.back().roots.push_back(number);
    return number;
}

void kxGltfGraph::push(const kxGroup* group, uint32_t owner, uint32_t state, uint32_t modifiers, bool opensNode,
                       bool withoutGeometry)
{
    if (opensNode)
        m_loose.emplace_back();
    const auto* mesh = kxCast<kxMesh>(group);
    if (!mesh && !m_frames.empty())
        mesh = m_frames.back().mesh;
    m_frames.push_back({group, 0, owner, state, modifiers, opensNode, withoutGeometry, mesh});
}

bool kxGltfGraph::isFoldable(const kxInstanceArray* instances) const
{
    // Instances of a mesh stand in its node; any other content has to be placed by nodes.
    std::vector<const kxGroup*> open{instances};
    while (!open.empty())
    {
        const kxGroup* group = open.back();
        open.pop_back();
        for (uint32_t i = 0; i < group->getChildCount(); ++i)
        {
            const kxNode* child = group->getChild(i);
            const bool plain = !child || child->isOfType(kxAttrSet::staticMetaObject()) ||
                               child->isOfType(kxMesh::staticMetaObject()) ||
                               child->isOfType(kxActor::staticMetaObject()) ||
                               child->isOfType(kxMorphInstance::staticMetaObject());
            if (!plain)
                return false;
            if (const auto* inner = kxCast<kxGroup>(child))
                open.push_back(inner);
        }
    }
    return true;
}

void kxGltfGraph::expandInstances(const kxInstanceArray* instances, const Frame& from)
{
    m_faults.warn("instances of more than a mesh are written as nodes", instances->getName().str());
    const auto count = static_cast<uint32_t>(std::min<int64_t>(instances->getInstanceCount(), kMaxNodes));
    std::vector<uint32_t> owners;
    for (uint32_t i = 0; i < count && !m_failed; ++i)
    {
        owners.push_back(openHelper(from.owner, instances->getName()));
        nodes.back().source = instances;
        moreOf(owners.back()).instance = i;
    }
    for (size_t i = owners.size(); i-- > 0;)
        push(instances, owners[i], from.state, from.modifiers, true, false);
}

void kxGltfGraph::visitGroup(const kxGroup* group, const Frame& from)
{
    if (const auto* mesh = kxCast<kxMesh>(group))
    {
        const MeshUse use = useMesh(mesh, from.state);
        placeMesh(from.owner, use.mesh, from.modifiers);
        if (use.hasOthers)
            push(mesh, from.owner, from.state, from.modifiers, false, true);
    }
    else if (const auto* geometry = kxCast<kxGeometry>(group))
    {
        if (!from.withoutGeometry)
        {
            std::vector<Loose>& loose = m_loose.back();
            auto at =
                std::find_if(loose.begin(), loose.end(), [&](const Loose& l) { return l.modifiers == from.modifiers; });
            if (at == loose.end())
                at = loose.insert(at, {from.modifiers, {}});
            appendPrimitives(at->primitives, geometry, from.state);
        }
        if (geometry->getChildCount() > 0)
            push(geometry, from.owner, from.state, from.modifiers, false, from.withoutGeometry);
    }
    else if (const auto* set = kxCast<kxAttrSet>(group))
        push(set, from.owner, stateWith(from.state, set), from.modifiers, false, from.withoutGeometry);
    else if (const auto* actor = kxCast<kxActor>(group))
    {
        Modifiers modifiers = m_modifiers[from.modifiers];
        modifiers.skin = actor->_skin;
        push(actor, from.owner, from.state, internModifiers(modifiers), false, false);
    }
    else if (const auto* morph = kxCast<kxMorphInstance>(group))
    {
        Modifiers modifiers = m_modifiers[from.modifiers];
        modifiers.morph = morph;
        push(morph, from.owner, from.state, internModifiers(modifiers), false, false);
    }
    else if (const auto* instances = kxCast<kxInstanceArray>(group))
    {
        Modifiers modifiers = m_modifiers[from.modifiers];
        if (modifiers.instances || !isFoldable(instances))
            return expandInstances(instances, from);
        modifiers.instances = instances;
        push(instances, from.owner, from.state, internModifiers(modifiers), false, false);
    }
    else if (const auto* lights = kxCast<kxLightSet>(group))
    {
        for (const kxLightAttr* light : *lights->_lightAttrs)
        {
            if (!light)
                continue;
            uint32_t owner = from.owner;
            if (owner == kNone || (nodes[owner].more != kNone && more[nodes[owner].more].light))
                owner = openHelper(owner, light->getName());
            moreOf(owner).light = light;
        }
        if (lights->getChildCount() > 0)
            push(lights, from.owner, from.state, from.modifiers, false, from.withoutGeometry);
    }
    else
    {
        const kxMetaObject* type = group->getMetaObject();
        if (type != kxGroup::staticMetaObject() && type != kxTransform::staticMetaObject() &&
            type != kxJoint::staticMetaObject())
            warnOfType(group, "has no counterpart in glTF and is written as a plain node");
        push(group, openNode(group, from.owner), from.state, from.modifiers, true, false);
    }
}

void kxGltfGraph::visit(const kxNode* node, const Frame& from)
{
    if (const auto* camera = kxCast<kxCamera>(node))
    {
        uint32_t owner = from.owner;
        if (owner == kNone || (nodes[owner].more != kNone && more[nodes[owner].more].camera))
            owner = openHelper(owner, camera->getName());
        moreOf(owner).camera = camera;
        return;
    }
    const auto* group = kxCast<kxGroup>(node);
    if (!group)
        return warnOfType(node, "has no counterpart in glTF and is not written");
    const bool known =
        from.state == 0 && from.modifiers == 0 && has(group) && !group->isOfType(kxMesh::staticMetaObject());
    if (known && nodes[first(group)].parent == kNone)
    {
        // A root of one scene can be one of another too. Outside of the scenes nothing is copied, only linked.
        const uint32_t number = first(group);
        if (m_inScene && from.owner == kNone && nodes[number].scene != scenes.size())
        {
            nodes[number].scene = static_cast<uint32_t>(scenes.size());
            scenes.back().roots.push_back(number);
            return;
        }
        if (!m_inScene && from.owner != kNone)
        {
            if (nodes[number].scene != 0)
                extraLinks.emplace_back(from.owner, number);
            else
                nodes[number].parent = from.owner;
            return;
        }
    }
    visitGroup(group, from);
}

void kxGltfGraph::finishOwner(const Frame& frame)
{
    std::vector<Loose> gathered = std::move(m_loose.back());
    m_loose.pop_back();
    for (Loose& loose : gathered)
    {
        kxStringRef name;
        if (loose.primitives.size() == 1)
            name = loose.primitives[0].geometry->getName();
        if (name.isEmpty() && frame.owner != kNone && nodes[frame.owner].source)
            name = nodes[frame.owner].source->getName();
        if (frame.mesh)
            name = frame.mesh->getName(); // a part of it, which is still to be found by its name
        const uint32_t number = internMesh(nullptr, name, std::move(loose.primitives));
        if (number != kNone)
            meshes[number].partOf = frame.mesh;
        placeMesh(frame.owner, number, loose.modifiers);
    }
}

bool kxGltfGraph::walk()
{
    while (!m_frames.empty() && !m_failed)
    {
        Frame& frame = m_frames.back();
        if (frame.next < frame.group->getChildCount())
        {
            const kxNode* child = frame.group->getChild(frame.next++);
            const Frame from = frame; // visiting may move the frames
            if (child)
                visit(child, from);
            continue;
        }
        const Frame finished = frame;
        m_frames.pop_back();
        if (finished.opensNode)
            finishOwner(finished);
    }
    return !m_failed || m_faults.refuse("has more than %u nodes once its shared ones are copied", kMaxNodes);
}

// Visits a node as if it were the child of nothing.
bool kxGltfGraph::addBelow(const kxNode* root)
{
    const Frame nothing{nullptr, 0, kNone, 0, 0, true, false, nullptr};
    m_loose.emplace_back();
    visit(root, nothing);
    const bool done = walk();
    finishOwner(nothing);
    return done;
}

bool kxGltfGraph::addScene(const kxSceneInfo* info, const kxNode* root, kxStringRef name)
{
    scenes.push_back({info, name, {}});
    // One at the top says how to draw the scene. As a node it would be a parent, and of what several scenes have as their
    // roots there is one node only as long as it has none.
    for (; root && root->isOfType(kxCompiledGraph::staticMetaObject());
         root = static_cast<const kxGroup*>(root)->getChild(0u))
    {
        if (static_cast<const kxGroup*>(root)->getChildCount() != 1)
            break;
        warnOfType(root, "has no counterpart in glTF and is not written");
    }
    if (!root)
        return true;
    m_inScene = true;
    const kxMetaObject* type = root->getMetaObject();
    const bool isSet = type == kxAttrSet::staticMetaObject() || type == kxOverrideAttrSet::staticMetaObject();
    bool done = false;
    if (isSet || type == kxGroup::staticMetaObject())
    {
        // A plain root is the scene itself.
        const auto* group = static_cast<const kxGroup*>(root);
        push(group, kNone, isSet ? stateWith(0, static_cast<const kxAttrSet*>(group)) : 0, 0, true, false);
        done = walk();
    }
    else
        done = addBelow(root);
    m_inScene = false;
    return done;
}

bool kxGltfGraph::addUnused(const kxNode* node)
{
    return !kxCast<kxGroup>(node) || has(node) || addBelow(node);
}

} // namespace Kel::Gltf
