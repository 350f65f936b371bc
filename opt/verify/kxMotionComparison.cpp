#include "opt/verify/kxMotionComparison.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>

namespace Kel::Opt
{

namespace
{

using Clip = kxMotionList::Clip;
using Thing = kxMotionList::Thing;

class ClipComparison
{
public:
    ClipComparison(const kxMotionList& listA, const Clip& a, const kxMotionList& listB, const Clip& b, double tolerance,
                   bool isSameAtRest)
        : m_listA(listA), m_listB(listB), m_a(a), m_b(b), m_tolerance(tolerance), m_isSameAtRest(isSameAtRest)
    {
        float least[3], most[3];
        std::fill_n(least, 3, std::numeric_limits<float>::max());
        std::fill_n(most, 3, std::numeric_limits<float>::lowest());
        for (const Thing& thing : listA.getPoints())
            for (size_t t = 0; t < a.times.size() && !thing.isDriver; ++t)
                for (uint32_t i = 0; i < thing.count; ++i)
                    if (const float number = a.numbers[t * a.getWidth() + thing.first + i]; std::isfinite(number))
                    {
                        least[i % 3] = std::min(least[i % 3], number);
                        most[i % 3] = std::max(most[i % 3], number);
                    }
        for (int i = 0; i < 3; ++i)
            m_extent = std::max(m_extent, double(most[i]) - double(least[i]));
    }

    void describe(const std::function<void(std::string)>& add)
    {
        describe(m_listA.getPoints(), m_listB.getPoints(), true, add);
        describe(m_a.values, m_b.values, false, add);
    }

private:
    void describe(const std::vector<Thing>& thingsA, const std::vector<Thing>& thingsB, bool arePoints,
                  const std::function<void(std::string)>& add)
    {
        // Things of one content in the order of the graph; those that then do not agree look for another partner.
        const std::vector<size_t> a = order(thingsA), b = order(thingsB);
        std::vector<size_t> onlyA, onlyB;
        size_t i = 0, k = 0;
        while (i < a.size() || k < b.size())
        {
            const uint64_t contentA = i < a.size() ? thingsA[a[i]].content : UINT64_MAX;
            const uint64_t contentB = k < b.size() ? thingsB[b[k]].content : UINT64_MAX;
            if (k == b.size() || (i < a.size() && contentA < contentB))
                onlyA.push_back(a[i++]);
            else if (i == a.size() || contentB < contentA)
                onlyB.push_back(b[k++]);
            else
            {
                const Thing& thing = thingsA[a[i]];
                if (differenceOf(thing, thingsB[b[k]]).size > allowed(thing, arePoints))
                {
                    onlyA.push_back(a[i]);
                    onlyB.push_back(b[k]);
                }
                ++i, ++k;
            }
        }
        matchOthers(thingsA, thingsB, arePoints, onlyA, onlyB);
        matchUnnamed(thingsA, thingsB, arePoints, onlyA, onlyB);
        if (arePoints && m_isSameAtRest)
            dropPieces(thingsA, thingsB, onlyA, onlyB);
        std::vector<std::pair<Difference, size_t>> apart;
        for (const size_t lonely : onlyA)
        {
            const Thing& thing = thingsA[lonely];
            Difference least;
            size_t nearest = onlyB.size();
            for (size_t n = 0; n < onlyB.size() && n < kMostCandidates; ++n)
                if (thingsB[onlyB[n]].content == thing.content)
                    if (const Difference found = differenceOf(thing, thingsB[onlyB[n]]);
                        nearest == onlyB.size() || found.size < least.size)
                    {
                        least = found;
                        nearest = n;
                    }
            if (nearest == onlyB.size())
                add(kxFormat("clip \"%s\": %s is only in the first", m_a.name.c_str(), thing.path.c_str()));
            else
            {
                onlyB.erase(onlyB.begin() + static_cast<ptrdiff_t>(nearest));
                if (least.size > allowed(thing, arePoints))
                    apart.emplace_back(least, lonely);
            }
        }
        std::stable_sort(apart.begin(), apart.end(),
                         [](const auto& x, const auto& y) { return x.first.size > y.first.size; });
        for (const auto& [difference, number] : apart)
            add(kxFormat("clip \"%s\" at %.4g s: %s is off by %.3g", m_a.name.c_str(),
                         m_a.times.empty()
                             ? 0
                             : double(m_a.times[difference.time]) / double(kxTransformSequence::kTicksPerSecond),
                         thingsA[number].path.c_str(), difference.size));
        for (const size_t lonely : onlyB)
            add(kxFormat("clip \"%s\": %s is only in the second", m_b.name.c_str(), thingsB[lonely].path.c_str()));
    }

