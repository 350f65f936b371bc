// Memory for small objects: slabs of one block size, taken and given back without the general allocator.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <vector>

namespace Kel::Core
{

/// Pool of memory blocks of up to `kMaxBlock` bytes; larger blocks come from the general allocator. Not for several threads.
/// A pool must outlive what was allocated from it. Under AddressSanitizer every block comes from the general allocator, so
/// that use after release is found.
class kxMemoryPool
{
public:
    static constexpr size_t kMaxBlock = 512;

    kxMemoryPool() = default;
    ~kxMemoryPool();
    kxMemoryPool(const kxMemoryPool&) = delete;
    kxMemoryPool& operator=(const kxMemoryPool&) = delete;

    /// The pool of everything that names no other. Never destroyed.
    static kxMemoryPool& getDefault();

    void* allocate(size_t byteCount);

    /// Gives a block back to the pool that it came from; `byteCount` is what it was allocated with.
    static void release(void* block, size_t byteCount);

    /// Bytes now handed out by `allocate`, blocks beyond `kMaxBlock` left out.
    size_t getUsedBytes() const { return m_usedBytes; }

private:
    struct FreeBlock
    {
        FreeBlock* next;
    };
    // At the start of each slab, which is found by masking the address of a block.
    struct Slab
    {
        kxMemoryPool* pool;
    };
    static constexpr size_t kGrain = 8; // no class asks for more alignment; what is rounded up is lost a million times

    void addSlab(size_t sizeClass);

    FreeBlock* m_free[kMaxBlock / kGrain + 1] = {};
    std::vector<void*> m_slabs;
    size_t m_usedBytes = 0;
};

} // namespace Kel::Core
