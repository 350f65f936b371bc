// Finds equal lists of keys among many.
#pragma once

#include "platform/sg/kxTransformSequence1_5.h"

#include <array>
#include <map>
#include <unordered_map>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Of all sequences given one after the other, those whose lists of one kind none before them had.
///
/// Equality within a tolerance cannot be hashed, but the numbers of a list can be rounded: equal lists have theirs in the same
/// cells or in neighbours. The leaders stand in a tree, each node of which tells them apart by the number that does it best
/// among those that are there, so a list looks only at the few that are near to it in several numbers.
class kxKeyListLeaders
{
public:
    enum Kind
    {
        TRANSLATIONS,
        QUATERNIONS,
        TIMES
    };
    /// For translations or rotations.
    kxKeyListLeaders(Kind kind, double tolerance);
    /// For times.
    explicit kxKeyListLeaders(int64_t ticks);

    /// The first sequence given whose list is equal to this one's; the sequence itself when there is none. Lists with something
    /// that is no finite number are equal to themselves only. The lists of those returned must stay alive and as they are. Cost:
    /// one look at every value.
    const kxTransformSequence1_5* find(const kxTransformSequence1_5* sequence);
    /// Lists that were compared value by value so far.
    uint64_t getComparisonCount() const { return m_comparisonCount; }

private:
    static constexpr uint32_t kNone = UINT32_MAX;
    static constexpr uint64_t kLeaf = UINT64_MAX;
    static constexpr uint32_t kLeafSize = 16;

    /// Some numbers of a list: most comparisons end with them, without a look at the list, which is far away in memory.
    using Signature = std::array<double, 4>;
    struct Leader
    {
        uint32_t number;
        Signature signature;
    };
    struct Node
    {
        uint64_t place = kLeaf;              // of the number in the lists that tells the children apart
        std::map<double, uint32_t> children; // by cell
        std::vector<Leader> leaders;         // of a leaf, rising
        uint32_t limit = kLeafSize;          // of leaders until the next attempt to tell them apart
    };

    bool isSpline(const kxTransformSequence1_5* sequence) const;
    uint64_t numberCount(const kxTransformSequence1_5* sequence) const;
    double numberAt(const kxTransformSequence1_5* sequence, uint64_t place) const;
    bool isFinite(const kxTransformSequence1_5* sequence) const;
    bool isEqual(const kxTransformSequence1_5* a, const kxTransformSequence1_5* b) const;
    double cellOf(double number) const;

    uint32_t search(uint32_t root, const kxTransformSequence1_5* sequence);
    void insert(uint32_t root, const Leader& leader);
    Signature signatureOf(const kxTransformSequence1_5* sequence) const;
    bool isNear(const Signature& a, const Signature& b) const;
    uint32_t childOf(uint32_t node, uint32_t leader);
    void split(uint32_t leaf);
    uint64_t choosePlace(const std::vector<Leader>& leaders) const;

    Kind m_kind;
    double m_tolerance = 0;
    int64_t m_ticks = 0;
    double m_reach; // numbers of equal lists are no further apart
    std::vector<const kxTransformSequence1_5*> m_leaders;
    std::unordered_map<const kxListBase*, uint32_t> m_known[2]; // leaders by list; those of splines by themselves
    std::map<std::pair<uint64_t, bool>, uint32_t> m_roots;      // by length and whether it is a spline
    std::vector<Node> m_nodes;
    std::vector<uint32_t> m_open; // nodes still to be looked at
    uint64_t m_comparisonCount = 0;
};

} // namespace Kel::Opt