    // Takes out those that agree with another partner than the one in their order.
    void matchOthers(const std::vector<Thing>& thingsA, const std::vector<Thing>& thingsB, bool arePoints,
                     std::vector<size_t>& onlyA, std::vector<size_t>& onlyB) const
    {
        std::erase_if(onlyA,
                      [&](size_t lonely)
                      {
                          const Thing& thing = thingsA[lonely];
                          for (size_t n = 0; n < onlyB.size() && n < kMostCandidates; ++n)
                              if (thingsB[onlyB[n]].content == thing.content &&
                                  differenceOf(thing, thingsB[onlyB[n]]).size <= allowed(thing, arePoints))
                              {
                                  onlyB.erase(onlyB.begin() + static_cast<ptrdiff_t>(n));
                                  return true;
                              }
                          return false;
                      });
    }

    // Takes out nodes and the like that agree but for a name that one of the two does not have: what they move is the same.
    void matchUnnamed(const std::vector<Thing>& thingsA, const std::vector<Thing>& thingsB, bool arePoints,
                      std::vector<size_t>& onlyA, std::vector<size_t>& onlyB) const
    {
        // In the order of the graph, in which partners are most likely to meet at once.
        std::unordered_map<uint64_t, std::deque<size_t>> byKind;
        std::vector<size_t> inOrder = onlyB;
        std::sort(inOrder.begin(), inOrder.end());
        for (const size_t lonely : inOrder)
            if (thingsB[lonely].kind != 0)
                byKind[thingsB[lonely].kind].push_back(lonely);
        inOrder = onlyA;
        std::sort(inOrder.begin(), inOrder.end());
        std::vector<bool> isTakenA(thingsA.size()), isTakenB(thingsB.size());
        for (const size_t lonely : inOrder)
        {
            const Thing& thing = thingsA[lonely];
            const auto candidates = byKind.find(thing.kind);
            if (thing.kind == 0 || candidates == byKind.end())
                continue;
            std::deque<size_t>& list = candidates->second;
            for (size_t n = 0; n < list.size() && n < kMostCandidates; ++n)
                if (thing.isNamesake(thingsB[list[n]]) &&
                    differenceOf(thing, thingsB[list[n]]).size <= allowed(thing, arePoints))
                {
                    isTakenA[lonely] = isTakenB[list[n]] = true;
                    list.erase(list.begin() + static_cast<ptrdiff_t>(n));
                    break;
                }
        }
        std::erase_if(onlyA, [&](size_t lonely) { return isTakenA[lonely]; });
        std::erase_if(onlyB, [&](size_t lonely) { return isTakenB[lonely]; });
    }

    // Vertex data that were cut or dealt out anew have no partner, but at rest the pieces together show the same. So they do
    // in the clip where what moves them is the same.
    void dropPieces(const std::vector<Thing>& thingsA, const std::vector<Thing>& thingsB, std::vector<size_t>& onlyA,
                    std::vector<size_t>& onlyB) const
    {
        if (onlyA.empty() || onlyB.empty())
            return;
        std::unordered_multimap<uint64_t, size_t> driversB, driversOfKindB;
        for (size_t i = 0; i < thingsB.size(); ++i)
            if (thingsB[i].isDriver)
            {
                driversB.emplace(thingsB[i].content, i);
                driversOfKindB.emplace(thingsB[i].kind, i);
            }
        std::vector<bool> isMovedInA(thingsA.size()), isMovedInB(thingsB.size()); // drivers that have equals
        for (size_t i = 0; i < thingsA.size(); ++i)
        {
            if (!thingsA[i].isDriver)
                continue;
            size_t candidates = 0;
            const auto [first, end] = driversB.equal_range(thingsA[i].content);
            for (auto at = first; at != end && candidates < kMostCandidates; ++at, ++candidates)
                if (differenceOf(thingsA[i], thingsB[at->second]).size <= allowed(thingsA[i], true))
                    isMovedInA[i] = isMovedInB[at->second] = true;
            if (isMovedInA[i])
                continue;
            const auto [firstOfKind, endOfKind] = driversOfKindB.equal_range(thingsA[i].kind);
            candidates = 0;
            for (auto at = firstOfKind; at != endOfKind && candidates < kMostCandidates; ++at, ++candidates)
                if (thingsA[i].isNamesake(thingsB[at->second]) &&
                    differenceOf(thingsA[i], thingsB[at->second]).size <= allowed(thingsA[i], true))
                    isMovedInA[i] = isMovedInB[at->second] = true;
        }
        const auto drop =
            [](const std::vector<Thing>& things, const std::vector<bool>& isMoved, std::vector<size_t>& indices)
        {
            std::erase_if(indices, [&](size_t index)
                          { return things[index].driver < things.size() && isMoved[things[index].driver]; });
        };
        drop(thingsA, isMovedInA, onlyA);
        drop(thingsB, isMovedInB, onlyB);
    }

