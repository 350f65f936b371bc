#include "opt/verify/kxMotionList.h"

#include "platform/core/kxDirectory.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace Kel::Opt
{

namespace
{

// What a list may cost: steps over tracks, places and points, beside as many as there are keys.
constexpr uint64_t kFreeSteps = 50000;
// The same where even the ends of every clip are too many: then not every clip is looked at.
constexpr uint64_t kMostSteps = 2000000;
constexpr uint32_t kMostPoints = 16; // of a geometry
constexpr uint64_t kPointsInAll = 20000;

// Clips that hold nothing show nothing, and not every file can have them.
bool hasKeys(const kxAnimation& animation)
{
    bool found = false;
    forEachTrack(animation, [&](const kxAnimationTrack& track)
                 { found = found || (track.getSource() && track.getSource()->getKeyCount() != 0); });
    return found;
}

// At a few keys and between them, first and last among them: every key and a place behind it where they are not many.
std::vector<int64_t> chooseTimes(const kxAnimation& animation, uint64_t most)
{
    std::vector<int64_t> keys;
    forEachTrack(animation,
                 [&](const kxAnimationTrack& track)
                 {
                     const kxTransformSequence* source = track.getSource();
                     if (source && source->getTimeList())
                         keys.insert(keys.end(), source->getTimeList()->getData(),
                                     source->getTimeList()->getData() + source->getKeyCount());
                 });
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    std::vector<int64_t> times;
    if (keys.empty())
        return times;
    const uint64_t places = keys.size() * 2 - 1; // keys, and between each two of them
    const uint64_t count = std::clamp<uint64_t>(most, 2, std::max<uint64_t>(places, 2));
    double fraction = 0.5;
    for (uint64_t i = 0; i < count; ++i)
    {
        const uint64_t place = places == 1 ? 0 : (places - 1) * i / (count - 1);
        const int64_t key = keys[place / 2];
        if (place % 2 == 0)
            times.push_back(key);
        else
        {
            // Not always in the middle, where much is symmetrical.
            fraction += 0.6180339887;
            fraction -= std::floor(fraction);
            times.push_back(key + static_cast<int64_t>(double(keys[place / 2 + 1] - key) * fraction));
        }
    }
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

} // namespace

void kxMotionList::collect(const kxInfoList* infos, const kxMotionList* like)
{
    std::vector<const kxSceneInfo*> scenes;
    if (infos)
        for (const kxInfo* info : *infos)
            if (const auto* scene = kxCast<kxSceneInfo>(info))
                scenes.push_back(scene);
    collect(scenes, infos, like);
}

void kxMotionList::collect(const kxSceneInfo* scene, const kxInfoList* infos, const kxMotionList* like)
{
    collect(std::span(&scene, 1), infos, like);
}

kxMotionList::Index::Index(const kxMotionList& list)
{
    for (const Clip& clip : list.m_clips)
        m_clips[clip.name.getHash()].push_back(&clip);
}

const kxMotionList::Clip* kxMotionList::Index::find(kxStringRef name, size_t number) const
{
    const auto found = m_clips.find(name.getHash());
    return found == m_clips.end() || number >= found->second.size() ? nullptr : found->second[number];
}

// Few points of each of very many things; where those are too many still, only some of the things. Which ones depends on what
// they are, not on where they stand, so that a changed graph gives the same.
void kxMotionList::choosePoints(std::deque<kxMovingGraph>& graphs, const kxMotionList* like)
{
    std::map<uint64_t, uint64_t> countOf;
    uint64_t drawCount = 0;
    for (kxMovingGraph& graph : graphs)
    {
        graph.choosePoints(1);
        drawCount += graph.getDraws().size();
    }
    m_pointsPerGeometry = static_cast<uint32_t>(std::clamp<uint64_t>(kPointsInAll / (drawCount + 1), 1, kMostPoints));
    if (like && like->m_pointsPerGeometry)
    {
        m_pointsPerGeometry = like->m_pointsPerGeometry;
        m_lastSort = like->m_lastSort;
    }
    for (kxMovingGraph& graph : graphs)
    {
        graph.choosePoints(m_pointsPerGeometry);
        for (const kxMovingGraph::Draw& draw : graph.getDraws())
            if (!draw.isDriver)
                ++countOf[draw.getSort()];
    }
    if (!like || !like->m_pointsPerGeometry)
    {
        uint64_t sum = 0;
        for (auto at = countOf.begin(); drawCount > kPointsInAll && at != countOf.end(); ++at)
            if ((sum += at->second) > kPointsInAll)
            {
                m_lastSort = at->first;
                break;
            }
    }
    uint32_t first = 0;
    for (size_t g = 0; g < graphs.size(); ++g)
    {
        graphs[g].filter([&](uint64_t sort) { return sort <= m_lastSort; });
        const auto before = static_cast<uint32_t>(m_points.size());
        for (const kxMovingGraph::Draw& draw : graphs[g].getDraws())
        {
            m_points.push_back({combineHash(g, draw.content), draw.isDriver ? std::string() : graphs[g].getPath(draw),
                                first, draw.pointCount * 3,
                                draw.driver == UINT32_MAX ? UINT32_MAX : before + draw.driver, draw.isDriver,
                                draw.kind == 0 ? 0 : combineHash(g, draw.kind), draw.isUnnamed});
            first += draw.pointCount * 3;
        }
    }
}

void kxMotionList::collect(std::span<const kxSceneInfo* const> scenes, const kxInfoList* infos,
                           const kxMotionList* like)
{
    std::vector<const kxAnimationDatabase*> databases;
    std::vector<const kxAnimation*> animations;
    uint64_t keys = 0, tracks = 0;
    if (infos)
        for (const kxInfo* info : *infos)
            if (const auto* database = kxCast<kxAnimationDatabase>(info); database && database->getAnimationList())
            {
                databases.push_back(database);
                for (const kxAnimation* animation : *database->getAnimationList())
                    if (animation && hasKeys(*animation))
                        animations.push_back(animation);
            }
    for (const kxAnimation* animation : animations)
        forEachTrack(*animation,
                     [&](const kxAnimationTrack& track)
                     {
                         ++tracks;
                         keys += track.getSource() ? track.getSource()->getKeyCount() : 0;
                     });
    if (animations.empty())
        return;

    std::deque<kxMovingGraph> graphs;
    uint64_t movingCount = 0;
    for (const kxSceneInfo* scene : scenes)
        movingCount += graphs.emplace_back(scene->getSceneGraph(), databases).getMovingCount();
    choosePoints(graphs, like);
    const uint32_t pointNumbers = m_points.empty() ? 0 : m_points.back().first + m_points.back().count;
    const uint64_t perTime = tracks / animations.size() + movingCount + pointNumbers / 3 + 1;
    const uint64_t timesPerClip = (kFreeSteps + keys) / perTime / animations.size();
    const uint64_t clipStep = 1 + 2 * perTime * animations.size() / (kMostSteps + 4 * keys);

    const kxMotionList none;
    const Index patterns(like ? *like : none);
    std::unordered_map<uint64_t, size_t> numberOf; // of clips of one name
    for (size_t number = 0; number < animations.size(); ++number)
    {
        const kxAnimation* animation = animations[number];
        const size_t ofName = numberOf[animation->_name.getHash()]++;
        const Clip* pattern = like ? patterns.find(animation->_name, ofName) : nullptr;
        Clip& clip = m_clips.emplace_back();
        clip.name = animation->_name;
        if (pattern)
            clip.times = pattern->times;
        else if (number % clipStep == 0)
            clip.times = chooseTimes(*animation, timesPerClip);
        if (!clip.times.empty())
            sample(clip, *animation, graphs);
    }
}

void kxMotionList::sample(Clip& clip, const kxAnimation& animation, std::deque<kxMovingGraph>& graphs)
{
    std::vector<kxMovingGraph::Clip> bound;
    for (const kxMovingGraph& graph : graphs)
        bound.push_back(graph.bind(animation));
    uint32_t first = m_points.empty() ? 0 : m_points.back().first + m_points.back().count;
    std::vector<const kxValueSequence*> values;
    forEachTrack(animation,
                 [&](const kxAnimationTrack& track)
                 {
                     const auto* source = kxCast<kxValueSequence>(track.getSource());
                     if (!source || source->getKeyCount() == 0 || !source->isWellFormed() || !source->hasRisingTimes())
                         return;
                     const kxStringRef name = getObjectName(track._target);
                     const std::string path = name.str() + " " + track._property.str();
                     Thing& thing = clip.values.emplace_back(hashBytes(path.data(), path.size(), 1), path, first,
                                                             source->getNumbersPerKey());
                     thing.kind = combineHash(track._property.getHash(), 1);
                     thing.isUnnamed = track._target && name.isEmpty();
                     first += source->getNumbersPerKey();
                     values.push_back(source);
                 });
    std::vector<double> numbers;
    clip.numbers.reserve(clip.times.size() * first);
    for (const int64_t time : clip.times)
    {
        for (size_t g = 0; g < graphs.size(); ++g)
            graphs[g].evaluate(bound[g], time, clip.numbers);
        numbers.clear();
        for (const kxValueSequence* source : values)
            source->sample(time, numbers);
        clip.numbers.insert(clip.numbers.end(), numbers.begin(), numbers.end());
    }
}

} // namespace Kel::Opt
