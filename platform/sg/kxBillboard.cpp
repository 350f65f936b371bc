#include "platform/sg/kxBillboard.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxBillboard)

void kxBillboard::listFields(kxFields<kxBillboard>& fields)
{
    fields.add(&kxBillboard::_axis, "_axis", "axis about which the group turns, zero to turn freely");
    fields.add(&kxBillboard::_center, "_center", "point about which the group turns");
}

} // namespace Kel::Sg
