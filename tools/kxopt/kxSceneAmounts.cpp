#include "tools/kxopt/kxSceneAmounts.h"

#include "tools/kxopt/kxScenePaths.h"

#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxSceneInfo.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

using namespace Kel::Core;
using namespace Kel::Sg;

namespace Kel::Tool
{

namespace
{

/// Materials and textures in effect, as numbers: each combination has one, and 0 is none at all.
class Materials
{
public:
    uint32_t apply(uint32_t combination, const kxAttrSet* set)
    {
        const kxAttrList* attrs = set->getAttrs();
        bool sets = false;
        for (uint32_t i = 0; i < attrs->getCount() && !sets; ++i)
            sets = isPart(attrs->get(i));
        if (!sets)
            return combination;
        // Many sets of a scene stand under the same material, most under none.
        uint32_t& known = m_known[uint64_t(combination) << 32 | set->getSerial()];
        if (known == 0)
            known = add(combination, set);
        return known;
    }

    void noteDrawn(uint32_t combination)
    {
        if (combination >= m_drawn.size())
            m_drawn.resize(combination + 1);
        m_drawnCount += combination != 0 && !m_drawn[combination] ? 1 : 0;
        m_drawn[combination] = true;
    }
    uint64_t getDrawnCount() const { return m_drawnCount; }

private:
    using Parts = std::vector<std::pair<uint64_t, uint32_t>>; // type and unit, serial; sorted

    static bool isPart(const kxAttr* attr)
    {
        return attr && (attr->isOfType(kxMaterialAttr::staticMetaObject()) ||
                        attr->isOfType(kxTextureBindAttr::staticMetaObject()));
    }

    uint32_t add(uint32_t combination, const kxAttrSet* set)
    {
        Parts parts = m_parts[combination];
        std::vector<uint64_t> own;
        for (const kxAttr* attr : *set->getAttrs())
        {
            if (!isPart(attr))
                continue;
            const uint64_t use = uint64_t(attr->getMetaObject()->getIndex()) << 32 | attr->getUnit();
            if (std::find(own.begin(), own.end(), use) != own.end())
                continue; // of two in one set the first counts
            own.push_back(use);
            const auto at = std::lower_bound(parts.begin(), parts.end(), std::pair<uint64_t, uint32_t>(use, 0));
            if (at != parts.end() && at->first == use)
                at->second = attr->getSerial();
            else
                parts.insert(at, {use, attr->getSerial()});
        }
        const auto [known, isNew] = m_numbers.try_emplace(parts, static_cast<uint32_t>(m_parts.size()));
        if (isNew)
            m_parts.push_back(std::move(parts));
        return known->second;
    }

    std::vector<Parts> m_parts{1};
    std::map<Parts, uint32_t> m_numbers;
    std::unordered_map<uint64_t, uint32_t> m_known; // by combination above and set
    std::vector<bool> m_drawn;
    uint64_t m_drawnCount = 0;
};

/// Counts over the graphs of a file; objects that were met do not count again.
class Counter
{
public:
    explicit Counter(const kxSceneAmounts::ImageBytes& imageBytes) : m_imageBytes(imageBytes) {}

    void addScene(kxNode* root)
    {
        m_paths.addRoot(root);
        if (root)
            handDown(root, 0);
    }

    /// Behind the last scene.
    kxSceneAmounts finish()
    {
        m_paths.forEach(
            [this](kxNode* node, uint64_t pathCount, uint64_t depth)
            {
                addNode(node);
                countMaterials(node);
                m_amounts.depth = std::max(m_amounts.depth, depth);
                if (node->isOfType(kxGeometry::staticMetaObject()))
                    m_amounts.draws = kxScenePaths::add(m_amounts.draws, pathCount);
            });
        m_amounts.materials = m_materials.getDrawnCount();
        return m_amounts;
    }

private:
    // All that stands above a node has handed down its materials before.
    void countMaterials(kxNode* node)
    {
        passOn(node, m_firstAbove.get(node) - 1);
        if (m_othersAbove.empty())
            return;
        const auto at = m_othersAbove.find(node->getSerial());
        if (at == m_othersAbove.end())
            return;
        const std::vector<uint32_t> others = std::move(at->second);
        m_othersAbove.erase(at);
        for (const uint32_t combination : others)
            passOn(node, combination);
    }

