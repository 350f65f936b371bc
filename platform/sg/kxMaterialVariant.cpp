#include "platform/sg/kxMaterialVariant.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxMaterialVariant)
KX_IMPLEMENT(kxMaterialVariantList)

void kxMaterialVariant::listFields(kxFields<kxMaterialVariant>& fields)
{
    fields.add(&kxMaterialVariant::_name, "_name", "name of the choice");
    fields.add(&kxMaterialVariant::_variants, "_variants", "indices of the file's variants that choose the attributes");
    fields.add(&kxMaterialVariant::_attrs, "_attrs", "the attributes");
    fields.add(&kxMaterialVariant::_userData, "_userData", "what a file says beyond these fields");
}

} // namespace Kel::Sg
