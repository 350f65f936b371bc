// The names that the graphics layer builds on.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Gfx
{

using namespace Kel::Core;

} // namespace Kel::Gfx
