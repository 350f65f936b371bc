// Who wants to hear of changes.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// The listeners of a run.
class kxListenerInterface : public kxInterfaced
{
    KX_OBJECT(kxListenerInterface, kxInterfaced)
};

} // namespace Kel::Opt
