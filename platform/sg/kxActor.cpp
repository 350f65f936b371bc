#include "platform/sg/kxActor.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxActor)

void kxActor::listFields(kxFields<kxActor>& fields)
{
    fields.add(&kxActor::_skin, "_skin", "the skin");
}

} // namespace Kel::Sg
