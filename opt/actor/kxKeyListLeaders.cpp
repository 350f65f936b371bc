#include "opt/actor/kxKeyListLeaders.h"

#include <algorithm>
#include <cmath>

namespace Kel::Opt
{

namespace
{

// Cells no narrower than the rounding of the means.
double narrowestCell(kxKeyListLeaders::Kind kind)
{
    switch (kind)
    {
    case kxKeyListLeaders::TRANSLATIONS: return 1e-6;
    case kxKeyListLeaders::QUATERNIONS: return 1e-9;
    default: return 64;
    }
}

// Mean with uneven weights, so that values in another order have another one. `numberOf` must not change by more than the
// distance of two values does.
template <class List, class NumberOf>
double weightedMean(const List* list, NumberOf numberOf)
{
    double sum = 0, weights = 0, weight = 0.75;
    for (uint32_t i = 0; list && i < list->getCount(); ++i)
    {
        sum += weight * numberOf(list->getData()[i]);
        weights += weight;
        weight += 0.6180339887498949;
        weight -= weight >= 1.5 ? 1 : 0;
    }
    return weights == 0 ? 0 : sum / weights;
}

const kxListBase* listOf(kxKeyListLeaders::Kind kind, const kxTransformSequence1_5* sequence)
{
    switch (kind)
    {
    case kxKeyListLeaders::TRANSLATIONS: return sequence->_translations;
    case kxKeyListLeaders::QUATERNIONS: return sequence->_quaternions;
    default: return sequence->_times;
    }
}

uint64_t cellKey(uint64_t count, bool isSpline, double cell)
{
    const double parts[2] = {static_cast<double>(count * 2 + isSpline), cell};
    return hashBytes(parts, sizeof parts);
}

} // namespace

kxKeyListLeaders::kxKeyListLeaders(Kind kind, double tolerance)
    : m_kind(kind), m_tolerance(tolerance), m_cell(std::max(2 * tolerance, narrowestCell(kind)))
{
}

bool kxKeyListLeaders::isEqual(const kxTransformSequence1_5* a, const kxTransformSequence1_5* b) const
{
    switch (m_kind)
    {
    case TRANSLATIONS: return a->compareTranslationLists(b, m_tolerance);
    case QUATERNIONS: return a->compareQuaternionLists(b, m_tolerance);
    default: return a->compareTimeLists(b, static_cast<int64_t>(m_tolerance));
    }
}

double kxKeyListLeaders::meanOf(const kxTransformSequence1_5* sequence) const
{
    // Directions of unit length.
    switch (m_kind)
    {
    case TRANSLATIONS:
        return weightedMean(sequence->_translations.get(),
                            [](const kxVec3f& v) { return 0.48 * v.x + 0.6 * v.y + 0.64 * v.z; });
    case QUATERNIONS:
        if (sequence->isCubicSpline())
            return weightedMean(sequence->_quaternions.get(),
                                [](const kxQuatf& q) { return 0.1 * q.r + 0.5 * q.v.x + 0.5 * q.v.y + 0.7 * q.v.z; });
        // Where the rotation takes one direction, seen along another: the same for q and -q.
        return weightedMean(sequence->_quaternions.get(),
                            [](const kxQuatf& q)
                            {
                                const kxQuatd u = unitRotation(toDouble(q));
                                const kxVec3d from(0.48, 0.6, 0.64), to(0.8, -0.36, 0.48);
                                return u.rotateVector(from).dot(to);
                            });
    default: return weightedMean(sequence->_times.get(), [](int64_t time) { return static_cast<double>(time); });
    }
}

const kxTransformSequence1_5* kxKeyListLeaders::find(const kxTransformSequence1_5* sequence)
{
    const kxListBase* list = listOf(m_kind, sequence);
    const uint64_t count = list ? list->getCount() : 0;
    const bool isSpline = m_kind == QUATERNIONS && sequence->isCubicSpline();
    const double cell = std::floor(meanOf(sequence) / m_cell) + 0.0;
    uint32_t first = UINT32_MAX;
    for (const double near : {cell - 1, cell, cell + 1})
    {
        const auto found = m_cells.find(cellKey(count, isSpline, near + 0.0));
        if (found == m_cells.end())
            continue;
        for (const uint32_t leader : found->second)
        {
            if (leader >= first)
                break;
            const bool isSame = listOf(m_kind, m_leaders[leader]) == list;
            m_comparisonCount += isSame ? 0 : 1;
            if (isSame || isEqual(m_leaders[leader], sequence))
                first = leader;
        }
    }
    if (first != UINT32_MAX)
        return m_leaders[first];
    m_cells[cellKey(count, isSpline, cell)].push_back(static_cast<uint32_t>(m_leaders.size()));
    m_leaders.push_back(sequence);
    return sequence;
}

} // namespace Kel::Opt
