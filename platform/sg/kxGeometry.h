// What is drawn: vertex data as the attributes of an attribute set.
#pragma once

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/sg/kxMaterialVariant.h"

namespace Kel::Sg
{

/// Draws vertex data, which are its own attributes (`kxGeometryAttr`), with the attributes that the path sets. Its own list
/// may hold other attributes as well; they apply to this geometry alone.
class kxGeometry : public kxAttrSet
{
    KX_OBJECT(kxGeometry, kxAttrSet)
    static void listFields(kxFields<kxGeometry>& fields);

    kxSmartPointer<kxMaterialVariantList> _variants; ///< null where there are none

    /// First vertex data among the attributes; null when there are none.
    kxGeometryAttr* getGeometryAttr() const;
    /// Triangles of all vertex data, strips and fans counted by what they draw.
    virtual int64_t getTriangleCount() const;
    /// True when vertices follow bones.
    bool hasSkinnedAttr() const;
};

KX_OBJECT_LIST(kxGeometryList, kxGeometry)

} // namespace Kel::Sg
