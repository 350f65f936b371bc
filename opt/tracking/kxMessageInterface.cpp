#include "opt/tracking/kxMessageInterface.h"

#include "opt/tracking/kxListenerInterface.h"

#include <vector>

namespace Kel::Opt
{

KX_IMPLEMENT(kxEvent)
KX_IMPLEMENT(kxMessageInterface)

void kxMessageInterface::listFields(kxFields<kxMessageInterface>& fields)
{
    fields.add(&kxMessageInterface::_messageList, "_messageList", "events that wait, oldest first");
}

void kxMessageInterface::clearMessageList()
{
    // Listeners may queue: the events to tell are taken out of the list first.
    std::vector<kxSmartPointer<kxObject>> told(_messageList->begin(), _messageList->end());
    _messageList->clear();
    if (_listenerInterface)
        for (const kxSmartPointer<kxObject>& message : told)
            if (auto* event = kxCast<kxEvent>(message))
                _listenerInterface->notify(event);
}

} // namespace Kel::Opt
