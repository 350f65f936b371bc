// Finds equal lists of keys among many.
#pragma once

#include "platform/sg/kxTransformSequence1_5.h"

#include <unordered_map>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Of all sequences given one after the other, those whose lists of one kind none before them had.
///
/// Equality within a tolerance cannot be hashed, but a mean of the values can be rounded: lists within the tolerance have means
/// within it, so a list looks only at the few leaders whose means lie beside its own.
class kxKeyListLeaders
{
public:
    enum Kind
    {
        TRANSLATIONS,
        QUATERNIONS,
        TIMES
    };
    kxKeyListLeaders(Kind kind, double tolerance);

    /// The first sequence given whose list is equal to this one's; the sequence itself when there is none. Cost: one look at
    /// every value.
    const kxTransformSequence1_5* find(const kxTransformSequence1_5* sequence);
    /// Lists that were compared value by value so far.
    uint64_t getComparisonCount() const { return m_comparisonCount; }

private:
    bool isEqual(const kxTransformSequence1_5* a, const kxTransformSequence1_5* b) const;
    double meanOf(const kxTransformSequence1_5* sequence) const;

    Kind m_kind;
    double m_tolerance;
    double m_cell; // means of equal lists are in the same cell or in neighbours
    std::vector<const kxTransformSequence1_5*> m_leaders;
    std::unordered_map<uint64_t, std::vector<uint32_t>> m_cells; // leaders by length and cell, rising
    uint64_t m_comparisonCount = 0;
};

} // namespace Kel::Opt
