// Values for objects, found by the objects' serial numbers.
#pragma once

#include "platform/core/kxObject.h"
#include "platform/core/kxSlabArena.h"

#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kel::Core
{

/// A value of plain type `T` for every object, `T()` until it is set. Finding one costs two memory accesses and no hash;
/// memory is taken in pages for the serials that occur. The objects must live as long as the map is asked about them.
template <class T>
class kxTSerialMap
{
public:
    kxTSerialMap() = default;
    kxTSerialMap(kxTSerialMap&& other) noexcept { swap(other); }
    kxTSerialMap& operator=(kxTSerialMap&& other) noexcept
    {
        swap(other);
        return *this;
    }
    ~kxTSerialMap() { clear(); }

    T get(const kxObject* object) const
    {
        const uint32_t serial = object->getSerial();
        const size_t page = serial >> kPageBits;
        return page < m_pages.size() && m_pages[page] ? m_pages[page][serial & kPageMask] : T();
    }
    /// The value for reading and writing; valid as long as the map.
    T& operator[](const kxObject* object)
    {
        const uint32_t serial = object->getSerial();
        const size_t page = serial >> kPageBits;
        if (page >= m_pages.size())
            m_pages.resize(page + 1);
        if (!m_pages[page])
            m_pages[page] = makePage();
        return m_pages[page][serial & kPageMask];
    }
    void clear()
    {
        for (char* slab : m_slabs)
            kxSlabArena::give(slab);
        m_slabs.clear();
        m_pages.clear();
        m_free = 0;
    }

    /// Calls `callback(value)` for every value that may have been set, and for others, in the order of the serials.
    template <class F>
    void forEach(F callback)
    {
        for (T* page : m_pages)
            if (page)
                std::for_each_n(page, kPageCount, callback);
    }

private:
    static constexpr uint32_t kPageBits = 10;
    static constexpr uint32_t kPageCount = 1u << kPageBits;
    static constexpr uint32_t kPageMask = kPageCount - 1;
    static constexpr size_t kPageBytes = kPageCount * sizeof(T);
    static_assert(kPageBytes <= kxSlabArena::kSlabBytes && std::is_trivially_destructible_v<T>);

    // Pages are cut from slabs, which lie in huge pages of the system where there are many: values are asked for in any order.
    T* makePage()
    {
        if (m_free < kPageBytes)
        {
            m_slabs.push_back(static_cast<char*>(kxSlabArena::take()));
            m_free = kxSlabArena::kSlabBytes;
        }
        auto* page = reinterpret_cast<T*>(m_slabs.back() + (kxSlabArena::kSlabBytes - m_free));
        m_free -= kPageBytes;
        std::uninitialized_value_construct_n(page, kPageCount);
        return page;
    }
    void swap(kxTSerialMap& other)
    {
        std::swap(m_pages, other.m_pages);
        std::swap(m_slabs, other.m_slabs);
        std::swap(m_free, other.m_free);
    }

    std::vector<T*> m_pages;
    std::vector<char*> m_slabs;
    size_t m_free = 0; // bytes at the end of the last slab
};

} // namespace Kel::Core
