#include "opt/actor/kxKeyReduction.h"

#include <algorithm>
#include <map>
#include <memory>
#include <numeric>

namespace Kel::Opt
{

namespace
{

using Keys = std::vector<uint32_t>;

uint64_t hashKeys(const Keys& keys)
{
    return hashBytes(keys.data(), keys.size() * sizeof(uint32_t));
}

/// The curves of one sequence.
class Curves
{
public:
    Curves(const kxTransformSequence& sequence, const kxKeyTolerances& tolerances)
    {
        m_times.reserve(sequence.getKeyCount());
        for (uint32_t i = 0; i < sequence.getKeyCount(); ++i)
            m_times.push_back(double(sequence._times->get(i) - sequence._times->get(0)) /
                              double(kxTransformSequence::kTicksPerSecond));
        if (const auto* transforms = kxCast<kxTransformSequence1_5>(&sequence))
        {
            if (transforms->hasTranslations())
                add(kxKeyCurve::ofVectors(sequence, *transforms->_translations, m_times, tolerances.translation),
                    &kxKeyTolerances::translation);
            if (transforms->hasQuaternions())
                add(kxKeyCurve::ofRotations(sequence, *transforms->_quaternions, m_times, tolerances.rotation),
                    &kxKeyTolerances::rotation);
            if (transforms->hasScales())
                add(kxKeyCurve::ofVectors(sequence, *transforms->_scales, m_times, tolerances.scale),
                    &kxKeyTolerances::scale);
        }
        else if (const auto* values = kxCast<kxValueSequence>(&sequence))
            add(kxKeyCurve::ofNumbers(*values, m_times, tolerances.value), &kxKeyTolerances::value);
    }
    Curves(const Curves&) = delete; // the curves refer to the times

    void appendTo(std::vector<const kxKeyCurve*>& all) const
    {
        for (const kxKeyCurve& curve : m_curves)
            all.push_back(&curve);
    }
    Keys reduce() const
    {
        std::vector<const kxKeyCurve*> all;
        appendTo(all);
        return reduceKeys(all, static_cast<uint32_t>(m_times.size()));
    }

    kxKeyTolerances getErrors(const Keys& kept) const
    {
        kxKeyTolerances errors = {};
        for (size_t i = 0; i < m_curves.size(); ++i)
            for (size_t k = 1; k < kept.size(); ++k)
                errors.*m_kinds[i] = std::max(errors.*m_kinds[i], m_curves[i].getError(kept[k - 1], kept[k]));
        return errors;
    }

private:
    void add(kxKeyCurve&& curve, double kxKeyTolerances::*kind)
    {
        m_curves.push_back(std::move(curve));
        m_kinds.push_back(kind);
    }

