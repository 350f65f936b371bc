// The names that the attributes layer builds on.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Gfx
{
}

namespace Kel::Attrs
{

using namespace Kel::Core;
using namespace Kel::Gfx;

} // namespace Kel::Attrs
