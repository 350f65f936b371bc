#include "opt/actor/kxReduceKeyframes.h"

#include "opt/scene/kxServices.h"
#include "platform/core/kxDirectory.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTSerialMap.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Kel::Opt
{

KX_IMPLEMENT(kxReduceKeyframes)

void kxReduceKeyframes::listFields(kxFields<kxReduceKeyframes>& fields)
{
    fields.add(&kxReduceKeyframes::_translationTolerance, "_translationTolerance",
               "how far translations may come off, scene units");
    fields.add(&kxReduceKeyframes::_rotationTolerance, "_rotationTolerance", "how far rotations may come off, radians");
    fields.add(&kxReduceKeyframes::_scaleTolerance, "_scaleTolerance", "how far scales may come off");
    fields.add(&kxReduceKeyframes::_valueTolerance, "_valueTolerance",
               "how far morph weights and numbers of materials, lights and cameras may come off");
    fields.add(&kxReduceKeyframes::_maxLines, "_maxLines", "tracks to print, those with the largest error");
}

bool kxReduceKeyframes::configure(int)
{
    for (const float tolerance : {_translationTolerance, _rotationTolerance, _scaleTolerance, _valueTolerance})
        if (!(tolerance >= 0))
        {
            printf("ERROR: kxReduceKeyframes needs tolerances of 0 or more\n");
            return false;
        }
    return true;
}

bool kxReduceKeyframes::canOptimize(kxInfo* info)
{
    return kxCast<kxAnimationDatabase>(info) != nullptr;
}

bool kxReduceKeyframes::apply(kxSmartPointer<kxNode>&)
{
    return false;
}

bool kxReduceKeyframes::isReducible(kxTransformSequence* sequence)
{
    if (sequence->getKeyCount() < 3 || !(kxCast<kxTransformSequence1_5>(sequence) || kxCast<kxValueSequence>(sequence)))
        return false;
    if (isLocked(*this, sequence))
        refuse("locked", sequence);
    else if (!sequence->isWellFormed())
        refuse("keys and values of different number", sequence);
    else if (const int64_t* times = sequence->_times->getData();
             std::adjacent_find(times, times + sequence->getKeyCount(), std::greater_equal<>()) !=
             times + sequence->getKeyCount())
        refuse("times that do not rise", sequence);
    else
        return true;
    return false;
}

namespace
{

// Sequences that share lists, as sets of numbers.
class Groups
{
public:
    void add(uint32_t number, const kxObject* list)
    {
        if (number == m_parents.size())
            m_parents.push_back(number);
        uint32_t& first = m_firstOf[list];
        if (first)
            m_parents[find(number)] = find(first - 1);
        else
            first = number + 1;
    }
    uint32_t find(uint32_t number)
    {
        while (m_parents[number] != number)
            number = m_parents[number] = m_parents[m_parents[number]];
        return number;
    }

private:
    std::vector<uint32_t> m_parents;
    kxTSerialMap<uint32_t> m_firstOf; // of a list, + 1
};

} // namespace

bool kxReduceKeyframes::applyInfo(kxInfo* info)
{
    const auto* database = kxCast<kxAnimationDatabase>(info);
    if (!database)
        return false;
    m_results.clear();
    std::vector<kxKeyReduction> reductions;
    std::vector<uint32_t> sequenceOf; // of each result
    kxTSerialMap<uint32_t> numbers;   // of sequences, + 1; UINT32_MAX for one that is left alone
    Groups groups;
    const auto addTrack = [&](const kxAnimation* animation, const kxAnimationTrack& track)
    {
        kxTransformSequence* sequence = track.getSource();
        if (!sequence)
            return;
        uint32_t& number = numbers[sequence];
        if (number == 0)
        {
            number = UINT32_MAX;
            if (isReducible(sequence))
            {
                reductions.push_back({sequence});
                number = static_cast<uint32_t>(reductions.size());
                forEachKeyList(*sequence, [&](const auto& list, uint32_t) { groups.add(number - 1, list); });
            }
        }
        m_results.push_back({animation, &track, sequence->getKeyCount(), sequence->getKeyCount(), {}});
        sequenceOf.push_back(number);
    };
    if (database->getAnimationList())
        for (const kxAnimation* animation : *database->getAnimationList())
            if (animation)
                forEachTrack(*animation, [&](const kxAnimationTrack& track) { addTrack(animation, track); });

    // Groups side by side, in the order of their first sequences.
    std::vector<uint32_t> order(reductions.size()), place(reductions.size()), leader(reductions.size(), UINT32_MAX);
    std::iota(order.begin(), order.end(), 0u);
    std::vector<uint32_t> group(reductions.size());
    for (uint32_t i = 0; i < reductions.size(); ++i)
    {
        uint32_t& first = leader[groups.find(i)];
        first = std::min(first, i);
        group[i] = first;
    }
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return group[a] < group[b]; });
    std::vector<kxKeyReduction> sorted;
    for (uint32_t i = 0; i < order.size(); ++i)
    {
        place[order[i]] = i;
        sorted.push_back(std::move(reductions[order[i]]));
    }
    const kxKeyTolerances tolerances{_translationTolerance, _rotationTolerance, _scaleTolerance, _valueTolerance};
    for (uint32_t begin = 0, end = 0; begin < sorted.size(); begin = end)
    {
        if (isCancelled(*this))
            return false;
        while (end < sorted.size() && group[order[end]] == group[order[begin]])
            ++end;
        const std::span<kxKeyReduction> members(sorted.data() + begin, end - begin);
        planReduction(members, tolerances);
        applyReduction(members);
    }

    for (const kxKeyReduction& reduction : sorted)
        if (reduction.isHeldBack)
            refuse("shares keys with tracks that need them", reduction.sequence);
    for (size_t i = 0; i < m_results.size(); ++i)
        if (sequenceOf[i] != UINT32_MAX)
        {
            const kxKeyReduction& reduction = sorted[place[sequenceOf[i] - 1]];
            m_results[i].keysAfter = static_cast<uint32_t>(reduction.kept.size());
            m_results[i].errors = reduction.errors;
        }
    report();
    return true;
}