    void passOn(kxNode* node, uint32_t combination)
    {
        const auto* group = kxCast<kxGroup>(node);
        if (!group)
            return;
        if (const auto* set = kxCast<kxAttrSet>(group))
        {
            combination = m_materials.apply(combination, set);
            if (set->isOfType(kxGeometry::staticMetaObject()))
                m_materials.noteDrawn(combination);
        }
        for (uint32_t i = 0; i < group->getChildCount(); ++i)
            if (kxNode* child = group->getChild(i))
                handDown(child, combination);
    }

    void handDown(kxNode* node, uint32_t combination)
    {
        uint32_t& first = m_firstAbove[node];
        if (first == 0)
            first = combination + 1;
        else if (first != combination + 1 && m_met.insert(uint64_t(node->getSerial()) << 32 | combination).second)
            m_othersAbove[node->getSerial()].push_back(combination);
    }

    void addNode(const kxNode* node)
    {
        ++m_amounts.nodes;
        if (const auto* geometry = kxCast<kxGeometry>(node))
        {
            m_amounts.triangles += static_cast<uint64_t>(std::max<int64_t>(0, geometry->getTriangleCount()));
            if (geometry->_variants)
                for (const kxMaterialVariant* variant : *geometry->_variants)
                    for (uint32_t i = 0; variant && i < variant->_attrs->getCount(); ++i)
                        addAttr(variant->_attrs->get(i));
        }
        if (const auto* set = kxCast<kxAttrSet>(node))
            for (const kxAttr* attr : *set->getAttrs())
                addAttr(attr);
        else if (const auto* lights = kxCast<kxLightSet>(node))
            for (const kxAttr* attr : *lights->getLightAttrs())
                addAttr(attr);
    }

    bool isNew(const kxObject* object)
    {
        bool& met = m_objectsMet[object];
        const bool first = !met;
        met = true;
        return first;
    }

    void addAttr(const kxAttr* attr)
    {
        if (!attr || !isNew(attr))
            return;
        ++m_amounts.attributes;
        // A hash of 64 bits is value enough for a number in a table.
        m_amounts.distinctAttributes += m_values.insert(attr->hashShallow()).second ? 1 : 0;
        if (const auto* bind = kxCast<kxTextureBindAttr>(attr))
            addTexture(bind->_texture);
    }

    void addTexture(const kxTextureAttr* texture)
    {
        if (!texture || !isNew(texture))
            return;
        ++m_amounts.textures;
        for (const kxImage* image : *texture->_imageList)
        {
            if (!image || !isNew(image))
                continue;
            ++m_amounts.images;
            m_amounts.imageBytes += m_imageBytes(*image);
        }
    }

    const kxSceneAmounts::ImageBytes& m_imageBytes;
    kxSceneAmounts m_amounts;
    kxScenePaths m_paths;
    Materials m_materials;
    kxTSerialMap<uint32_t> m_firstAbove; // combination that was first handed down to a node, and one
    std::unordered_map<uint32_t, std::vector<uint32_t>> m_othersAbove; // by serial of nodes still to come
    std::unordered_set<uint64_t> m_met;                                // nodes and those other combinations
    std::unordered_set<uint64_t> m_values;
    kxTSerialMap<bool> m_objectsMet;
};

} // namespace

kxSceneAmounts kxSceneAmounts::count(const kxFileInfo* file, const ImageBytes& imageBytes)
{
    Counter counter(imageBytes);
    if (file)
        for (const kxInfo* info : *file->_infoList)
            if (const auto* scene = kxCast<kxSceneInfo>(info))
                counter.addScene(scene->getSceneGraph());
    return counter.finish();
}

uint64_t getStoredBytes(const Gfx::kxImage& image)
{
    const kxMemoryBlock* bytes = image._encoded ? image._encoded : image._pixels;
    return bytes ? bytes->getSize() : 0;
}

} // namespace Kel::Tool
