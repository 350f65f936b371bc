#include "opt/scene/kxLimitActorBlendPalettes.h"

#include "opt/scene/kxServices.h"
#include "opt/scene/kxVertexPool.h"
#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxMesh.h"

#include <algorithm>
#include <bit>

namespace Kel::Opt
{

KX_IMPLEMENT(kxLimitActorBlendPalettes)

void kxLimitActorBlendPalettes::listFields(kxFields<kxLimitActorBlendPalettes>& fields)
{
    fields.add(&kxLimitActorBlendPalettes::_maxBlendMatrixCount, "_maxBlendMatrixCount",
               "bones that a geometry may follow at most");
}

kxLimitActorBlendPalettes::kxLimitActorBlendPalettes()
{
    _visitedMetaObject = getVisitedObjectMeta();
}

bool kxLimitActorBlendPalettes::configure(int)
{
    return true;
}

kxMetaObject* kxLimitActorBlendPalettes::getVisitedObjectMeta()
{
    return kxActor::staticMetaObject();
}

namespace
{

/// Set of bones, a bit for each.
class BoneSet
{
public:
    void add(uint32_t bone)
    {
        if (bone / 64 >= m_words.size())
            m_words.resize(bone / 64 + 1);
        m_words[bone / 64] |= uint64_t(1) << bone % 64;
    }
    void add(const BoneSet& other)
    {
        m_words.resize(std::max(m_words.size(), other.m_words.size()));
        for (size_t i = 0; i < other.m_words.size(); ++i)
            m_words[i] |= other.m_words[i];
    }
    uint32_t countWith(const BoneSet& other) const
    {
        uint32_t count = 0;
        for (size_t i = 0; i < std::max(m_words.size(), other.m_words.size()); ++i)
            count += static_cast<uint32_t>(std::popcount((i < m_words.size() ? m_words[i] : 0) |
                                                         (i < other.m_words.size() ? other.m_words[i] : 0)));
        return count;
    }
    uint32_t getCount() const { return countWith({}); }
    void clear() { m_words.assign(m_words.size(), 0); }
    std::vector<uint32_t> list() const
    {
        std::vector<uint32_t> bones;
        for (uint32_t i = 0; i < m_words.size() * 64; ++i)
            if (m_words[i / 64] >> i % 64 & 1)
                bones.push_back(i);
        return bones;
    }

private:
    std::vector<uint64_t> m_words;
};

/// The arrays that say which bones vertices follow.
class BoneArrays
{
public:
    explicit BoneArrays(const kxGeometryAttr& attr)
    {
        for (uint32_t set = 0;; ++set)
        {
            const kxVertexArray* joints = attr.getArray(kxStringRef(kxFormat("JOINTS_%u", set)));
            if (!joints)
                return;
            m_pairs.push_back({joints, attr.getArray(kxStringRef(kxFormat("WEIGHTS_%u", set)))});
        }
    }
    void addBones(uint32_t vertex, BoneSet& bones) const
    {
        for (const auto& [joints, weights] : m_pairs)
            for (uint32_t c = 0; c < joints->_componentCount; ++c)
                if (!weights || weights->_componentCount <= c || weights->getComponent(vertex, c) != 0)
                    bones.add(static_cast<uint32_t>(joints->getComponent(vertex, c)));
    }
    bool isUsable(const kxGeometryAttr& attr) const
    {
        const kxVertexArray* first = attr._arrays->get(0);
        if (!first)
            return false;
        for (const auto& [joints, weights] : m_pairs)
            if (joints->_matrix || joints->_normalized ||
                (joints->_componentType != kxComponentType::UINT8 &&
                 joints->_componentType != kxComponentType::UINT16) ||
                (weights && weights->_count != joints->_count) || joints->_count != first->_count)
                return false;
        return true;
    }

private:
    std::vector<std::pair<const kxVertexArray*, const kxVertexArray*>> m_pairs;
};

struct Palette
{
    BoneSet bones;
    kxPrimitives primitives;
};

// Each primitive goes to the palette that has to take in the fewest bones for it. False when one follows too many.
bool fillPalettes(const kxPrimitives& primitives, const BoneArrays& arrays, uint32_t limit,
                  std::vector<Palette>& palettes)
{
    BoneSet bones;
    for (size_t i = 0; i < primitives.vertices.size(); i += primitives.size)
    {
        bones.clear();
        for (uint32_t c = 0; c < primitives.size; ++c)
            arrays.addBones(primitives.vertices[i + c], bones);
        Palette* best = nullptr;
        uint32_t fewest = UINT32_MAX;
        for (Palette& palette : palettes)
        {
            const uint32_t together = palette.bones.countWith(bones);
            const uint32_t missing = together - palette.bones.getCount();
            if (together <= limit && missing < fewest)
            {
                best = &palette;
                fewest = missing;
            }
            if (fewest == 0)
                break;
        }
        if (!best)
        {
            if (bones.getCount() > limit)
                return false;
            best = &palettes.emplace_back();
            best->primitives.size = primitives.size;
        }
        best->bones.add(bones);
        for (uint32_t c = 0; c < primitives.size; ++c)
            best->primitives.vertices.push_back(primitives.vertices[i + c]);
    }
    return true;
}

kxSmartPointer<kxGeometry> copyWithout(const kxGeometry* geometry)
{
    const auto copy = kxNew<kxGeometry>();
    copy->_name = geometry->_name;
    copy->_flags = geometry->_flags;
    copy->_userData = geometry->_userData;
    copy->_variants = geometry->_variants;
    return copy;
}

BoneSet bonesOf(const kxGeometry* geometry)
{
    BoneSet bones;
    for (const kxAttr* attr : *geometry->getAttrs())
        if (const auto* data = kxCast<kxGeometryAttr>(attr))
        {
            const BoneArrays arrays(*data);
            kxPrimitives primitives;
            if (!arrays.isUsable(*data) || !primitives.read(*data))
                continue;
            std::vector<bool> seen;
            for (const uint32_t vertex : primitives.vertices)
            {
                if (vertex >= seen.size())
                    seen.resize(vertex + 1);
                if (!seen[vertex])
                    arrays.addBones(vertex, bones);
                seen[vertex] = true;
            }
        }
    return bones;
}

} // namespace

std::vector<uint32_t> kxLimitActorBlendPalettes::findBones(const kxGeometry* geometry)
{
    return bonesOf(geometry).list();
}

kxLimitActorBlendPalettes::Geometries kxLimitActorBlendPalettes::splitGeometry(const kxGeometry* geometry,
                                                                               uint32_t limit)
{
    Geometries pieces;
    if (geometry->getChildCount() > 0 || !geometry->isOfExactType(kxGeometry::staticMetaObject()))
        return {};
    for (const kxAttr* attr : *geometry->getAttrs())
        if (attr && attr->isOfType(kxGeometrySetAttr::staticMetaObject()))
            return {};
    const bool fits = bonesOf(geometry).getCount() <= limit;
    for (uint32_t i = 0; i < geometry->getAttrs()->getCount(); ++i)
    {
        auto* data = kxCast<kxGeometryAttr>(geometry->getAttrs()->get(i));
        if (!data)
            continue;
        const BoneArrays arrays(*data);
        kxPrimitives primitives;
        std::vector<Palette> palettes;
        kxVertexPool pool(*data);
        if (!kxVertexPool::isUsable(*data) || !arrays.isUsable(*data) || !primitives.read(*data) ||
            (!fits && !fillPalettes(primitives, arrays, limit, palettes)))
            return {};
        if (fits)
            continue;
        for (const Palette& palette : palettes)
        {
            pieces.push_back(copyWithout(geometry));
            pieces.back()->appendAttr(palettes.size() > 1 ? pool.build(palette.primitives).get() : data);
        }
    }
    if (fits)
        pieces.push_back(copyWithout(geometry));
    for (const kxSmartPointer<kxGeometry>& piece : pieces)
        for (kxAttr* attr : *geometry->getAttrs())
            if (fits || !kxCast<kxGeometryAttr>(attr))
                piece->appendAttr(attr);
    return pieces;
}

bool kxLimitActorBlendPalettes::seperateGeometry(kxGeometry* geometry, kxGroup* parent, uint32_t limit)
{
    const kxSmartPointer<kxGeometry> held = geometry;
    if (!geometry || !parent || parent->getChild(geometry) < 0)
        return false;
    const Geometries pieces = splitGeometry(geometry, limit);
    if (pieces.empty())
        return false;
    parent->removeChild(geometry);
    for (const kxSmartPointer<kxGeometry>& piece : pieces)
        parent->appendChild(piece);
    return true;
}

bool kxLimitActorBlendPalettes::isPlaceChosen(const kxGroup* group)
{
    return group->isChildOrderSignificant() && !group->isOfType(kxMesh::staticMetaObject());
}

// Puts the parts in the geometry's place below all its parents. Where the place says when to draw, one group takes it.
void kxLimitActorBlendPalettes::replace(kxGeometry* geometry, const Geometries& pieces)
{
    kxSmartPointer<kxGroup> together;
    std::vector<kxSmartPointer<kxGroup>> parents;
    for (uint32_t i = 0; i < geometry->getParentCount(); ++i)
        parents.emplace_back(geometry->getParent(i));
    for (const kxSmartPointer<kxGroup>& parent : parents)
    {
        const int index = parent->getChild(geometry);
        if (index < 0) // links that nobody has repaired
            continue;
        auto at = static_cast<uint32_t>(index);
        if (isPlaceChosen(parent) && pieces.size() > 1)
        {
            if (!together)
            {
                together = kxNew<kxGroup>();
                together->setName(geometry->getName());
                for (const kxSmartPointer<kxGeometry>& piece : pieces)
                    together->appendChild(piece);
            }
            parent->setChild(at, together);
            continue;
        }
        parent->removeChild(at);
        for (const kxSmartPointer<kxGeometry>& piece : pieces)
            parent->insertChild(at++, piece);
    }
}

void kxLimitActorBlendPalettes::visitor(kxObject* object)
{
    // Settings may ask for visits of other objects too.
    auto* top = kxCast<kxActor>(object);
    if (!top)
        return;
    // Collected first: the parts hang below the same groups.
    std::vector<kxSmartPointer<kxGeometry>> geometries;
    std::vector<kxGroup*> open{top};
    kxTSerialMap<bool> seen;
    while (!open.empty())
    {
        kxGroup* group = open.back();
        open.pop_back();
        for (uint32_t i = group->getChildCount(); i-- > 0;)
        {
            auto* child = kxCast<kxGroup>(group->getChild(i));
            if (!child || std::exchange(seen[child], true) || child->isOfType(kxActor::staticMetaObject()))
                continue;
            open.push_back(child);
            if (auto* geometry = kxCast<kxGeometry>(child); geometry && geometry->hasSkinnedAttr())
                geometries.emplace_back(geometry);
        }
    }
    for (const kxSmartPointer<kxGeometry>& geometry : geometries)
    {
        if (bonesOf(geometry).getCount() <= _maxBlendMatrixCount)
            continue;
        if (isLocked(*this, geometry))
        {
            refuse("locked", geometry);
            continue;
        }
        const Geometries pieces = splitGeometry(geometry, _maxBlendMatrixCount);
        if (pieces.empty())
        {
            refuse("a primitive follows more bones than a palette may hold", geometry);
            continue;
        }
        replace(geometry, pieces);
        count("geometries split");
        count("parts made", static_cast<int64_t>(pieces.size()));
    }
}

} // namespace Kel::Opt
