// Asking memory ahead.
#pragma once

#include "platform/core/kxObject.h"

namespace Kel::Core
{

/// Starts to fetch an object, of which mostly the first 128 bytes are looked at; null is no fault. Large graphs do not fit into
/// the caches, and what is asked for ahead arrives together.
inline void prefetchObject(const kxObject* object)
{
    if (!object) // no page stands there, and the processor would look for it each time
        return;
    __builtin_prefetch(object);
    __builtin_prefetch(reinterpret_cast<const char*>(object) + 64);
}

} // namespace Kel::Core
