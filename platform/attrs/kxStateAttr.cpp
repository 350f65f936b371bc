#include "platform/attrs/kxStateAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxStateAttr)

void kxStateAttr::listFields(kxFields<kxStateAttr>& fields)
{
    fields.add(&kxStateAttr::_state, "_state", "name of the state");
    fields.add(&kxStateAttr::_value, "_value", "value of the state");
    fields.add(&kxStateAttr::_stateUnit, "_stateUnit", "number that tells states of this type apart along a path");
}

} // namespace Kel::Attrs
