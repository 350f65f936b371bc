#include "platform/sg/kxGeometry.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxGeometry)
KX_IMPLEMENT(kxGeometryList)

void kxGeometry::listFields(kxFields<kxGeometry>& fields)
{
    fields.add(&kxGeometry::_variants, "_variants", "other attributes that the geometry can be drawn with");
}

kxGeometryAttr* kxGeometry::getGeometryAttr() const
{
    return static_cast<kxGeometryAttr*>(findAttr(kxGeometryAttr::staticMetaObject()));
}

int64_t kxGeometry::getTriangleCount() const
{
    int64_t count = 0;
    for (kxAttr* attr : *_attrs)
        if (const auto* geometry = kxCast<kxGeometryAttr>(attr))
            count += geometry->getTriangleCount();
    return count;
}

bool kxGeometry::hasSkinnedAttr() const
{
    static const kxStringRef joints = "JOINTS_0";
    for (kxAttr* attr : *_attrs)
        if (const auto* geometry = kxCast<kxGeometryAttr>(attr))
            if (geometry->getArray(joints))
                return true;
    return false;
}

} // namespace Kel::Sg
