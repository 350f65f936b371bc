#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransformSequence)
KX_IMPLEMENT(kxTransformSequenceList)

void kxTransformSequence::listFields(kxFields<kxTransformSequence>& fields)
{
    fields.add(&kxTransformSequence::_name, "_name", "name of the sequence");
}

} // namespace Kel::Sg
