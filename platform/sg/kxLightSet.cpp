#include "platform/sg/kxLightSet.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxLightSet)

void kxLightSet::listFields(kxFields<kxLightSet>& fields)
{
    fields.add(&kxLightSet::_lightAttrs, "_lightAttrs", "the lights");
}

} // namespace Kel::Sg
