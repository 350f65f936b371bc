#include "opt/scene/kxGeometryCutter.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Kel::Opt
{

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
        if (!kxVertexPool(*data).isUsable())
            return "geometry without usable positions is not cut";
    }
    return nullptr;
}

bool kxGeometryCutter::open(kxGeometry* geometry)
{
    m_geometry = geometry;
    m_parts.clear();
    for (kxAttr* attr : *geometry->getAttrs())
    {
        auto* data = kxCast<kxGeometryAttr>(attr);
        if (!data)
            continue;
        Part& part = *m_parts.emplace_back(std::make_unique<Part>(data));
        if (!part.pool.isUsable() || !part.left.read(*data))
        {
            m_geometry = nullptr;
            m_parts.clear();
            return false;
        }
        part.pool.readPositions();
        part.wholeSize = part.left.vertices.size();
    }
    return true;
}

bool kxGeometryCutter::isEmpty() const
{
    return std::all_of(m_parts.begin(), m_parts.end(), [](const auto& part) { return part->left.vertices.empty(); });
}

size_t kxGeometryCutter::getTriangleCount() const
{
    size_t count = 0;
    for (const auto& part : m_parts)
        if (part->left.size == 3)
            count += part->left.getCount();
    return count;
}

kxSmartPointer<kxGeometry> kxGeometryCutter::take(const kxAABox& box, kxMemoryPool& pool)
{
    std::vector<kxSmartPointer<kxGeometryAttr>> pieces;
    bool found = false;
    for (const auto& part : m_parts)
    {
        pieces.push_back(takePart(*part, box));
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

kxSmartPointer<kxGeometryAttr> kxGeometryCutter::takePart(Part& part, const kxAABox& box)
{
    const std::vector<uint32_t>& vertices = part.left.vertices;
    const uint32_t size = part.left.size;
    m_taken.size = size;
    m_taken.vertices.clear();
    m_kept.clear();
    bool cut = false;
    for (size_t i = 0; i + size <= vertices.size(); i += size)
    {
        // Outside: beyond a wall with all of its vertices, or at most touching it.
        bool isInside = true, isOutside = false;
        for (int axis = 0; axis < 3 && !isOutside; ++axis)
        {
            float low = part.pool.getPosition(vertices[i])[axis], high = low;
            for (uint32_t c = 1; c < size; ++c)
            {
                const float at = part.pool.getPosition(vertices[i + c])[axis];
                low = at < low ? at : low;
                high = at > high ? at : high;
            }
            isInside &= !(low < box.min[axis]) && !(high > box.max[axis]);
            isOutside =
                (low < box.min[axis] && high <= box.min[axis]) || (high > box.max[axis] && low >= box.max[axis]);
        }
        if (isInside && !isOutside)
            m_taken.vertices.insert(m_taken.vertices.end(), &vertices[i], &vertices[i] + size);
        else if (isOutside || size == 1 || !cutPrimitive(part, box, &vertices[i]))
            m_kept.insert(m_kept.end(), &vertices[i], &vertices[i] + size);
        else
            cut = true;
    }
    if (m_taken.vertices.empty())
        return nullptr;
    const bool isWhole = !cut && !part.touched && m_taken.vertices.size() == part.wholeSize;
    part.touched = true;
    part.left.vertices.swap(m_kept);
    return isWhole ? part.source : part.pool.build(m_taken);
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

uint32_t& kxGeometryCutter::Crossings::find(uint64_t ends, uint64_t wall)
{
    if (m_used * 2 >= m_slots.size())
    {
        const std::vector<Slot> old =
            std::exchange(m_slots, std::vector<Slot>(std::max<size_t>(64, m_slots.size() * 4)));
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
            m_geometry->getAttrs()->set(i, part.pool.build(part.left));
        ++i;
    }
    m_parts.clear();
    m_geometry = nullptr;
}

} // namespace Kel::Opt
