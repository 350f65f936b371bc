#include "platform/attrs/kxGeometrySetAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxGeometrySetAttr)

void kxGeometrySetAttr::listFields(kxFields<kxGeometrySetAttr>& fields)
{
    fields.add(&kxGeometrySetAttr::_geometryAttrs, "_geometryAttrs", "the vertex data");
}

} // namespace Kel::Attrs
