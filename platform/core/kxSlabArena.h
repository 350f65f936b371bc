// Slabs of memory of one size for pools.
#pragma once

#include "platform/core/kxCoreFwd.h"

namespace Kel::Core
{

/// Slabs cut one after another from large mapped regions. The general allocator would leave a gap before each aligned
/// slab. Beyond the first region the system is asked for huge pages: a large graph has objects everywhere, and with small
/// pages most of the time of a walk goes into looking up where they are. Slabs given back serve the
/// pools that come later; the system does not get them back. May be called from several threads.
class kxSlabArena
{
public:
    /// A power of two, and the alignment of every slab.
    static constexpr size_t kSlabBytes = 64 * 1024;

    /// A slab, its contents anything. Throws `std::bad_alloc` when the system has no more memory.
    static void* take();
    /// Keeps a slab for the next one who takes.
    static void give(void* slab);
};

} // namespace Kel::Core
