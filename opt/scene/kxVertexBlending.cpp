#include "opt/scene/kxVertexBlending.h"

#include "opt/scene/kxLimitActorBlendPalettes.h"
#include "opt/scene/kxServices.h"

#include <cstring>

namespace Kel::Opt
{

KX_IMPLEMENT(kxVertexBlending)

void kxVertexBlending::listFields(kxFields<kxVertexBlending>& fields)
{
    fields.add(&kxVertexBlending::_maxBlendMatrixCount, "_maxBlendMatrixCount",
               "largest palette of blend matrices that a node may keep");
}

kxVertexBlending::kxVertexBlending()
{
    _visitedMetaObject = getVisitedObjectMeta();
}

bool kxVertexBlending::configure(int)
{
    return true;
}

kxMetaObject* kxVertexBlending::getVisitedObjectMeta()
{
    return kxAttrSet::staticMetaObject();
}

namespace
{

kxVertexBlendMatrixListAttr* findPalette(const kxGroup* group)
{
    if (const auto* set = kxCast<kxAttrSet>(group))
        for (kxAttr* attr : *set->getAttrs())
            if (attr && attr->isOfExactType(kxVertexBlendMatrixListAttr::staticMetaObject()))
                return static_cast<kxVertexBlendMatrixListAttr*>(attr);
    return nullptr;
}

// The set and the groups below it to which its palette reaches; otherwise why they cannot be changed: parts of a geometry do
// not stand where it stood.
const char* findReached(kxGroup* set, std::vector<kxGroup*>& reached)
{
    reached.push_back(set);
    for (size_t next = 0; next < reached.size(); ++next)
        for (uint32_t i = 0; i < reached[next]->getChildCount(); ++i)
        {
            auto* child = kxCast<kxGroup>(reached[next]->getChild(i));
            if (!child || findPalette(child))
                continue;
            if (const auto* geometry = kxCast<kxGeometry>(child))
            {
                if (geometry->hasSkinnedAttr() && kxLimitActorBlendPalettes::isPlaceChosen(reached[next]))
                    return "geometry is chosen by its place";
                continue;
            }
            if (child->getParentCount() > 1)
                return "a group below has several parents";
            reached.push_back(child);
        }
    return nullptr;
}

bool isJoints(const kxVertexArray* array)
{
    return array && array->_semantic.view().substr(0, 7) == "JOINTS_";
}

uint32_t readIndex(const uint8_t* at, uint32_t bytes)
{
    uint32_t value = 0;
    std::memcpy(&value, at, bytes);
    return value;
}

} // namespace

void kxVertexBlending::visitor(kxObject* object)
{
    // Settings may ask for visits of other objects too.
    auto* set = kxCast<kxAttrSet>(object);
    if (!set)
        return;
    const kxSmartPointer<kxVertexBlendMatrixListAttr> palette = findPalette(set);
    // What a geometry has for itself reaches nothing else.
    if (!palette || palette->getMatrixCount() <= _maxBlendMatrixCount || kxCast<kxGeometry>(set))
        return;
    if (isLocked(*this, set))
        return refuse("locked", set);
    std::vector<kxGroup*> reached;
    if (const char* obstacle = findReached(set, reached))
        return refuse(obstacle, set);
    set->removeAttr(palette);
    count("palettes split");
    rebuildBelow(set, palette);
}

void kxVertexBlending::rebuildBelow(kxAttrSet* set, kxVertexBlendMatrixListAttr* palette)
{
    std::vector<kxGroup*> reached;
    findReached(set, reached);
    for (kxGroup* group : reached)
    {
        uint32_t childCount = group->getChildCount();
        for (uint32_t i = 0; i < childCount; ++i)
        {
            // One that has a palette of its own never saw this one.
            auto* geometry = kxCast<kxGeometry>(group->getChild(i));
            if (!geometry || findPalette(geometry) || !geometry->hasSkinnedAttr() || isLocked(*this, geometry) ||
                !kxLimitActorBlendPalettes::seperateGeometry(geometry, group, _maxBlendMatrixCount))
                continue;
            // The parts have been appended, and the geometry is gone.
            --i;
            --childCount;
        }
        for (uint32_t i = 0; i < group->getChildCount(); ++i)
            if (auto* geometry = kxCast<kxGeometry>(group->getChild(i)))
                if (!findPalette(geometry) && geometry->hasSkinnedAttr())
                    buildPalette(geometry, palette);
    }
}

// A palette of just the matrices that the geometry follows, in their old order, and indices into it.
void kxVertexBlending::buildPalette(kxGeometry* geometry, kxVertexBlendMatrixListAttr* palette)
{
    const std::vector<uint32_t> bones = kxLimitActorBlendPalettes::findBones(geometry);
    const bool isLeft = isLocked(*this, geometry) || geometry->getParentCount() > 1;
    if (isLeft || bones.empty() || bones.size() > _maxBlendMatrixCount || bones.back() >= palette->getMatrixCount())
    {
        geometry->appendAttr(palette);
        return refuse(isLeft ? "locked" : "a primitive follows more bones than a palette may hold", geometry);
    }
    const kxSmartPointer<kxVertexBlendMatrixListAttr> own(new (getCreationMemoryPool()) kxVertexBlendMatrixListAttr);
    own->_name = palette->_name;
    std::vector<uint32_t> newIndex(bones.back() + 1);
    for (const uint32_t bone : bones)
    {
        newIndex[bone] = own->getMatrixCount();
        own->_matrices->append(palette->_matrices->get(bone));
        if (bone < palette->_boneIndices->getCount())
            own->_boneIndices->append(palette->_boneIndices->get(bone));
    }

    // The arrays of the geometry's vertex data, each once: several data may share them.
    std::vector<std::pair<const kxVertexArray*, kxSmartPointer<kxVertexArray>>> renumbered;
    auto renumber = [&](kxVertexArray* array)
    {
        for (const auto& [known, result] : renumbered)
            if (known == array)
                return result;
        const kxSmartPointer<kxVertexArray> copy = kxCast<kxVertexArray>(array->copyShallow().get());
        const uint32_t bytes = array->getElementBytes(), indexBytes = componentBytes(array->_componentType);
        copy->_data = kxMemoryBlock::create(static_cast<size_t>(array->_count) * bytes);
        copy->_offset = 0;
        copy->_stride = bytes;
        uint8_t* target = copy->_data->getWritableData();
        for (int64_t i = 0; i < array->_count; ++i)
            for (uint32_t c = 0; c < array->_componentCount; ++c, target += indexBytes)
            {
                // Bones without weight are in no palette; any index will do.
                const uint32_t bone = readIndex(array->getElement(i) + c * indexBytes, indexBytes);
                const uint32_t index = bone < newIndex.size() ? newIndex[bone] : 0;
                std::memcpy(target, &index, indexBytes);
            }
        renumbered.emplace_back(array, copy);
        return copy;
    };
    for (uint32_t i = 0; i < geometry->getAttrs()->getCount(); ++i)
    {
        const auto* data = kxCast<kxGeometryAttr>(geometry->getAttrs()->get(i));
        if (!data)
            continue;
        const kxSmartPointer<kxGeometryAttr> copy = kxCast<kxGeometryAttr>(data->copyShallow().get());
        for (uint32_t k = 0; k < copy->_arrays->getCount(); ++k)
            if (isJoints(copy->_arrays->get(k)))
                copy->_arrays->set(k, renumber(copy->_arrays->get(k)));
        geometry->getAttrs()->set(i, copy);
    }
    geometry->appendAttr(own);
    count("palettes made");
}

} // namespace Kel::Opt
