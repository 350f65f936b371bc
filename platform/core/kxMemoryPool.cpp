#include "platform/core/kxMemoryPool.h"

#include "platform/core/kxSlabArena.h"

#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define KX_POOL_PASSES_THROUGH 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_POOL_PASSES_THROUGH 1
#endif
#endif

namespace Kel::Core
{

kxMemoryPool::~kxMemoryPool()
{
    for (void* slab : m_slabs)
        kxSlabArena::give(slab);
}

kxMemoryPool& kxMemoryPool::getDefault()
{
    static kxMemoryPool* pool = new kxMemoryPool;
    return *pool;
}

#ifdef KX_POOL_PASSES_THROUGH

void* kxMemoryPool::allocate(size_t byteCount)
{
    return ::operator new(byteCount);
}

void kxMemoryPool::release(void* block, size_t)
{
    ::operator delete(block);
}

void kxMemoryPool::addSlab(size_t) {}

#else

void* kxMemoryPool::allocate(size_t byteCount)
{
    if (byteCount > kMaxBlock)
        return ::operator new(byteCount);
    const size_t sizeClass = (byteCount + kGrain - 1) / kGrain;
    if (!m_free[sizeClass])
        addSlab(sizeClass);
    FreeBlock* block = m_free[sizeClass];
    m_free[sizeClass] = block->next;
    m_usedBytes += sizeClass * kGrain;
    return block;
}

void kxMemoryPool::release(void* block, size_t byteCount)
{
    if (!block)
        return;
    if (byteCount > kMaxBlock)
        return ::operator delete(block);
    const size_t sizeClass = (byteCount + kGrain - 1) / kGrain;
    kxMemoryPool* pool =
        reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~uintptr_t(kxSlabArena::kSlabBytes - 1))->pool;
    auto* freed = static_cast<FreeBlock*>(block);
    freed->next = pool->m_free[sizeClass];
    pool->m_free[sizeClass] = freed;
    pool->m_usedBytes -= sizeClass * kGrain;
}

void kxMemoryPool::addSlab(size_t sizeClass)
{
    char* slab = static_cast<char*>(kxSlabArena::take());
    m_slabs.push_back(slab);
    reinterpret_cast<Slab*>(slab)->pool = this;
    const size_t blockBytes = sizeClass ? sizeClass * kGrain : kGrain;
    const size_t first = kGrain;
    const size_t count = (kxSlabArena::kSlabBytes - first) / blockBytes;
    // Chained from the last to the first, so that blocks are handed out in rising order of address.
    for (size_t i = count; i-- > 0;)
    {
        auto* block = reinterpret_cast<FreeBlock*>(slab + first + i * blockBytes);
        block->next = m_free[sizeClass];
        m_free[sizeClass] = block;
    }
}

#endif

} // namespace Kel::Core
