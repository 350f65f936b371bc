#include "platform/core/kxSlabArena.h"

#include <mutex>
#include <new>

#include <sys/mman.h>

namespace Kel::Core
{

namespace
{

constexpr size_t kHugePageBytes = size_t(2) << 20;
// Address space only: pages cost nothing before they are touched.
constexpr size_t kRegionBytes = size_t(16) << 20;

struct FreeSlab
{
    FreeSlab* next;
};

struct Arena
{
    std::mutex mutex;
    FreeSlab* free = nullptr;
    char* next = nullptr; // within the last region
    char* end = nullptr;
    bool large = false; // the program has filled a region, so whole huge pages will be filled as well
};

Arena& getArena()
{
    static Arena* arena = new Arena; // never destroyed: pools with static lifetime give back late
    return *arena;
}

void addRegion(Arena& arena)
{
    const size_t mappedBytes = kRegionBytes + kHugePageBytes;
    void* mapped = mmap(nullptr, mappedBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    // Huge pages are aligned; what stands out on both sides goes back.
    char* first = static_cast<char*>(mapped);
    char* start =
        reinterpret_cast<char*>((reinterpret_cast<uintptr_t>(first) + kHugePageBytes - 1) & ~(kHugePageBytes - 1));
    if (start > first)
        munmap(first, static_cast<size_t>(start - first));
    if (const auto rest = static_cast<size_t>(first + mappedBytes - (start + kRegionBytes)))
        munmap(start + kRegionBytes, rest);
#ifdef MADV_HUGEPAGE
    if (arena.large)
        madvise(start, kRegionBytes, MADV_HUGEPAGE); // a wish: small pages do as well
#endif
    arena.large = true;
    arena.next = start;
    arena.end = start + kRegionBytes;
}

} // namespace

void* kxSlabArena::take()
{
    Arena& arena = getArena();
    const std::lock_guard lock(arena.mutex);
    if (FreeSlab* slab = arena.free)
    {
        arena.free = slab->next;
        return slab;
    }
    if (arena.next == arena.end)
        addRegion(arena);
    char* slab = arena.next;
    arena.next += kSlabBytes;
    return slab;
}

void kxSlabArena::give(void* slab)
{
    Arena& arena = getArena();
    const std::lock_guard lock(arena.mutex);
    arena.free = new (slab) FreeSlab{arena.free};
}

} // namespace Kel::Core
