#include "platform/sg/kxTimeTransform.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTimeTransform)

void kxTimeTransform::listFields(kxFields<kxTimeTransform>& fields)
{
    fields.add(&kxTimeTransform::_sequence, "_sequence", "the keys");
}

} // namespace Kel::Sg
