#include "opt/tracking/kxMessageInterface.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxMessageInterface)

void kxMessageInterface::listFields(kxFields<kxMessageInterface>& fields)
{
    fields.add(&kxMessageInterface::_messageList, "_messageList", "events that wait, oldest first");
}

} // namespace Kel::Opt