    // Things that are looked at as partners for one that has lost its own.
    static constexpr size_t kMostCandidates = 1000;

    struct Difference
    {
        double size = 0;
        size_t time = 0;
    };

    static std::vector<size_t> order(const std::vector<Thing>& things)
    {
        std::vector<size_t> order;
        for (size_t i = 0; i < things.size(); ++i)
            if (!things[i].isDriver)
                order.push_back(i);
        std::stable_sort(order.begin(), order.end(),
                         [&](size_t x, size_t y) { return things[x].content < things[y].content; });
        return order;
    }

    Difference differenceOf(const Thing& a, const Thing& b) const
    {
        Difference largest;
        if (a.count != b.count || m_a.times.size() != m_b.times.size())
            return {std::numeric_limits<double>::infinity(), 0};
        for (size_t t = 0; t < m_a.times.size(); ++t)
            for (uint32_t i = 0; i < a.count; ++i)
            {
                const double x = m_a.numbers[t * m_a.getWidth() + a.first + i],
                             y = m_b.numbers[t * m_b.getWidth() + b.first + i];
                double size = std::abs(x - y);
                if (!std::isfinite(x) || !std::isfinite(y))
                    size = x == y || (std::isnan(x) && std::isnan(y)) ? 0 : std::numeric_limits<double>::infinity();
                if (size > largest.size)
                    largest = {size, t};
            }
        return largest;
    }

    double allowed(const Thing& thing, bool arePoints) const
    {
        if (arePoints)
            return m_tolerance * m_extent;
        double largest = 1;
        for (size_t t = 0; t < m_a.times.size(); ++t)
            for (uint32_t i = 0; i < thing.count; ++i)
                if (const double number = std::abs(m_a.numbers[t * m_a.getWidth() + thing.first + i]);
                    std::isfinite(number))
                    largest = std::max(largest, number);
        return m_tolerance * largest;
    }

    const kxMotionList& m_listA;
    const kxMotionList& m_listB;
    const Clip& m_a;
    const Clip& m_b;
    double m_tolerance;
    bool m_isSameAtRest;
    double m_extent = 0;
};

} // namespace

std::vector<std::string> compareMotion(const kxMotionList& a, const kxMotionList& b, double tolerance, size_t maxLines,
                                       bool isSameAtRest)
{
    std::vector<std::string> lines;
    size_t count = 0;
    const auto add = [&](std::string line)
    {
        if (count++ < maxLines)
            lines.push_back(std::move(line));
    };
    // Clips of one name are told apart by their order.
    const kxMotionList::Index inA(a), inB(b);
    std::unordered_map<uint64_t, size_t> numbersA, numbersB;
    for (const Clip& clip : a.getClips())
    {
        if (const Clip* partner = inB.find(clip.name, numbersA[clip.name.getHash()]++))
            ClipComparison(a, clip, b, *partner, tolerance, isSameAtRest).describe(add);
        else
            add(kxFormat("clip \"%s\" is only in the first", clip.name.c_str()));
    }
    for (const Clip& clip : b.getClips())
        if (!inA.find(clip.name, numbersB[clip.name.getHash()]++))
            add(kxFormat("clip \"%s\" is only in the second", clip.name.c_str()));
    if (count > maxLines)
        lines.push_back(kxFormat("and %zu more", count - maxLines));
    return lines;
}

} // namespace Kel::Opt
