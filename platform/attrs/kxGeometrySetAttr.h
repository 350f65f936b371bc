// Several vertex data as one attribute.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/attrs/kxGeometryAttr.h"

namespace Kel::Attrs
{

/// Vertex data that are drawn together.
class kxGeometrySetAttr : public kxAttr
{
    KX_OBJECT(kxGeometrySetAttr, kxAttr)
    static void listFields(kxFields<kxGeometrySetAttr>& fields);

    kxSmartPointer<kxGeometryAttrList> _geometryAttrs = kxNew<kxGeometryAttrList>();
};

} // namespace Kel::Attrs
