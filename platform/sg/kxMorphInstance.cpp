#include "platform/sg/kxMorphInstance.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxMorphInstance)

void kxMorphInstance::listFields(kxFields<kxMorphInstance>& fields)
{
    fields.add(&kxMorphInstance::_weights, "_weights", "a weight for each target");
}

} // namespace Kel::Sg
