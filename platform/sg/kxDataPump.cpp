#include "platform/sg/kxDataPump.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxDataPump)
KX_IMPLEMENT(kxDataPumpList)

void kxDataPump::listFields(kxFields<kxDataPump>& fields)
{
    fields.add(&kxDataPump::_name, "_name", "what drives the object");
    fields.add(&kxDataPump::_destObj, "_destObj", "the object driven");
}

} // namespace Kel::Sg
