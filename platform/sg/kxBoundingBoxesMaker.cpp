// Boxes around what nodes draw: from below, every node and every vertex data once.
#include "platform/sg/kxBoundingBoxesMaker.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/math/kxBoxes.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxDrawnBoxes.h"
#include "platform/sg/kxPrefetchBranches.h"
#include "platform/sg/kxTransform.h"

#include <utility>

namespace Kel::Sg
{

using Math::transformBox;

KX_IMPLEMENT(kxBoundingBoxesMaker)

kxBoundingBoxesMaker::~kxBoundingBoxesMaker() = default;

namespace
{

// A volume that is smaller than the one above it by less than this part of its size rejects nothing more.
constexpr float kSameSize = 1e-5f;

// Of a graph that does not fit into the caches, how many nodes before their turn they are asked for, and then what
// they refer to.
constexpr uint32_t kNodesAhead = 16;
constexpr uint32_t kPartsAhead = 8;

// The head of a node and, should it be a transform, its matrix.
void prefetchTransform(const kxNode* node)
{
    prefetchObject(node);
    __builtin_prefetch(reinterpret_cast<const char*>(node) + 128);
}

bool holds(const kxAABox& outer, const kxAABox& inner)
{
    const kxVec3f slack = (inner.max - inner.min) * kSameSize;
    for (int axis = 0; axis < 3; ++axis)
        if (!(outer.min[axis] <= inner.min[axis] + slack[axis] && outer.max[axis] >= inner.max[axis] - slack[axis]))
            return false;
    return true;
}

} // namespace

kxMatrix44f worldMatrixOf(const kxNode* node)
{
    kxMatrix44f matrix;
    // A file's graph has no cycles; the bound is for graphs that are being mended.
    for (uint32_t steps = 0; node && steps < 1u << 24; ++steps)
    {
        if (const auto* transform = kxCast<kxTransform>(node))
            matrix = matrix * transform->getMatrix();
        node = node->getParentCount() > 0 ? node->getParent(0) : nullptr;
    }
    return matrix;
}

const kxAABox& kxBoundingBoxesMaker::getBox(const kxGeometryAttr* attr)
{
    Entry& entry = m_boxes[attr];
    if (entry.state != KNOWN)
    {
        entry.box = boxOfVertices(*attr);
        entry.state = KNOWN;
    }
    return entry.box;
}

void kxBoundingBoxesMaker::setBox(const kxGeometryAttr* attr, const kxAABox& box)
{
    Entry& entry = m_boxes[attr];
    entry.box = box;
    entry.state = KNOWN;
}

const kxAABox& kxBoundingBoxesMaker::getBox(kxNode* node)
{
    if (m_boxes.get(node).state != KNOWN)
        measure(node);
    return m_boxes[node].box;
}

kxAABox kxBoundingBoxesMaker::getBoxInParent(kxNode* node)
{
    const kxAABox& box = getBox(node);
    if (!(kindOf(node) & TRANSFORM) || box.isEmpty())
        return box;
    return transformBox(box, static_cast<const kxTransform*>(node)->getMatrix());
}

uint8_t kxBoundingBoxesMaker::kindOf(const kxNode* node)
{
    const kxMetaObject* type = node->getMetaObject();
    const uint32_t index = type->getIndex();
    if (index >= m_kinds.size())
        m_kinds.resize(index + 1);
    uint8_t& kind = m_kinds[index];
    if (kind == 0)
    {
        kind = CLASSIFIED;
        const std::pair<const kxMetaObject*, uint8_t> table[] = {
            {kxGroup::staticMetaObject(), GROUP},          {kxTransform::staticMetaObject(), TRANSFORM},
            {kxGeometry::staticMetaObject(), GEOMETRY},    {kxActor::staticMetaObject(), PLACES},
            {kxInstanceArray::staticMetaObject(), PLACES}, {kxBillboard::staticMetaObject(), PLACES}};
        for (const auto& [base, bits] : table)
            if (type->isDerivedFrom(base))
                kind |= bits;
    }
    return kind;
}

// The box of each node is gathered while what is below it is looked at, so that every node is touched once.
void kxBoundingBoxesMaker::measure(kxNode* root)
{
    struct Step
    {
        kxNode* node;
        uint32_t next;
        uint32_t count;
        uint8_t kind;
        Entry entry;
    };
    std::vector<Step> steps;
    auto enter = [&](kxNode* node)
    {
        m_boxes[node].state = OPEN;
        const uint8_t kind = kindOf(node);
        steps.push_back({node, 0, kind & GROUP ? static_cast<kxGroup*>(node)->getChildCount() : 0, kind, {}});
    };
    enter(root);
    while (!steps.empty())
    {
        Step& step = steps.back();
        if (step.next < step.count)
        {
            const auto* group = static_cast<const kxGroup*>(step.node);
            if (step.count >= kWideCount)
                prefetchBranches(
                    [&](uint32_t ahead)
                    { return step.next + ahead < step.count ? group->getChild(step.next + ahead) : nullptr; },
                    [&](const kxNode* node) { __builtin_prefetch(&m_boxes[node]); });
            kxNode* child = group->getChild(step.next++);
            if (!child)
                continue;
            const Entry known = m_boxes.get(child);
            if (known.state == UNKNOWN)
                enter(child);
            else if (known.state == KNOWN) // one that is open lies above itself and adds nothing
                addBelow(step.entry, inParent(known, child, kindOf(child)));
            continue;
        }
        finish(step.entry, step.node, step.kind);
        m_boxes[step.node] = step.entry;
        if (steps.size() > 1)
            addBelow(steps[steps.size() - 2].entry, inParent(step.entry, step.node, step.kind));
        steps.pop_back();
    }
}

void kxBoundingBoxesMaker::addBelow(Entry& entry, const Entry& below)
{
    if (below.box.isEmpty())
        return;
    entry.box.extendBy(below.box);
    entry.followsBones |= below.followsBones;
    entry.standsFree |= below.standsFree;
}

kxBoundingBoxesMaker::Entry kxBoundingBoxesMaker::inParent(const Entry& entry, const kxNode* node, uint8_t kind)
{
    Entry moved = entry;
    if (kind & TRANSFORM)
        moved.box = transformBox(entry.box, static_cast<const kxTransform*>(node)->getMatrix());
    return moved;
}

// Adds what the node itself does to that of its children.
void kxBoundingBoxesMaker::finish(Entry& entry, const kxNode* node, uint8_t kind)
{
    if (kind & GEOMETRY)
        addGeometry(entry, static_cast<const kxGeometry*>(node));
    if (kind & PLACES && !entry.box.isEmpty())
        place(entry, static_cast<const kxGroup*>(node));
    entry.state = KNOWN;
}

void kxBoundingBoxesMaker::place(Entry& entry, const kxGroup* group)
{
    if (const auto* actor = kxCast<kxActor>(group))
        placeSkinned(entry, actor);
    else if (const auto* instances = kxCast<kxInstanceArray>(group))
        entry.box = boxOfInstances(*instances, entry.box);
    else if (const auto* billboard = kxCast<kxBillboard>(group))
        entry.box = boxOfTurns(billboard->_center, entry.box);
}

void kxBoundingBoxesMaker::addGeometry(Entry& entry, const kxGeometry* geometry)
{
    kxAABox own;
    for (const kxAttr* attr : *geometry->getAttrs())
    {
        if (const auto* vertices = kxCast<kxGeometryAttr>(attr))
            own.extendBy(getBox(vertices));
        else if (const auto* set = kxCast<kxGeometrySetAttr>(attr))
        {
            for (const kxGeometryAttr* element : *set->_geometryAttrs)
                if (element)
                    own.extendBy(getBox(element));
        }
        else if (const auto* particles = kxCast<kxParticleAttr>(attr))
            own.extendBy(boxOfParticles(*particles));
    }
    if (own.isEmpty())
        return;
    entry.box.extendBy(own);
    (geometry->hasSkinnedAttr() ? entry.followsBones : entry.standsFree) = true;
}

// Skinned vertices stand where their bones are, wherever the actor hangs: in the bind pose all of them are moved by the same
// matrix, that of any joint.
void kxBoundingBoxesMaker::placeSkinned(Entry& entry, const kxActor* actor)
{
    const kxSkin* skin = actor->_skin;
    if (!entry.followsBones || !skin || skin->_joints->isEmpty() || !skin->_joints->get(0))
        return;
    kxMatrix44f bind;
    if (const kxVertexArray* matrices = skin->_inverseBindMatrices;
        matrices && matrices->_matrix && matrices->_componentCount == 16 && matrices->_count > 0)
        for (uint32_t i = 0; i < 16; ++i)
            bind[static_cast<int>(i / 4)][i % 4] = static_cast<float>(matrices->getComponent(0, i));
    const kxMatrix44f toRoot = bind * worldMatrixOf(skin->_joints->get(0));
    const kxMatrix44f actorWorld = worldMatrixOf(actor);
    if (actorWorld.determinant() == 0)
        return;
    const kxAABox placed = transformBox(entry.box, toRoot * actorWorld.inverse());
    if (entry.standsFree)
        entry.box.extendBy(placed);
    else
        entry.box = placed;
    entry.followsBones = false;
    entry.standsFree = true;
}

uint32_t kxBoundingBoxesMaker::removeAll(const kxFlatGraph& graph)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < graph.getCount(); ++i)
    {
        if (i + kNodesAhead < graph.getCount())
            __builtin_prefetch(graph.getNode(i + kNodesAhead));
        kxNode* node = graph.getNode(i);
        count += node->_boundingVolume ? 1 : 0;
        node->_boundingVolume = nullptr;
    }
    return count;
}

