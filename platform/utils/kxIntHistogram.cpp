#include "platform/utils/kxIntHistogram.h"

#include <algorithm>
#include <numeric>

namespace Kel::Utils
{

KX_IMPLEMENT(kxIntHistogram)

void kxIntHistogram::initialize(int32_t minimum, int32_t maximum, uint32_t binCount)
{
    m_minimum = minimum;
    m_maximum = maximum;
    m_bins.assign(std::max(binCount, 1u), 0);
}

void kxIntHistogram::add(int32_t value, uint64_t count)
{
    if (value < m_minimum || value > m_maximum)
        return;
    const uint64_t range = static_cast<uint64_t>(int64_t(m_maximum) - m_minimum) + 1;
    const uint64_t place = static_cast<uint64_t>(int64_t(value) - m_minimum);
    m_bins[static_cast<size_t>(place * m_bins.size() / range)] += count;
}

uint64_t kxIntHistogram::getTotalCount() const
{
    return std::accumulate(m_bins.begin(), m_bins.end(), uint64_t(0));
}

} // namespace Kel::Utils
