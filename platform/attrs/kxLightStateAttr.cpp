#include "platform/attrs/kxLightStateAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxLightStateAttr)
KX_IMPLEMENT(kxLightStateAttrList)

void kxLightStateAttr::listFields(kxFields<kxLightStateAttr>& fields)
{
    fields.add(&kxLightStateAttr::_light, "_light", "the light, null for all lights");
    fields.add(&kxLightStateAttr::_enabled, "_enabled", "the light shines on what is drawn below");
}

} // namespace Kel::Attrs
