#include "opt/tracking/kxReplacedEvents.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxReplacedChildEvent)
KX_IMPLEMENT(kxReplacedObjectEvent)

void kxReplacedChildEvent::listFields(kxFields<kxReplacedChildEvent>& fields)
{
    fields.add(&kxReplacedChildEvent::_object, "_object", "the container");
    fields.add(&kxReplacedChildEvent::_newChild, "_newChild", "the child that came in");
    fields.add(&kxReplacedChildEvent::_oldChild, "_oldChild", "the child that went out");
}

void kxReplacedObjectEvent::listFields(kxFields<kxReplacedObjectEvent>& fields)
{
    fields.add(&kxReplacedObjectEvent::_oldObject, "_oldObject", "the object that went out");
    fields.add(&kxReplacedObjectEvent::_newObject, "_newObject", "the object that came in");
}

} // namespace Kel::Opt