uint32_t kxBoundingBoxesMaker::apply(const kxFlatGraph& graph)
{
    forget();
    std::vector<Entry> entries(graph.getCount()); // in the space of the parents
    uint32_t volumeCount = 0;
    for (uint32_t i = 0; i < graph.getCount(); ++i)
    {
        if (i + kNodesAhead < graph.getCount())
            prefetchTransform(graph.getNode(i + kNodesAhead));
        if (i + kPartsAhead < graph.getCount())
            if (const auto children = graph.getChildren(i + kPartsAhead); !children.empty())
                __builtin_prefetch(&entries[children[0]]);
        kxNode* node = graph.getNode(i);
        const uint8_t kind = kindOf(node);
        Entry entry;
        const auto children = graph.getChildren(i);
        for (size_t k = 0; k < children.size(); ++k)
        {
            if (k + kPartsAhead < children.size())
                __builtin_prefetch(&entries[children[k + kPartsAhead]]);
            if (entries[children[k]].state == KNOWN) // one that is not lies above itself and adds nothing
                addBelow(entry, entries[children[k]]);
        }
        finish(entry, node, kind);
        setVolume(node, entry.box);
        volumeCount += node->_boundingVolume ? 1 : 0;
        entries[i] = inParent(entry, node, kind);
    }
    return volumeCount;
}

