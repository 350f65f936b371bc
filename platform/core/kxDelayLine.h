// Work put off until the memory that it needs has arrived.
#pragma once

#include <array>
#include <cstddef>

namespace Kel::Core
{

/// Values that wait in a row until `Length` others have come behind them. Whoever puts one in asks for the memory that its
/// turn will touch (see kxPrefetch.h); when the turn comes the memory is near, and many requests were on their way together.
/// The order is kept.
template <class T, size_t Length>
class kxDelayLine
{
public:
    /// Puts a value in; `leave(value)` is called for the one whose turn has come.
    template <class F>
    void push(const T& value, F leave)
    {
        T& place = m_values[m_count % Length];
        if (m_count++ < Length)
        {
            place = value;
            return;
        }
        const T leaving = place;
        place = value;
        leave(leaving);
    }
    /// Calls `leave` for all that wait.
    template <class F>
    void flush(F leave)
    {
        for (size_t i = m_count < Length ? 0 : m_count - Length; i < m_count; ++i)
            leave(m_values[i % Length]);
        m_count = 0;
    }

private:
    std::array<T, Length> m_values{};
    size_t m_count = 0;
};

} // namespace Kel::Core
