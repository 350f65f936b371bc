// Boxes around what nodes draw: one walk from below, every node and every vertex data once.
#include "platform/sg/kxBoundingBoxesMaker.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"
#include "platform/math/kxBoxes.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxTransform.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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

// Numbers that are none leave a box as it is.
void extend(kxAABox& box, const kxVec3f& point)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        box.min[axis] = point[axis] < box.min[axis] ? point[axis] : box.min[axis];
        box.max[axis] = point[axis] > box.max[axis] ? point[axis] : box.max[axis];
    }
}

class PositionReader
{
public:
    explicit PositionReader(const kxVertexArray* array)
        : m_array(array && array->_componentCount == 3 && !array->_matrix && (array->_data || array->_count == 0)
                      ? array
                      : nullptr),
          m_isFloat(m_array && m_array->_componentType == kxComponentType::FLOAT32)
    {
    }
    int64_t getCount() const { return m_array ? m_array->_count : 0; }
    kxVec3f get(int64_t index) const
    {
        kxVec3f point;
        if (m_isFloat)
            std::memcpy(&point.x, m_array->getElement(index), sizeof point);
        else
            for (uint32_t c = 0; c < 3; ++c)
                point[static_cast<int>(c)] = static_cast<float>(m_array->getComponent(index, c));
        return point;
    }

private:
    const kxVertexArray* m_array;
    bool m_isFloat;
};

template <class T, class F>
void forEachIndexAs(const kxVertexArray& indices, F& callback)
{
    for (int64_t i = 0; i < indices._count; ++i)
    {
        T index;
        std::memcpy(&index, indices.getElement(i), sizeof index);
        callback(index);
    }
}

template <class F>
void forEachIndex(const kxVertexArray& indices, F callback)
{
    switch (componentBytes(indices._componentType))
    {
    case 1: return forEachIndexAs<uint8_t>(indices, callback);
    case 2: return forEachIndexAs<uint16_t>(indices, callback);
    default: return forEachIndexAs<uint32_t>(indices, callback);
    }
}

kxAABox boxOfVertices(const kxGeometryAttr& attr)
{
    static const kxStringRef kPosition("POSITION");
    kxAABox box;
    const PositionReader positions(attr.getArray(kPosition));
    std::vector<PositionReader> displacements;
    for (const kxMorphTarget* target : *attr._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                if (array && array->_semantic == kPosition)
                    displacements.emplace_back(array);

    const int64_t vertexCount = positions.getCount();
    auto add = [&](int64_t vertex)
    {
        kxVec3f low = positions.get(vertex), high = low;
        for (const PositionReader& displacement : displacements)
        {
            if (vertex >= displacement.getCount())
                continue;
            const kxVec3f way = displacement.get(vertex);
            for (int axis = 0; axis < 3; ++axis)
                (way[axis] < 0 ? low : high)[axis] += way[axis];
        }
        extend(box, low);
        if (!displacements.empty())
            extend(box, high);
    };
    if (!attr._indices)
        for (int64_t i = 0; i < vertexCount; ++i)
            add(i);
    else
        forEachIndex(*attr._indices,
                     [&](uint32_t vertex)
                     {
                         if (vertex < vertexCount)
                             add(vertex);
                     });
    return box;
}

kxAABox boxOfParticles(const kxParticleAttr& particles)
{
    kxAABox box;
    extend(box, kxVec3f(0, 0, 0));
    extend(box, particles._velocity * particles._lifetime);
    const kxVec3f size(std::abs(particles._size));
    return {box.min - size, box.max + size};
}

kxAABox boxOfInstances(const kxInstanceArray& instances, const kxAABox& box)
{
    static const kxStringRef kTranslation("TRANSLATION"), kRotation("ROTATION"), kScale("SCALE");
    const kxVertexArray *translations = nullptr, *rotations = nullptr, *scales = nullptr;
    for (const kxVertexArray* array : *instances._arrays)
        if (array && array->_componentCount == (array->_semantic == kRotation ? 4 : 3))
            (array->_semantic == kTranslation ? translations
             : array->_semantic == kRotation  ? rotations
                                              : scales) = array;
    if (scales && scales->_semantic != kScale)
        scales = nullptr;
    auto number = [](const kxVertexArray* array, int64_t index, uint32_t component)
    { return static_cast<float>(array->getComponent(index, component)); };
    kxAABox all;
    for (int64_t i = 0; i < instances.getInstanceCount(); ++i)
    {
        kxVec3f translation(0, 0, 0), scale(1, 1, 1);
        kxQuatf rotation(1, 0, 0, 0);
        for (uint32_t c = 0; c < 3; ++c)
        {
            if (translations && i < translations->_count)
                translation[static_cast<int>(c)] = number(translations, i, c);
            if (scales && i < scales->_count)
                scale[static_cast<int>(c)] = number(scales, i, c);
        }
        if (rotations && i < rotations->_count)
            rotation = kxQuatf(number(rotations, i, 3), number(rotations, i, 0), number(rotations, i, 1),
                               number(rotations, i, 2));
        all.extendBy(transformBox(box, Math::composeMatrix(translation, rotation, scale)));
    }
    return all;
}

// What turns about a point stays within the ball through the corner that is farthest from it.
kxAABox boxOfTurns(const kxVec3f& center, const kxAABox& box)
{
    kxVec3f farthest;
    for (int axis = 0; axis < 3; ++axis)
        farthest[axis] = std::max(std::abs(box.min[axis] - center[axis]), std::abs(box.max[axis] - center[axis]));
    const kxVec3f radius(farthest.length());
    return {center - radius, center + radius};
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

const kxAABox& kxBoundingBoxesMaker::getBox(kxNode* node)
{
    if (m_boxes.get(node).state != KNOWN)
        measure(node, false);
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

// The box of each node is gathered while what is below it is looked at, so that every node is touched once. Answers how many
// of the nodes met have a volume, when they get some.
uint32_t kxBoundingBoxesMaker::measure(kxNode* root, bool setsVolumes)
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
    uint32_t volumeCount = 0;
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
            kxNode* child = static_cast<const kxGroup*>(step.node)->getChild(step.next++);
            if (!child)
                continue;
            const Entry known = m_boxes.get(child);
            if (known.state == UNKNOWN)
                enter(child);
            else if (known.state == KNOWN) // one that is open lies above itself and adds nothing
                addBelow(step.entry, known, child, kindOf(child));
            continue;
        }
        if (step.kind & GEOMETRY)
            addGeometry(step.entry, static_cast<const kxGeometry*>(step.node));
        if (step.kind & PLACES && !step.entry.box.isEmpty())
            place(step.entry, static_cast<const kxGroup*>(step.node));
        step.entry.state = KNOWN;
        m_boxes[step.node] = step.entry;
        if (setsVolumes)
        {
            setVolume(step.node, step.entry.box);
            volumeCount += step.node->_boundingVolume ? 1 : 0;
        }
        if (steps.size() > 1)
            addBelow(steps[steps.size() - 2].entry, step.entry, step.node, step.kind);
        steps.pop_back();
    }
    return volumeCount;
}

