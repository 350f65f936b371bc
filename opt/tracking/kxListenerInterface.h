// Who wants to hear of changes.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

class kxEvent;

/// Hears of what happened to the scene. A host derives from it and adds a listener to the listener interface of a run.
class kxListener : public kxObject
{
    KX_OBJECT(kxListener, kxObject)

    /// Called at the end of a run for each event, in the order in which they happened. The event may be kept.
    virtual void onEvent(kxEvent* event) = 0;
};

KX_OBJECT_LIST(kxListenerList, kxListener)

/// The listeners of a run.
class kxListenerInterface : public kxInterfaced
{
    KX_OBJECT(kxListenerInterface, kxInterfaced)
    static void listFields(kxFields<kxListenerInterface>& fields);

    kxSmartPointer<kxListenerList> _listenerList = kxNew<kxListenerList>();

    /// Adds a listener behind the others; it stays until it is removed. One that is there already is not added again.
    void addListener(kxListener* listener);
    /// False when it is not there.
    bool removeListener(kxListener* listener);

    /// Tells every listener of an event, in order. Listeners may add and remove listeners meanwhile: those added hear
    /// of the next event.
    void notify(kxEvent* event);
};

} // namespace Kel::Opt
