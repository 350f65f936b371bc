// Group of which one child is drawn.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Draws one of its children; the positions of the children mean something.
class kxSwitch : public kxGroup
{
    KX_OBJECT(kxSwitch, kxGroup)
    static void listFields(kxFields<kxSwitch>& fields);

    int32_t _whichChild = 0;

    int isChildOrderSignificant() const override { return 1; }
};

} // namespace Kel::Sg
