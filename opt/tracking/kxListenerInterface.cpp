#include "opt/tracking/kxListenerInterface.h"

#include "opt/tracking/kxMessageInterface.h"

#include <vector>

namespace Kel::Opt
{

KX_IMPLEMENT(kxListener)
KX_IMPLEMENT(kxListenerList)
KX_IMPLEMENT(kxListenerInterface)

void kxListenerInterface::listFields(kxFields<kxListenerInterface>& fields)
{
    // Listeners belong to the host: neither files nor walks over what an object holds follow them.
    fields.add(&kxListenerInterface::_listenerList, "_listenerList", "who hears of events, in order")
        .setFlags(kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK);
}

void kxListenerInterface::addListener(kxListener* listener)
{
    if (listener && !_listenerList->contains(listener))
        _listenerList->append(listener);
}

bool kxListenerInterface::removeListener(kxListener* listener)
{
    return _listenerList->remove(listener);
}

void kxListenerInterface::notify(kxEvent* event)
{
    std::vector<kxSmartPointer<kxListener>> listeners;
    for (kxListener* listener : *_listenerList)
        listeners.emplace_back(listener);
    for (const auto& listener : listeners)
        if (listener && _listenerList->contains(listener))
            listener->onEvent(event);
}

} // namespace Kel::Opt
