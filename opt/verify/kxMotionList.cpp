#include "opt/verify/kxMotionList.h"

#include "platform/core/kxDirectory.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace Kel::Opt
{

namespace
{

// What a list may cost: steps over tracks, places and points, beside as many as there are keys.
constexpr uint64_t kFreeSteps = 50000;
constexpr uint32_t kMostPoints = 16; // of a geometry
constexpr uint64_t kPointsInAll = 20000;

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

const kxMotionList::Clip* kxMotionList::findClip(kxStringRef name, size_t number) const
{
    for (const Clip& clip : m_clips)
        if (clip.name == name && number-- == 0)
            return &clip;
    return nullptr;
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
                    if (animation)
                        animations.push_back(animation);
            }
    for (const kxAnimation* animation : animations)
        forEachTrack(*animation,
                     [&](const kxAnimationTrack& track)
                     {
                         ++tracks;
                         keys += track.getSource() ? track.getSource()->getKeyCount() : 0;
                     });
    if (tracks == 0)
        return;

    std::deque<kxMovingGraph> graphs;
    size_t drawCount = 0;
    for (const kxSceneInfo* scene : scenes)
    {
        graphs.emplace_back(scene->getSceneGraph(), databases);
        graphs.back().choosePoints(1);
        drawCount += graphs.back().getDraws().size();
    }
    m_pointsPerGeometry =
        like && like->m_pointsPerGeometry
            ? like->m_pointsPerGeometry
            : static_cast<uint32_t>(std::clamp<uint64_t>(kPointsInAll / (drawCount + 1), 1, kMostPoints));
    size_t pointCount = 0;
    for (kxMovingGraph& graph : graphs)
    {
        graph.choosePoints(m_pointsPerGeometry);
        pointCount += graph.getPointCount();
    }
    const uint64_t perTime = tracks / animations.size() + pointCount + 1;
    const uint64_t timesPerClip = (kFreeSteps + keys) / perTime / animations.size();

    for (const kxAnimation* animation : animations)
    {
        const auto number = static_cast<size_t>(std::count_if(
            m_clips.begin(), m_clips.end(), [&](const Clip& clip) { return clip.name == animation->_name; }));
        const Clip* pattern = like ? like->findClip(animation->_name, number) : nullptr;
        Clip& clip = m_clips.emplace_back();
        clip.name = animation->_name;
        clip.times = pattern ? pattern->times : chooseTimes(*animation, timesPerClip);

        std::vector<kxMovingGraph::Clip> bound;
        uint32_t first = 0;
        for (size_t g = 0; g < graphs.size(); ++g)
        {
            bound.push_back(graphs[g].bind(*animation));
            for (const kxMovingGraph::Draw& draw : graphs[g].getDraws())
                clip.things.push_back({combineHash(g, draw.content), graphs[g].getPath(draw),
                                       first + draw.firstPoint * 3, draw.pointCount * 3, true});
            first += static_cast<uint32_t>(graphs[g].getPointCount() * 3);
        }
        std::vector<const kxValueSequence*> values;
        forEachTrack(*animation,
                     [&](const kxAnimationTrack& track)
                     {
                         const auto* source = kxCast<kxValueSequence>(track.getSource());
                         if (!source || source->getKeyCount() == 0 || !source->isWellFormed() ||
                             !source->hasRisingTimes())
                             return;
                         const std::string path = getObjectName(track._target).str() + " " + track._property.str();
                         clip.things.push_back(
                             {hashBytes(path.data(), path.size(), 1), path, first, source->getNumbersPerKey(), false});
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
}

} // namespace Kel::Opt
