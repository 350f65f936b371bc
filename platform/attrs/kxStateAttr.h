// A switch of the renderer.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"

namespace Kel::Attrs
{

/// One named state of the renderer with a number, such as fog or depth writing.
class kxStateAttr : public kxAttr
{
    KX_OBJECT(kxStateAttr, kxAttr)
    static void listFields(kxFields<kxStateAttr>& fields);

    kxStringRef _state;
    float _value = 0;
    uint32_t _stateUnit = 0;

    uint16_t getUnit() const override { return static_cast<uint16_t>(_stateUnit); }
};

} // namespace Kel::Attrs
