// Turns lights on and off for its children.
#pragma once

#include "platform/attrs/kxLightStateAttr.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Turns lights on and off for what is drawn below.
class kxLightStateSet : public kxGroup
{
    KX_OBJECT(kxLightStateSet, kxGroup)
    static void listFields(kxFields<kxLightStateSet>& fields);

    kxSmartPointer<kxLightStateAttrList> _lightStateAttrs = kxNew<kxLightStateAttrList>();

    kxLightStateAttrList* getLightStateAttrs() const { return _lightStateAttrs; }
    void appendLightStateAttr(kxLightStateAttr* state) { _lightStateAttrs->append(state); }
    bool removeLightStateAttr(const kxLightStateAttr* state) { return _lightStateAttrs->remove(state); }
};

} // namespace Kel::Sg