void kxBoundingBoxesMaker::addBelow(Entry& entry, const Entry& below, const kxNode* node, uint8_t kind)
{
    if (below.box.isEmpty())
        return;
    entry.box.extendBy(kind & TRANSFORM ? transformBox(below.box, static_cast<const kxTransform*>(node)->getMatrix())
                                        : below.box);
    entry.followsBones |= below.followsBones;
    entry.standsFree |= below.standsFree;
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

template <class F>
void kxBoundingBoxesMaker::forEachOnce(kxNode* root, F callback)
{
    kxTSerialMap<bool> seen;
    std::vector<kxNode*> open;
    if (root)
        open.push_back(root);
    while (!open.empty())
    {
        kxNode* node = open.back();
        open.pop_back();
        if (std::exchange(seen[node], true))
            continue;
        callback(node);
        if (const auto* group = kxCast<kxGroup>(node))
            for (uint32_t i = group->getChildCount(); i-- > 0;)
                if (kxNode* child = group->getChild(i))
                    open.push_back(child);
    }
}

uint32_t kxBoundingBoxesMaker::removeAll(kxNode* root)
{
    uint32_t count = 0;
    forEachOnce(root,
                [&](kxNode* node)
                {
                    count += node->_boundingVolume ? 1 : 0;
                    node->_boundingVolume = nullptr;
                });
    return count;
}

uint32_t kxBoundingBoxesMaker::apply(kxNode* root)
{
    forget();
    return root ? measure(root, true) : 0;
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

uint32_t kxBoundingBoxesMaker::optimize(kxNode* root)
{
    struct Step
    {
        const kxGroup* group;
        uint32_t next;
        kxAABox above; // what the nearest volume on the path holds, in the group's own space
    };
    std::vector<Step> steps;
    kxTSerialMap<bool> seen;
    uint32_t count = 0;
    auto enter = [&](kxNode* node, kxAABox above)
    {
        if (std::exchange(seen[node], true))
            return;
        const kxBoundingVolume* volume = node->_boundingVolume;
        const uint8_t kind = kindOf(node);
        if (kind & TRANSFORM && !above.isEmpty())
        {
            const kxMatrix44f& matrix = static_cast<const kxTransform*>(node)->getMatrix();
            above = matrix.determinant() == 0 ? kxAABox() : transformBox(above, matrix.inverse());
        }
        if (volume && node != root && !above.isEmpty() && holds(volume->_box, above) && node->getParentCount() < 2)
        {
            node->_boundingVolume = nullptr;
            ++count;
        }
        else if (volume)
            above = volume->_box;
        const auto* group = kind & GROUP ? static_cast<const kxGroup*>(node) : nullptr;
        if (group && group->getChildCount() > 0)
            steps.push_back({group, 0, above});
    };
    if (root)
        enter(root, kxAABox());
    while (!steps.empty())
    {
        Step& step = steps.back();
        if (step.next == step.group->getChildCount())
            steps.pop_back();
        else if (kxNode* child = step.group->getChild(step.next++))
            enter(child, step.above);
    }
    return count;
}

} // namespace Kel::Sg