    std::vector<double> m_times;
    std::vector<kxKeyCurve> m_curves;
    std::vector<double kxKeyTolerances::*> m_kinds;
};

// Bytes that the lists take when the sequences keep these keys. Lists count once for all who lose the same keys of them.
uint64_t bytesOf(std::span<kxKeyReduction> sequences, const std::vector<const Keys*>& kept)
{
    std::map<std::pair<const kxObject*, uint64_t>, uint64_t> lists;
    for (size_t i = 0; i < sequences.size(); ++i)
    {
        kxTransformSequence& sequence = *sequences[i].sequence;
        const kxKeySizes sizes = sequence.getKeySizes();
        const uint64_t hash = hashKeys(*kept[i]);
        const bool isReduced = kept[i]->size() < sequence.getKeyCount();
        forEachKeyList(sequence,
                       [&](const auto& list, uint64_t bytesPerKey)
                       {
                           uint64_t& bytes = lists[{list.get(), hash}];
                           bytes = std::max(bytes, bytesPerKey * kept[i]->size() + sizes.listBytes +
                                                       (isReduced ? sizes.changeBytes : 0));
                       });
    }
    uint64_t sum = 0;
    for (const auto& [list, bytes] : lists)
        sum += bytes;
    return sum;
}

// Keys that some of the sequences can do without together; all of them have the same number.
Keys reduceTogether(const std::vector<std::unique_ptr<Curves>>& curves, const std::vector<bool>& isMember,
                    uint32_t keyCount)
{
    std::vector<const kxKeyCurve*> all;
    for (size_t i = 0; i < curves.size(); ++i)
        if (isMember[i])
            curves[i]->appendTo(all);
    return reduceKeys(all, keyCount);
}

} // namespace

void planReduction(std::span<kxKeyReduction> sequences, const kxKeyTolerances& tolerances)
{
    std::vector<std::unique_ptr<Curves>> curves;
    std::vector<Keys> own(sequences.size()), whole(sequences.size());
    bool isEqualCount = true, isPacked = false, canEveryone = true, canAnyone = false;
    for (size_t i = 0; i < sequences.size(); ++i)
    {
        const kxTransformSequence& sequence = *sequences[i].sequence;
        curves.push_back(std::make_unique<Curves>(sequence, tolerances));
        own[i] = curves[i]->reduce();
        whole[i].resize(sequence.getKeyCount());
        std::iota(whole[i].begin(), whole[i].end(), 0u);
        isEqualCount &= whole[i].size() == whole[0].size();
        const auto* values = kxCast<kxValueSequence>(&sequence);
        isPacked |= sequence.getKeySizes().isPacked || (values && values->_values->_sparse);
        const bool can = own[i].size() < whole[i].size();
        canEveryone &= can;
        canAnyone |= can;
    }

    std::vector<const Keys*> best;
    for (const Keys& keys : whole)
        best.push_back(&keys);
    // The size of what is not written key by key cannot be foretold, but what nobody shares only gets shorter.
    uint64_t bestBytes = !canAnyone || (isPacked && sequences.size() > 1) ? 0 : bytesOf(sequences, best);
    const auto consider = [&](const std::vector<const Keys*>& kept)
    {
        const uint64_t bytes = bytesOf(sequences, kept);
        if (bytes < bestBytes)
        {
            bestBytes = bytes;
            best = kept;
        }
    };
    std::vector<const Keys*> kept;
    for (const Keys& keys : own)
        kept.push_back(&keys);
    if (bestBytes)
        consider(kept);
    Keys together, rest;
    if (bestBytes && sequences.size() > 1 && isEqualCount)
    {
        const auto keyCount = static_cast<uint32_t>(whole[0].size());
        if (canEveryone)
        {
            together = reduceTogether(curves, std::vector<bool>(sequences.size(), true), keyCount);
            consider(std::vector<const Keys*>(sequences.size(), &together));
        }
        // Those who gain by lists of their own take them, the others stay together.
        std::vector<bool> stays(sequences.size());
        for (size_t i = 0; i < sequences.size(); ++i)
        {
            // The times stay for the others, so what they take is no gain.
            const kxKeySizes sizes = sequences[i].sequence->getKeySizes();
            const uint64_t timeBytes = uint64_t(sizes.timeBytes) * keyCount + sizes.listBytes;
            const std::span<kxKeyReduction> one = sequences.subspan(i, 1);
            stays[i] = bytesOf(one, {&own[i]}) + timeBytes >= bytesOf(one, {&whole[i]});
        }
        const auto stayCount = std::count(stays.begin(), stays.end(), true);
        if (stayCount > 0 && static_cast<size_t>(stayCount) < sequences.size())
        {
            rest = reduceTogether(curves, stays, keyCount);
            for (size_t i = 0; i < sequences.size(); ++i)
                kept[i] = stays[i] ? &rest : &own[i];
            consider(kept);
        }
    }
    for (size_t i = 0; i < sequences.size(); ++i)
    {
        sequences[i].kept = *best[i];
        sequences[i].errors = curves[i]->getErrors(*best[i]);
        sequences[i].isHeldBack = best[i]->size() == whole[i].size() && own[i].size() < whole[i].size();
    }
}

void applyReduction(std::span<kxKeyReduction> sequences)
{
    std::map<std::pair<const kxObject*, uint64_t>, kxSmartPointer<kxObject>> made;
    std::vector<kxSmartPointer<kxObject>> before; // keeps the old lists apart from new ones at the same address
    for (kxKeyReduction& reduction : sequences)
    {
        if (!reduction.isReduced())
            continue;
        const uint64_t hash = hashKeys(reduction.kept);
        const size_t first = before.size();
        forEachKeyList(*reduction.sequence, [&](const auto& list, uint32_t) { before.emplace_back(list.get()); });
        reduction.sequence->keepKeys(reduction.kept);
        size_t at = first;
        forEachKeyList(*reduction.sequence,
                       [&](auto& list, uint32_t)
                       {
                           using List = std::remove_reference_t<decltype(*list)>;
                           kxSmartPointer<kxObject>& shared = made[{before[at++].get(), hash}];
                           if (shared)
                               list = static_cast<List*>(shared.get());
                           else
                               shared = list.get();
                       });
    }
}

} // namespace Kel::Opt
