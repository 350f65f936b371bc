// Drives an object from outside.
#pragma once

#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Says that something drives an object from outside: the object is locked against changes.
class kxDataPump : public kxObject
{
    KX_OBJECT(kxDataPump, kxObject)
    static void listFields(kxFields<kxDataPump>& fields);

    kxStringRef _name;
    kxSmartPointer<kxObject> _destObj;

    kxObject* getDestObj() const { return _destObj; }
};

KX_OBJECT_LIST(kxDataPumpList, kxDataPump)

} // namespace Kel::Sg
