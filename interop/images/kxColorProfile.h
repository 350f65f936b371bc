// Colour profiles that files carry.
#pragma once

#include "platform/core/kxMemoryBlock.h"

namespace Kel::Interop
{

using namespace Kel::Core;

/// True for a profile of grey pixels, or of red, green and blue ones. Kinds of image files forbid a profile that speaks of
/// other components than their pixels have. False for null and for bytes that are no profile.
bool isProfileOf(const kxMemoryBlock* profile, bool isGray);

} // namespace Kel::Interop
