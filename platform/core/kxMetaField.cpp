#include "platform/core/kxFields.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxMetaField)

void kxMetaField::listFields(kxFields<kxMetaField>& fields)
{
    fields.add(&kxMetaField::_fieldName, "_fieldName", "name of the field");
    fields.add(&kxMetaField::_flags, "_flags", "how the field takes part in saving, comparing and walking");
}

} // namespace Kel::Core
