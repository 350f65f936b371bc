// The names that the scene-graph layer builds on.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Gfx
{
}
namespace Kel::Attrs
{
}

namespace Kel::Sg
{

using namespace Kel::Core;
using namespace Kel::Gfx;
using namespace Kel::Attrs;

} // namespace Kel::Sg
