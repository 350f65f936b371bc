#include "platform/sg/kxAttrSet.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxAttrSet)
KX_IMPLEMENT(kxAttrSetList)

void kxAttrSet::listFields(kxFields<kxAttrSet>& fields)
{
    fields.add(&kxAttrSet::_attrs, "_attrs", "the attributes");
}

kxAttr* kxAttrSet::findAttr(const kxMetaObject* type) const
{
    for (kxAttr* attr : *_attrs)
        if (attr && attr->isOfType(type))
            return attr;
    return nullptr;
}

} // namespace Kel::Sg
