// Step between service-aware objects and optimizations.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// Common base of optimizations and of the driver; adds nothing.
class kxBase : public kxInterfaced
{
    KX_OBJECT(kxBase, kxInterfaced)
};

} // namespace Kel::Opt