void kxBoundingBoxesMaker::setVolume(kxNode* node, const kxAABox& box)
{
    if (box.isEmpty())
        node->_boundingVolume = nullptr;
    else if (!node->_boundingVolume || node->_boundingVolume->_box != box)
    {
        // A volume may be shared with nodes elsewhere, so it is never changed.
        kxSmartPointer<kxBoundingVolume> volume(new (*m_pool) kxBoundingVolume);
        volume->_box = box;
        node->_boundingVolume = std::move(volume);
    }
}

uint32_t kxBoundingBoxesMaker::optimize(const kxFlatGraph& graph)
{
    // What the nearest volume at or above a node holds, in the node's own space.
    std::vector<kxAABox> held(graph.getCount());
    uint32_t count = 0;
    for (uint32_t i = graph.getCount(); i-- > 0;)
    {
        if (i >= kNodesAhead)
            prefetchTransform(graph.getNode(i - kNodesAhead));
        if (i >= kPartsAhead)
        {
            prefetchObject(graph.getNode(i - kPartsAhead)->_boundingVolume);
            prefetchObject(graph.getNode(i - kPartsAhead)->_parentList);
        }
        kxNode* node = graph.getNode(i);
        const uint32_t parent = graph.getFirstParent(i);
        kxAABox& above = held[i];
        if (parent != kxFlatGraph::kNone)
            above = held[parent];
        if (kindOf(node) & TRANSFORM && !above.isEmpty())
        {
            const kxMatrix44f& matrix = static_cast<const kxTransform*>(node)->getMatrix();
            above = matrix.determinant() == 0 ? kxAABox() : transformBox(above, matrix.inverse());
        }
        const kxBoundingVolume* volume = node->_boundingVolume;
        if (volume && parent != kxFlatGraph::kNone && !above.isEmpty() && holds(volume->_box, above) &&
            node->getParentCount() < 2)
        {
            node->_boundingVolume = nullptr;
            ++count;
        }
        else if (volume)
            above = volume->_box;
    }
    return count;
}

} // namespace Kel::Sg
