// Switch that follows the time.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxSwitch.h"

namespace Kel::Sg
{

/// Draws each child from its time on until the next child's.
class kxTimeSwitch : public kxSwitch
{
    KX_OBJECT(kxTimeSwitch, kxSwitch)
    static void listFields(kxFields<kxTimeSwitch>& fields);

    kxSmartPointer<kxLongList> _times = kxNew<kxLongList>();
    bool _cycle = false;
};

} // namespace Kel::Sg