namespace
{

std::string nameOf(const kxAnimationTrack& track)
{
    std::string name = track.getName().isEmpty() ? getObjectName(track._target).str() : track.getName().str();
    if (!track._property.isEmpty())
        name.append(track._property.view().starts_with('/') ? "" : " ").append(track._property.view());
    return name;
}

} // namespace

void kxReduceKeyframes::report()
{
    int64_t before = 0, after = 0, reduced = 0;
    std::vector<std::pair<double, const TrackResult*>> worst;
    for (const TrackResult& result : m_results)
    {
        before += result.keysBefore;
        after += result.keysAfter;
        reduced += result.keysAfter < result.keysBefore;
        // Errors as parts of their tolerances, so that metres and radians can be put in one order.
        const kxKeyTolerances& e = result.errors;
        const auto part = [](double error, float tolerance) { return error > 0 ? error / tolerance : 0; };
        if (result.keysAfter < result.keysBefore)
            worst.emplace_back(
                -std::max({part(e.translation, _translationTolerance), part(e.rotation, _rotationTolerance),
                           part(e.scale, _scaleTolerance), part(e.value, _valueTolerance)}),
                &result);
    }
    count("keys", before);
    if (before == after)
        return;
    count("keys removed", before - after);
    count("tracks reduced", reduced);
    printf("\t\t%lld of %lld keys removed from %lld of %zu tracks\n", static_cast<long long>(before - after),
           static_cast<long long>(before), static_cast<long long>(reduced), m_results.size());
    std::stable_sort(worst.begin(), worst.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    worst.resize(std::min<size_t>(worst.size(), _maxLines));
    for (const auto& [part, result] : worst)
    {
        std::string errors;
        const auto add = [&](const char* what, double error)
        {
            if (error > 0)
                errors += kxFormat(", %s off by up to %.3g", what, error);
        };
        add("translation", result->errors.translation);
        add("rotation", result->errors.rotation);
        add("scale", result->errors.scale);
        add("value", result->errors.value);
        printf("\t\t%s / %s: %u of %u keys%s\n", result->animation->_name.c_str(), nameOf(*result->track).c_str(),
               result->keysAfter, result->keysBefore, errors.c_str());
    }
}

} // namespace Kel::Opt
