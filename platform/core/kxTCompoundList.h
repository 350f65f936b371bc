// A list of values that is kept, or can be put, in an order of the caller's choice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace Kel::Core
{

/// List of plain values with an order given by a comparison function. `insertSorted`, `addUnique`, `findSorted` and
/// `removeSorted` expect a list in that order; `append`, `insert` and `set` do not keep it, `sort` restores it.
///
/// The comparison answers below, equal to or above zero as `a` stands before, with or behind `b`.
template <class T>
class kxTCompoundList
{
public:
    using Compare = int (*)(const T& a, const T& b, void* context);

    /// Without a comparison function the order is that of operator <.
    explicit kxTCompoundList(Compare compare = nullptr, void* context = nullptr)
        : m_compare(compare ? compare : &compareNaturally), m_context(context)
    {
    }

    /// Replaces the comparison function and puts the list into the new order.
    void setCompare(Compare compare, void* context = nullptr)
    {
        m_compare = compare ? compare : &compareNaturally;
        m_context = context;
        sort();
    }

    uint32_t getCount() const { return static_cast<uint32_t>(m_values.size()); }
    bool isEmpty() const { return m_values.empty(); }
    const T& get(uint32_t index) const { return m_values[index]; }
    const T& operator[](uint32_t index) const { return m_values[index]; }
    T& operator[](uint32_t index) { return m_values[index]; }
    const T* begin() const { return m_values.data(); }
    const T* end() const { return m_values.data() + m_values.size(); }

    void reserve(uint32_t count) { m_values.reserve(count); }
    void clear() { m_values.clear(); }
    void append(const T& value) { m_values.push_back(value); }
    void insert(uint32_t index, const T& value) { m_values.insert(m_values.begin() + index, value); }
    void set(uint32_t index, const T& value) { m_values[index] = value; }
    void removeAt(uint32_t index) { m_values.erase(m_values.begin() + index); }

    /// Puts the list in order; values that compare equal keep their order.
    void sort()
    {
        std::stable_sort(m_values.begin(), m_values.end(),
                         [this](const T& a, const T& b) { return m_compare(a, b, m_context) < 0; });
    }
    bool isSorted() const
    {
        return std::is_sorted(m_values.begin(), m_values.end(),
                              [this](const T& a, const T& b) { return m_compare(a, b, m_context) < 0; });
    }

    /// Index of the first value that compares equal, -1 when there is none; log n.
    int findSorted(const T& value) const
    {
        const uint32_t index = lowerBound(value);
        return index < getCount() && m_compare(m_values[index], value, m_context) == 0 ? static_cast<int>(index) : -1;
    }
    /// The same in a list in any order, from the front.
    int find(const T& value) const
    {
        for (uint32_t i = 0; i < getCount(); ++i)
            if (m_compare(m_values[i], value, m_context) == 0)
                return static_cast<int>(i);
        return -1;
    }

    /// Adds a value behind those that compare equal; gives its index.
    uint32_t insertSorted(const T& value)
    {
        const auto at = std::upper_bound(m_values.begin(), m_values.end(), value,
                                         [this](const T& a, const T& b) { return m_compare(a, b, m_context) < 0; });
        const auto index = static_cast<uint32_t>(at - m_values.begin());
        insert(index, value);
        return index;
    }
    /// Index of the value that compares equal, which is added when there is none; `added` says which.
    uint32_t addUnique(const T& value, bool* added = nullptr)
    {
        const uint32_t index = lowerBound(value);
        const bool missing = index == getCount() || m_compare(m_values[index], value, m_context) != 0;
        if (missing)
            insert(index, value);
        if (added)
            *added = missing;
        return index;
    }
    /// Removes the first value that compares equal; false when there is none.
    bool removeSorted(const T& value)
    {
        const int index = findSorted(value);
        if (index >= 0)
            removeAt(static_cast<uint32_t>(index));
        return index >= 0;
    }
    /// The same in a list in any order.
    bool remove(const T& value)
    {
        const int index = find(value);
        if (index >= 0)
            removeAt(static_cast<uint32_t>(index));
        return index >= 0;
    }

private:
    static int compareNaturally(const T& a, const T& b, void*)
    {
        const std::less<T> less; // also for pointers
        return less(a, b) ? -1 : less(b, a) ? 1 : 0;
    }
    uint32_t lowerBound(const T& value) const
    {
        const auto at = std::lower_bound(m_values.begin(), m_values.end(), value,
                                         [this](const T& a, const T& b) { return m_compare(a, b, m_context) < 0; });
        return static_cast<uint32_t>(at - m_values.begin());
    }

    std::vector<T> m_values;
    Compare m_compare;
    void* m_context;
};

} // namespace Kel::Core
