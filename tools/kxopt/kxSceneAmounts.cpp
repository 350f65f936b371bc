#include "tools/kxopt/kxSceneAmounts.h"

#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxSceneInfo.h"

#include <algorithm>

using namespace Kel::Core;
using namespace Kel::Sg;

namespace Kel::Tool
{

namespace
{

/// One walk; objects that were met do not count again.
class Counter
{
public:
    explicit Counter(const kxSceneAmounts::ImageBytes& imageBytes) : m_imageBytes(imageBytes) {}

    void addNode(kxNode* node)
    {
        if (!isNew(node))
            return;
        ++m_amounts.nodes;
        if (const auto* geometry = kxCast<kxGeometry>(node))
        {
            ++m_amounts.geometries;
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

    const kxSceneAmounts& getAmounts() const { return m_amounts; }

private:
    bool isNew(const kxObject* object)
    {
        bool& met = m_met[object];
        const bool first = !met;
        met = true;
        return first;
    }

    void addAttr(const kxAttr* attr)
    {
        if (!attr || !isNew(attr))
            return;
        ++m_amounts.attributes;
        m_amounts.materials += attr->isOfType(kxMaterialAttr::staticMetaObject()) ? 1 : 0;
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
    kxTSerialMap<bool> m_met;
};

} // namespace

kxSceneAmounts kxSceneAmounts::count(const kxFileInfo* file, const ImageBytes& imageBytes)
{
    Counter counter(imageBytes);
    if (file)
        for (const kxInfo* info : *file->_infoList)
            if (const auto* scene = kxCast<kxSceneInfo>(info))
                forEachNodeOnce(
                    scene->getSceneGraph(),
                    [](kxNode* node, void* context) { static_cast<Counter*>(context)->addNode(node); }, &counter);
    return counter.getAmounts();
}

uint64_t getStoredBytes(const Gfx::kxImage& image)
{
    const kxMemoryBlock* bytes = image._encoded ? image._encoded : image._pixels;
    return bytes ? bytes->getSize() : 0;
}

} // namespace Kel::Tool
