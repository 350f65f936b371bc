#include "opt/actor/kxKeyListLeaders.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Kel::Opt
{

namespace
{

// What rounding adds to the distance of two numbers, at most: rotations are turned into other numbers, times beyond 2^53 are
// rounded to a double. Translations are taken as they are, but a cell has some width.
double roundingOf(kxKeyListLeaders::Kind kind)
{
    switch (kind)
    {
    case kxKeyListLeaders::TRANSLATIONS: return 1e-30;
    case kxKeyListLeaders::QUATERNIONS: return 1e-12;
    default: return 4096;
    }
}

double reachOf(kxKeyListLeaders::Kind kind, double tolerance)
{
    return (tolerance > 0 ? std::min(tolerance * (1 + 1e-9), 1e300) : 0) + roundingOf(kind);
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

double componentOf(const kxVec3f& v, uint64_t i)
{
    return i == 0 ? v.x : i == 1 ? v.y : v.z;
}
double componentOf(const kxVec3d& v, uint64_t i)
{
    return i == 0 ? v.x : i == 1 ? v.y : v.z;
}

} // namespace

kxKeyListLeaders::kxKeyListLeaders(Kind kind, double tolerance)
    : m_kind(kind), m_tolerance(tolerance), m_reach(reachOf(kind, tolerance))
{
}

kxKeyListLeaders::kxKeyListLeaders(int64_t ticks)
    : m_kind(TIMES), m_ticks(ticks), m_reach(reachOf(TIMES, static_cast<double>(ticks)))
{
}

bool kxKeyListLeaders::isEqual(const kxTransformSequence1_5* a, const kxTransformSequence1_5* b) const
{
    switch (m_kind)
    {
    case TRANSLATIONS: return a->compareTranslationLists(b, m_tolerance);
    case QUATERNIONS: return a->compareQuaternionLists(b, m_tolerance);
    default: return a->compareTimeLists(b, m_ticks);
    }
}

bool kxKeyListLeaders::isSpline(const kxTransformSequence1_5* sequence) const
{
    return m_kind == QUATERNIONS && sequence->isCubicSpline();
}

uint64_t kxKeyListLeaders::numberCount(const kxTransformSequence1_5* sequence) const
{
    const uint64_t perElement = m_kind == TIMES ? 1 : isSpline(sequence) ? 4 : 3;
    return perElement * listOf(m_kind, sequence)->getCount();
}

// The numbers of two lists differ by no more than the lists do.
double kxKeyListLeaders::numberAt(const kxTransformSequence1_5* sequence, uint64_t place) const
{
    if (m_kind == TIMES)
        return static_cast<double>(sequence->_times->getData()[place]);
    if (m_kind == TRANSLATIONS)
        return componentOf(sequence->_translations->getData()[place / 3], place % 3);
    if (sequence->isCubicSpline())
    {
        const kxQuatf& q = sequence->_quaternions->getData()[place / 4];
        return place % 4 == 3 ? q.r : componentOf(q.v, place % 4);
    }
    // Where the rotation takes one axis, seen along another: the same for q and -q.
    const uint64_t axis = place % 3;
    const kxQuatd unit = unitRotation(toDouble(sequence->_quaternions->getData()[place / 3]));
    return componentOf(unit.rotateVector(kxVec3d(axis == 0, axis == 1, axis == 2)), (axis + 1) % 3);
}

bool kxKeyListLeaders::isFinite(const kxTransformSequence1_5* sequence) const
{
    const auto isFiniteVector = [](const kxVec3f& v)
    { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); };
    if (m_kind == TRANSLATIONS)
    {
        const kxVec3fList& list = *sequence->_translations;
        return std::all_of(list.getData(), list.getData() + list.getCount(), isFiniteVector);
    }
    if (m_kind == QUATERNIONS)
    {
        const kxQuatfList& list = *sequence->_quaternions;
        return std::all_of(list.getData(), list.getData() + list.getCount(),
                           [&](const kxQuatf& q) { return std::isfinite(q.r) && isFiniteVector(q.v); });
    }
    return true;
}

// Wide enough that a search seldom meets more than one or two of them.
double kxKeyListLeaders::cellOf(double number) const
{
    return std::floor(number / (4 * m_reach));
}

const kxTransformSequence1_5* kxKeyListLeaders::find(const kxTransformSequence1_5* sequence)
{
    const kxListBase* list = listOf(m_kind, sequence);
    const auto leader = static_cast<uint32_t>(m_leaders.size());
    auto& known = m_known[isSpline(sequence)];
    if (const auto found = known.find(list); found != known.end())
        return m_leaders[found->second];
    if (list && isFinite(sequence))
    {
        const auto [root, isNew] =
            m_roots.try_emplace({list->getCount(), isSpline(sequence)}, static_cast<uint32_t>(m_nodes.size()));
        if (isNew)
            m_nodes.emplace_back();
        else if (const uint32_t first = search(root->second, sequence); first != kNone)
            return m_leaders[first];
        m_leaders.push_back(sequence);
        insert(root->second, {leader, signatureOf(sequence)});
    }
    else
        m_leaders.push_back(sequence);
    known.emplace(list, leader);
    return sequence;
}

kxKeyListLeaders::Signature kxKeyListLeaders::signatureOf(const kxTransformSequence1_5* sequence) const
{
    Signature signature{};
    if (const uint64_t count = numberCount(sequence))
        for (size_t i = 0; i < signature.size(); ++i)
            signature[i] = numberAt(sequence, (count - 1) * i / (signature.size() - 1));
    return signature;
}

bool kxKeyListLeaders::isNear(const Signature& a, const Signature& b) const
{
    for (size_t i = 0; i < a.size(); ++i)
        if (std::abs(a[i] - b[i]) > m_reach)
            return false;
    return true;
}

// The first of the leaders whose list is equal.
uint32_t kxKeyListLeaders::search(uint32_t root, const kxTransformSequence1_5* sequence)
{
    uint32_t first = kNone;
    const Signature signature = signatureOf(sequence);
    m_open.assign(1, root);
    while (!m_open.empty())
    {
        const Node& node = m_nodes[m_open.back()];
        m_open.pop_back();
        if (node.place != kLeaf)
        {
            const double number = numberAt(sequence, node.place), last = cellOf(number + m_reach);
            for (auto at = node.children.lower_bound(cellOf(number - m_reach));
                 at != node.children.end() && at->first <= last; ++at)
                m_open.push_back(at->second);
            continue;
        }
        for (const Leader& leader : node.leaders)
        {
            if (leader.number >= first)
                break;
            if (!isNear(leader.signature, signature))
                continue;
            ++m_comparisonCount;
            if (isEqual(m_leaders[leader.number], sequence))
                first = leader.number;
        }
    }
    return first;
}

uint32_t kxKeyListLeaders::childOf(uint32_t node, uint32_t leader)
{
    const double cell = cellOf(numberAt(m_leaders[leader], m_nodes[node].place));
    const auto [child, isNew] = m_nodes[node].children.try_emplace(cell, static_cast<uint32_t>(m_nodes.size()));
    const uint32_t number = child->second;
    if (isNew)
        m_nodes.emplace_back();
    return number;
}

void kxKeyListLeaders::insert(uint32_t root, const Leader& leader)
{
    uint32_t node = root;
    while (m_nodes[node].place != kLeaf)
        node = childOf(node, leader.number);
    m_nodes[node].leaders.push_back(leader);
    if (m_nodes[node].leaders.size() > m_nodes[node].limit)
        split(node);
}

void kxKeyListLeaders::split(uint32_t leaf)
{
    const uint64_t place = choosePlace(m_nodes[leaf].leaders);
    if (place == kLeaf)
    {
        m_nodes[leaf].limit *= 2;
        return;
    }
    m_nodes[leaf].place = place;
    const std::vector<Leader> leaders = std::exchange(m_nodes[leaf].leaders, {});
    for (const Leader& leader : leaders)
    {
        const uint32_t child = childOf(leaf, leader.number);
        m_nodes[child].leaders.push_back(leader);
    }
}

// The place whose numbers lie in most cells: of some places all over the lists, and of all when those are alike in all lists.
// `kLeaf` when no number tells the lists apart.
uint64_t kxKeyListLeaders::choosePlace(const std::vector<Leader>& leaders) const
{
    constexpr uint64_t kSamples = 61;
    const uint64_t count = numberCount(m_leaders[leaders[0].number]);
    uint64_t best = kLeaf;
    ptrdiff_t most = 1;
    std::vector<double> cells(leaders.size());
    uint64_t wide = (count / kSamples + 1) | 1; // neither of 3 nor of 4 a multiple, to meet all the numbers of elements
    wide += wide % 3 == 0 ? 2 : 0;
    for (const uint64_t step : {count > kSamples ? wide : 1, uint64_t(1)})
    {
        for (uint64_t place = 0; place < count && most * 2 < ptrdiff_t(leaders.size()); place += step)
        {
            for (size_t i = 0; i < leaders.size(); ++i)
                cells[i] = cellOf(numberAt(m_leaders[leaders[i].number], place));
            std::sort(cells.begin(), cells.end());
            if (const ptrdiff_t found = std::unique(cells.begin(), cells.end()) - cells.begin(); found > most)
            {
                most = found;
                best = place;
            }
            cells.resize(leaders.size());
        }
        if (best != kLeaf || step == 1)
            break;
    }
    return best;
}

} // namespace Kel::Opt
