// Turns lights on or off for what is drawn below.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/attrs/kxLightAttr.h"

namespace Kel::Attrs
{

/// Turns one light on or off for what is drawn below.
class kxLightStateAttr : public kxAttr
{
    KX_OBJECT(kxLightStateAttr, kxAttr)
    static void listFields(kxFields<kxLightStateAttr>& fields);

    kxSmartPointer<kxLightAttr> _light;
    bool _enabled = true;
};

KX_OBJECT_LIST(kxLightStateAttrList, kxLightStateAttr)

} // namespace Kel::Attrs
