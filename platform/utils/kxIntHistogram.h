// Counts of integer values.
#pragma once

#include "platform/core/kxObject.h"

#include <vector>

namespace Kel::Utils
{

using namespace Kel::Core;

/// Counts how often values of a range occur, in bins of equal width.
class kxIntHistogram : public kxObject
{
    KX_OBJECT(kxIntHistogram, kxObject)

    /// Empties the histogram and covers the values `minimum` to `maximum`, both included, with `binCount` bins (at least 1).
    void initialize(int32_t minimum, int32_t maximum, uint32_t binCount);
    /// Counts a value; values outside the range are not counted.
    void add(int32_t value, uint64_t count = 1);

    uint32_t getBinCount() const { return static_cast<uint32_t>(m_bins.size()); }
    uint64_t getSampleCount(uint32_t bin) const { return m_bins[bin]; }
    uint64_t getTotalCount() const;

private:
    std::vector<uint64_t> m_bins;
    int32_t m_minimum = 0;
    int32_t m_maximum = -1;
};

} // namespace Kel::Utils
