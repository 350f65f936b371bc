#include "tools/kxopt/kxInventory.h"

#include "tools/kxopt/kxScenePaths.h"

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/attrs/kxLightAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/gfx/kxImageCodec.h"
#include "platform/sg/kxAnimation.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSkin.h"

#include <algorithm>
#include <unordered_map>

using namespace Kel::Core;
using namespace Kel::Sg;

namespace Kel::Tool
{

namespace
{

uint64_t countOf(int64_t count)
{
    return count > 0 ? static_cast<uint64_t>(count) : 0;
}

/// Finds out which attributes have the value of an earlier one.
class DistinctValues
{
public:
    bool add(const kxObject* object)
    {
        std::vector<const kxObject*>& alike = m_byHash[object->hashShallow()];
        for (const kxObject* other : alike)
            if (object->isAlikeShallow(other))
                return false;
        alike.push_back(object);
        return true;
    }

private:
    std::unordered_map<uint64_t, std::vector<const kxObject*>> m_byHash;
};

kxInventory::Image describeImage(const kxImage& image)
{
    kxInventory::Image result;
    result.name = image._name.str();
    const kxMetaField* format = kxImage::staticMetaObject()->findField("_format");
    if (!image._mimeType.isEmpty())
        result.format = image._mimeType.str();
    else if (image._pixels)
        result.format = format->valueToText(&image._format);
    const kxMemoryBlock* bytes = image._encoded ? image._encoded : image._pixels;
    result.bytes = bytes ? bytes->getSize() : 0;
    result.width = image._width;
    result.height = image._height;
    if (const kxMemoryBlock* file = image._encoded)
    {
        // A broken image is reported when somebody needs its pixels; here it has no size.
        kxImageHeader header;
        std::string fault;
        const kxImageCodec* codec = kxImageCodec::find(file->getData(), file->getSize());
        if (codec && codec->readCheckedHeader(file->getData(), file->getSize(), header, fault))
        {
            result.width = header.width;
            result.height = header.height;
        }
    }
    // The path of an image that stands in the scene's file as a data URI is "data:".
    if (!image._uri.view().starts_with("data:"))
        result.file = image._uri.str();
    return result;
}

void countVertices(const kxGeometryAttr& data, kxTSerialMap<bool>& met, kxInventory& inventory)
{
    const auto addBytes = [&](const kxVertexArray* array)
    {
        if (!array || met.get(array))
            return false;
        met[array] = true;
        inventory.vertexBytes += countOf(array->_count) * array->getElementBytes();
        return true;
    };
    const kxVertexArray* positions = data.getArray("POSITION");
    for (const kxVertexArray* array : *data._arrays)
        if (addBytes(array) && array == positions)
            inventory.vertices += countOf(array->_count);
    addBytes(data._indices);
    for (const kxMorphTarget* target : *data._morphTargets)
        if (target)
            for (const kxVertexArray* array : *target->_arrays)
                addBytes(array);
}

} // namespace

kxInventory kxInventory::collect(const kxDirectory& directory)
{
    kxInventory inventory;
    kxScenePaths paths;
    DistinctValues distinct;
    kxTSerialMap<bool> arraysMet;
    for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
    {
        kxObject* object = directory.getSharedObject(i);
        if (auto* node = kxCast<kxNode>(object))
        {
            ++inventory.nodes;
            ++inventory.nodeTypes[node->getTypeName()];
            inventory.sharedNodes += node->getParentCount() > 1 ? 1 : 0;
            inventory.cameras += node->isOfType(kxCamera::staticMetaObject()) ? 1 : 0;
            if (const auto* geometry = kxCast<kxGeometry>(object))
            {
                ++inventory.geometries;
                inventory.triangles += countOf(geometry->getTriangleCount());
            }
        }
        else if (object->isOfType(kxAttr::staticMetaObject()))
        {
            Values& ofType = inventory.attributeTypes[object->getTypeName()];
            const uint64_t isNew = distinct.add(object) ? 1 : 0;
            const auto addTo = [&](Values& values)
            {
                ++values.count;
                values.distinct += isNew;
            };
            addTo(inventory.attributes);
            addTo(ofType);
            if (object->isOfType(kxMaterialAttr::staticMetaObject()))
                addTo(inventory.materials);
            if (object->isOfType(kxTextureAttr::staticMetaObject()))
                addTo(inventory.textures);
            inventory.lights += object->isOfType(kxLightAttr::staticMetaObject()) ? 1 : 0;
            if (const auto* data = kxCast<kxGeometryAttr>(object))
                countVertices(*data, arraysMet, inventory);
        }
        else if (const auto* image = kxCast<kxImage>(object))
        {
            inventory.images.push_back(describeImage(*image));
            inventory.imageBytes += inventory.images.back().bytes;
        }
        else if (object->isOfType(kxAnimation::staticMetaObject()))
            ++inventory.animations;
        else if (const auto* skin = kxCast<kxSkin>(object))
        {
            ++inventory.skins;
            inventory.joints += skin->_joints->getCount();
        }
        else if (const auto* scene = kxCast<kxSceneInfo>(object))
        {
            ++inventory.scenes;
            paths.addRoot(scene->getSceneGraph());
        }
    }
    paths.forEach(
        [&](const kxNode* node, uint64_t pathCount, uint64_t depth)
        {
            inventory.instances = kxScenePaths::add(inventory.instances, pathCount);
            inventory.depth = std::max(inventory.depth, depth);
            const auto* geometry = kxCast<kxGeometry>(node);
            if (!geometry)
                return;
            inventory.geometriesDrawn = kxScenePaths::add(inventory.geometriesDrawn, pathCount);
            inventory.trianglesDrawn = kxScenePaths::add(
                inventory.trianglesDrawn, kxScenePaths::multiply(pathCount, countOf(geometry->getTriangleCount())));
        });
    return inventory;
}

} // namespace Kel::Tool
