// Events of a run that wait for their listeners.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// Queue of events. The driver empties it at the end of a run.
class kxMessageInterface : public kxInterfaced
{
    KX_OBJECT(kxMessageInterface, kxInterfaced)
    static void listFields(kxFields<kxMessageInterface>& fields);

    kxSmartPointer<kxObjectList> _messageList = kxNew<kxObjectList>();

    kxObjectList* getMessageList() const { return _messageList; }
};

} // namespace Kel::Opt
