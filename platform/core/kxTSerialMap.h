// Values for objects, found by the objects' serial numbers.
#pragma once

#include "platform/core/kxObject.h"

#include <array>
#include <memory>
#include <vector>

namespace Kel::Core
{

/// A value of plain type `T` for every object, `T()` until it is set. Finding one costs two memory accesses and no hash;
/// memory is taken in pages for the serials that occur. The objects must live as long as the map is asked about them.
template <class T>
class kxTSerialMap
{
public:
    T get(const kxObject* object) const
    {
        const uint32_t serial = object->getSerial();
        const size_t page = serial >> kPageBits;
        return page < m_pages.size() && m_pages[page] ? (*m_pages[page])[serial & kPageMask] : T();
    }
    /// The value for reading and writing; valid as long as the map.
    T& operator[](const kxObject* object)
    {
        const uint32_t serial = object->getSerial();
        const size_t page = serial >> kPageBits;
        if (page >= m_pages.size())
            m_pages.resize(page + 1);
        if (!m_pages[page])
            m_pages[page] = std::make_unique<Page>();
        return (*m_pages[page])[serial & kPageMask];
    }
    void clear() { m_pages.clear(); }

    /// Calls `callback(value)` for every value that may have been set, and for others, in the order of the serials.
    template <class F>
    void forEach(F callback)
    {
        for (std::unique_ptr<Page>& page : m_pages)
            if (page)
                for (T& value : *page)
                    callback(value);
    }

private:
    static constexpr uint32_t kPageBits = 10;
    static constexpr uint32_t kPageMask = (1u << kPageBits) - 1;
    using Page = std::array<T, size_t(1) << kPageBits>;
    std::vector<std::unique_ptr<Page>> m_pages;
};

} // namespace Kel::Core
