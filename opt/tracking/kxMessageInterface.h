// Events of a run that wait for their listeners.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// Something that happened to the scene.
class kxEvent : public kxObject
{
    KX_OBJECT(kxEvent, kxObject)
};

/// Queue of events. They wait until the run ends, so that a listener sees the scene whole, and not in the middle of an
/// edit.
class kxMessageInterface : public kxInterfaced
{
    KX_OBJECT(kxMessageInterface, kxInterfaced)
    static void listFields(kxFields<kxMessageInterface>& fields);

    kxSmartPointer<kxObjectList> _messageList = kxNew<kxObjectList>();

    /// The events that wait, oldest first. Who edits the list decides what listeners hear.
    kxObjectList* getMessageList() const { return _messageList; }

    /// Tells the listeners of each event, in order, and forgets it. Events that listeners queue meanwhile wait for the
    /// next time. The driver calls it at the end of a run.
    void clearMessageList();
};

} // namespace Kel::Opt
