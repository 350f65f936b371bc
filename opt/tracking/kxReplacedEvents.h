// Events of replaced children and objects.
#pragma once

#include "opt/tracking/kxMessageInterface.h"

namespace Kel::Opt
{

/// A child of a container was replaced, perhaps by itself.
class kxReplacedChildEvent : public kxEvent
{
    KX_OBJECT(kxReplacedChildEvent, kxEvent)
    static void listFields(kxFields<kxReplacedChildEvent>& fields);

    kxSmartPointer<kxObject> _object; ///< the container
    kxSmartPointer<kxObject> _newChild;
    kxSmartPointer<kxObject> _oldChild;
};

/// An object was replaced wherever it is used, perhaps by itself.
class kxReplacedObjectEvent : public kxEvent
{
    KX_OBJECT(kxReplacedObjectEvent, kxEvent)
    static void listFields(kxFields<kxReplacedObjectEvent>& fields);

    kxSmartPointer<kxObject> _oldObject;
    kxSmartPointer<kxObject> _newObject;
};

} // namespace Kel::Opt
