#include "platform/sg/kxTimeSwitch.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTimeSwitch)

void kxTimeSwitch::listFields(kxFields<kxTimeSwitch>& fields)
{
    fields.add(&kxTimeSwitch::_times, "_times", "for each child the time from which it is drawn");
    fields.add(&kxTimeSwitch::_cycle, "_cycle", "starts again after the last child");
}

} // namespace Kel::Sg
