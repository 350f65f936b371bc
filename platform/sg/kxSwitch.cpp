#include "platform/sg/kxSwitch.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxSwitch)

void kxSwitch::listFields(kxFields<kxSwitch>& fields)
{
    fields.add(&kxSwitch::_whichChild, "_whichChild", "index of the child drawn, -1 none, -2 all");
}

} // namespace Kel::Sg
