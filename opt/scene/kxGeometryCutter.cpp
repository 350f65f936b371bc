#include "opt/scene/kxGeometryCutter.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace Kel::Opt
{

namespace
{

// Of coordinates: what lies between two of them, and its square, shall be numbers too.
constexpr float kFarthest = 1e18f;

} // namespace

const char* kxGeometryCutter::findObstacle(const kxGeometry* geometry)
{
    if (!geometry->isOfExactType(kxGeometry::staticMetaObject()))
        return "geometry of a class of its own is not cut";
    if (geometry->getChildCount() > 0)
        return "geometry with children is not cut";
    if (geometry->isAnimated() || geometry->isDynamic())
        return "geometry that something drives is not cut";
    if (geometry->hasSkinnedAttr())
        return "skinned geometry is not cut";
    for (const kxAttr* attr : *geometry->getAttrs())
    {
        if (!attr)
            continue;
        if (attr->isOfType(kxGeometrySetAttr::staticMetaObject()) || attr->isOfType(kxParticleAttr::staticMetaObject()))
            return "geometry that draws more than its vertex data is not cut";
        const auto* data = kxCast<kxGeometryAttr>(attr);
        if (!data)
            continue;
        if (!data->_morphTargets->isEmpty())
            return "geometry with morph targets is not cut";
        if (!kxVertexPool::isUsable(*data))
            return "geometry without usable positions is not cut";
    }
    return nullptr;
}

bool kxGeometryCutter::open(kxGeometry* geometry, kxBoundingBoxesMaker* boxes)
{
    m_geometry = geometry;
    m_boxes = boxes;
    m_partCount = 0;
    for (kxAttr* attr : *geometry->getAttrs())
    {
        auto* data = kxCast<kxGeometryAttr>(attr);
        if (!data)
            continue;
        if (m_partCount == m_parts.size())
            m_parts.push_back(std::make_unique<Part>());
        if (!m_parts[m_partCount++]->open(data))
        {
            m_geometry = nullptr;
            m_partCount = 0;
            return false;
        }
    }
    return true;
}

bool kxGeometryCutter::Part::open(kxGeometryAttr* attr)
{
    if (!kxVertexPool::isUsable(*attr) || !left.read(*attr))
        return false;
    pool.reset(*attr);
    pool.readPositions();
    for (uint32_t i = 0; i < pool.getCount(); ++i)
        for (int axis = 0; axis < 3; ++axis)
            if (!(std::abs(pool.getPosition(i)[axis]) <= kFarthest))
                return false;
    source = attr;
    wholeSize = left.vertices.size();
    touched = false;
    crossings.clear();
    return true;
}

bool kxGeometryCutter::isEmpty() const
{
    return std::all_of(m_parts.begin(), m_parts.begin() + static_cast<ptrdiff_t>(m_partCount),
                       [](const auto& part) { return part->left.vertices.empty(); });
}

kxSmartPointer<kxGeometry> kxGeometryCutter::take(const kxAABox& box, kxMemoryPool& pool)
{
    std::vector<kxSmartPointer<kxGeometryAttr>> pieces;
    bool found = false;
    for (size_t i = 0; i < m_partCount; ++i)
    {
        pieces.push_back(takePart(*m_parts[i], box));
        found |= pieces.back() != nullptr;
    }
    if (!found)
        return nullptr;
    const kxSmartPointer<kxGeometry> piece(new (pool) kxGeometry);
    piece->_name = m_geometry->_name;
    piece->_flags = m_geometry->_flags;
    piece->_userData = m_geometry->_userData;
    piece->_variants = m_geometry->_variants;
    size_t next = 0;
    for (kxAttr* attr : *m_geometry->getAttrs())
        if (!kxCast<kxGeometryAttr>(attr))
            piece->appendAttr(attr);
        else if (const kxSmartPointer<kxGeometryAttr> data = pieces[next++])
            piece->appendAttr(data);
    return piece;
}

// On which sides of a box's walls each vertex is: most primitives need no more to be sorted.
void kxGeometryCutter::findSides(const kxVertexPool& pool, const kxAABox& box)
{
    m_sides.resize(pool.getCount());
    for (uint32_t i = 0; i < pool.getCount(); ++i)
    {
        const kxVec3f& at = pool.getPosition(i);
        uint32_t sides = 0;
        for (int axis = 0; axis < 3; ++axis)
            sides |= (uint32_t(at[axis] < box.min[axis]) | uint32_t(at[axis] > box.max[axis]) << 3 |
                      uint32_t(at[axis] <= box.min[axis]) << 6 | uint32_t(at[axis] >= box.max[axis]) << 9)
                     << axis;
        m_sides[i] = static_cast<uint16_t>(sides);
    }
}

template <uint32_t size>
bool kxGeometryCutter::takePrimitives(Part& part, const kxAABox& box)
{
    constexpr uint32_t kBeyond =
        0x3f; // below the lower walls and above the upper ones; from bit 6 on, on them or beyond
    const std::vector<uint32_t>& vertices = part.left.vertices;
    bool cut = false;
    const auto append = [](std::vector<uint32_t>& target, const uint32_t* corners)
    {
        for (uint32_t c = 0; c < size; ++c)
            target.push_back(corners[c]);
    };
    for (size_t i = 0; i + size <= vertices.size(); i += size)
    {
        uint32_t any = 0, all = UINT32_MAX;
        for (uint32_t c = 0; c < size; ++c)
        {
            const uint32_t sides = m_sides[vertices[i + c]];
            any |= sides;
            all &= sides;
        }
        // Outside: beyond a wall with some of its vertices, and at most touching it with the others.
        const bool isInside = (any & kBeyond) == 0, isOutside = (any & all >> 6 & kBeyond) != 0;
        if (isInside)
            append(m_taken.vertices, &vertices[i]);
        else if (isOutside || size == 1 || !cutPrimitive(part, box, &vertices[i]))
            append(m_kept, &vertices[i]);
        else
            cut = true;
    }
    return cut;
}

kxSmartPointer<kxGeometryAttr> kxGeometryCutter::takePart(Part& part, const kxAABox& box)
{
    const size_t leftSize = part.left.vertices.size();
    m_taken.size = part.left.size;
    m_taken.vertices.clear();
    m_taken.vertices.reserve(leftSize);
    m_kept.clear();
    m_kept.reserve(leftSize);
    findSides(part.pool, box);
    const bool cut = part.left.size == 3   ? takePrimitives<3>(part, box)
                     : part.left.size == 2 ? takePrimitives<2>(part, box)
                                           : takePrimitives<1>(part, box);
    if (m_taken.vertices.empty())
        return nullptr;
    const bool isWhole = !cut && !part.touched && m_taken.vertices.size() == part.wholeSize;
    part.touched = true;
    part.left.vertices.swap(m_kept);
    return isWhole ? part.source : build(part, m_taken);
}

kxSmartPointer<kxGeometryAttr> kxGeometryCutter::build(Part& part, const kxPrimitives& primitives)
{
    const kxSmartPointer<kxGeometryAttr> piece = part.pool.build(primitives);
    if (m_boxes)
        m_boxes->setBox(piece, part.pool.findBuiltBox());
    return piece;
}

// Cuts off what lies beyond each wall in turn: x before y before z, the same for all boxes, because an edge that two walls
// cross has to be cut in the same order wherever it occurs. False when nothing lies within.
bool kxGeometryCutter::cutPrimitive(Part& part, const kxAABox& box, const uint32_t* vertices)
{
    m_inside.assign(vertices, vertices + part.left.size);
    m_cutOff.clear();
    for (int axis = 0; axis < 3 && !m_inside.empty(); ++axis)
    {
        splitAtWall(part, axis, box.min[axis], false);
        if (!m_inside.empty())
            splitAtWall(part, axis, box.max[axis], true);
    }
    if (m_inside.empty())
        return false;
    auto append = [&](const Corners& corners, std::vector<uint32_t>& target)
    {
        if (part.left.size == 2)
            target.insert(target.end(), corners.begin(), corners.end());
        else
            for (size_t i = 2; i < corners.size(); ++i)
                target.insert(target.end(), {corners[0], corners[i - 1], corners[i]});
    };
    append(m_inside, m_taken.vertices);
    m_kept.insert(m_kept.end(), m_cutOff.begin(), m_cutOff.end());
    return true;
}

// Leaves in `m_inside` what is not beyond the wall; the rest goes to `m_cutOff`.
void kxGeometryCutter::splitAtWall(Part& part, int axis, float wall, bool keepsBelow)
{
    auto isBeyond = [&](uint32_t vertex)
    {
        const float at = part.pool.getPosition(vertex)[axis];
        return keepsBelow ? at > wall : at < wall;
    };
    auto isWithin = [&](uint32_t vertex)
    {
        const float at = part.pool.getPosition(vertex)[axis];
        return keepsBelow ? at < wall : at > wall;
    };
    const bool reachesBeyond = std::any_of(m_inside.begin(), m_inside.end(), isBeyond);
    if (!reachesBeyond)
        return;
    if (std::none_of(m_inside.begin(), m_inside.end(), isWithin))
        return m_inside.clear();
    m_next.clear();
    m_outside.clear();
    const size_t count = m_inside.size();
    for (size_t i = 0; i < count; ++i)
    {
        const uint32_t vertex = m_inside[i];
        if (!isBeyond(vertex))
            m_next.push_back(vertex);
        if (!isWithin(vertex))
            m_outside.push_back(vertex);
        if (count == 2 && i == 1)
            break; // a line has one edge
        const uint32_t after = m_inside[(i + 1) % count];
        if ((isBeyond(vertex) && isWithin(after)) || (isWithin(vertex) && isBeyond(after)))
        {
            const uint32_t crossing = crossingOf(part, vertex, after, axis, wall);
            m_next.push_back(crossing);
            m_outside.push_back(crossing);
        }
    }
    if (part.left.size == 2)
        m_cutOff.insert(m_cutOff.end(), m_outside.begin(), m_outside.end());
    else
        for (size_t i = 2; i < m_outside.size(); ++i)
            m_cutOff.insert(m_cutOff.end(), {m_outside[0], m_outside[i - 1], m_outside[i]});
    m_inside.swap(m_next);
}

kxGeometryCutter::Crossings::Slot& kxGeometryCutter::Crossings::slotOf(uint64_t ends, uint64_t wall)
{
    const size_t mask = m_slots.size() - 1;
    size_t at = static_cast<size_t>((ends ^ wall * 0xff51afd7ed558ccdu) * 0x9e3779b97f4a7c15u >> 32) & mask;
    while (m_slots[at].ends != 0 && (m_slots[at].ends != ends || m_slots[at].wall != wall))
        at = (at + 1) & mask;
    return m_slots[at];
}

void kxGeometryCutter::Crossings::clear()
{
    m_slots.clear();
    m_used = 0;
}

uint32_t& kxGeometryCutter::Crossings::find(uint64_t ends, uint64_t wall)
{
    if (m_used * 2 >= m_slots.size())
    {
        const std::vector<Slot> old = m_slots;
        m_slots.assign(std::max<size_t>(64, old.size() * 4), {});
        for (const Slot& slot : old)
            if (slot.ends != 0)
                slotOf(slot.ends, slot.wall) = slot;
    }
    Slot& slot = slotOf(ends, wall);
    if (slot.ends == 0)
    {
        slot.ends = ends;
        slot.wall = wall;
        ++m_used;
    }
    return slot.vertex;
}

uint32_t kxGeometryCutter::crossingOf(Part& part, uint32_t a, uint32_t b, int axis, float wall)
{
    uint32_t& crossing = part.crossings.find(uint64_t(std::min(a, b)) << 32 | std::max(a, b),
                                             uint64_t(axis) << 32 | std::bit_cast<uint32_t>(wall));
    if (crossing == Crossings::kNone)
        crossing = part.pool.addCrossing(a, b, axis, wall);
    return crossing;
}

void kxGeometryCutter::close()
{
    size_t next = 0;
    for (uint32_t i = 0; m_geometry && i < m_geometry->getAttrs()->getCount();)
    {
        if (!kxCast<kxGeometryAttr>(m_geometry->getAttrs()->get(i)))
        {
            ++i;
            continue;
        }
        Part& part = *m_parts[next++];
        if (part.touched && part.left.vertices.empty())
        {
            m_geometry->getAttrs()->removeAt(i);
            continue;
        }
        if (part.touched)
            m_geometry->getAttrs()->set(i, build(part, part.left));
        ++i;
    }
    for (size_t i = 0; i < m_partCount; ++i)
        m_parts[i]->source = nullptr;
    m_partCount = 0;
    m_geometry = nullptr;
}

} // namespace Kel::Opt
