#include "platform/sg/kxLightStateSet.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxLightStateSet)

void kxLightStateSet::listFields(kxFields<kxLightStateSet>& fields)
{
    fields.add(&kxLightStateSet::_lightStateAttrs, "_lightStateAttrs", "the lights' states");
}

} // namespace Kel::Sg
