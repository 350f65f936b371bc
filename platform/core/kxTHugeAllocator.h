// Memory for large arrays that are read in any order.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

#include <sys/mman.h>

namespace Kel::Core
{

/// Allocator for standard containers that asks the system for huge pages for large blocks: with small ones, most of the time
/// of a look-up in a table of many megabytes goes into finding out where the page is.
template <class T>
struct kxTHugeAllocator
{
    using value_type = T;

    kxTHugeAllocator() = default;
    template <class U>
    kxTHugeAllocator(const kxTHugeAllocator<U>&) noexcept
    {
    }

    T* allocate(size_t count)
    {
        const size_t byteCount = count * sizeof(T);
        if (byteCount < kLargeBytes)
            return static_cast<T*>(::operator new(byteCount));
        void* block = std::aligned_alloc(kPageBytes, (byteCount + kPageBytes - 1) & ~(kPageBytes - 1));
        if (!block)
            throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
        madvise(block, byteCount, MADV_HUGEPAGE); // a wish: small pages do as well
#endif
        return static_cast<T*>(block);
    }
    void deallocate(T* block, size_t count) noexcept
    {
        if (count * sizeof(T) < kLargeBytes)
            ::operator delete(block);
        else
            std::free(block);
    }

    template <class U>
    bool operator==(const kxTHugeAllocator<U>&) const noexcept
    {
        return true;
    }

private:
    static constexpr size_t kPageBytes = size_t(2) << 20;
    static constexpr size_t kLargeBytes = 2 * kPageBytes;
};

} // namespace Kel::Core
