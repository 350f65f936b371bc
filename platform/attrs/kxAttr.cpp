#include "platform/attrs/kxAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxAttr)
KX_IMPLEMENT(kxAttrList)
KX_IMPLEMENT(kxNonRefCountedAttrList)

void kxAttr::listFields(kxFields<kxAttr>& fields)
{
    fields.add(&kxAttr::_name, "_name", "name of the attribute").setFlags(kxMetaField::NOT_COMPARED);
    fields.add(&kxAttr::_userData, "_userData", "what a file says beyond these fields");
}

} // namespace Kel::Attrs
