// Speed of the animation optimizations: key reduction, track removal, sharing of lists. Each prints keys or tracks per second;
// the reference of a run is one pass that only reads the same keys.
#include "opt/actor/kxOptimizeActorAnimations.h"
#include "opt/actor/kxOptimizeActorKeyframes.h"
#include "opt/actor/kxReduceKeyframes.h"
#include "opt/libKXOpt.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <limits>
#include <random>

namespace
{

using namespace Kel;
using namespace Kel::Opt;

constexpr int64_t kSecond = kxTransformSequence::kTicksPerSecond;

/// What tracks do.
enum Motion
{
    STILL,  // all keys are the same
    SMOOTH, // slow movement, sampled often: most keys go
    NOISY   // no key goes
};

kxSmartPointer<kxTransformSequence1_5> makeSequence(uint32_t flags, uint32_t keyCount, Motion motion, uint32_t seed)
{
    auto sequence = kxNew<kxTransformSequence1_5>();
    sequence->_keyFlags = flags;
    sequence->_times = kxNew<kxLongList>();
    sequence->_translations = kxNew<kxVec3fList>();
    sequence->_quaternions = kxNew<kxQuatfList>();
    for (uint32_t i = 0; i < keyCount; ++i)
    {
        const double t = motion == STILL ? seed : i / (motion == SMOOTH ? 300.0 : 30.0) + seed;
        const double jump = motion == NOISY ? (i * 2654435761u % 97) * 0.01 : 0;
        const double angle = std::sin(t) + jump;
        sequence->_times->append(i * (kSecond / 30));
        if (flags & kxTransformSequence::HAS_TRANSLATIONS)
            sequence->_translations->append(
                kxVec3f(static_cast<float>(std::sin(t) + jump), static_cast<float>(std::cos(t)), 0));
        if (flags & kxTransformSequence::HAS_QUATERNIONS)
            sequence->_quaternions->append(
                kxQuatf(static_cast<float>(std::cos(angle / 2)), 0, 0, static_cast<float>(std::sin(angle / 2))));
    }
    return sequence;
}

kxSmartPointer<kxAnimationDatabase> makeDatabase(uint32_t trackCount, uint32_t keyCount, Motion motion,
                                                 uint32_t differentCount)
{
    libKXOpt_arkRegister();
    auto database = kxNew<kxAnimationDatabase>();
    const auto clip = kxNew<kxAnimation>();
    database->_animationList->append(clip);
    for (uint32_t i = 0; i < trackCount; ++i)
    {
        const auto track = kxNew<kxAnimationTrack>();
        track->_name = kxStringRef("bone" + std::to_string(i));
        track->setSource(makeSequence(1 + i % 2, keyCount, motion, i % differentCount));
        clip->_trackList->append(track);
    }
    return database;
}

int64_t keysOf(const kxAnimationDatabase& database)
{
    int64_t keys = 0;
    for (const kxAnimation* clip : *database.getAnimationList())
        for (const kxAnimationTrack* track : *clip->getTrackList())
            keys += track->getSource()->getKeyCount();
    return keys;
}

void readKeys(benchmark::State& state)
{
    const auto database = makeDatabase(1000, 1000, SMOOTH, 1000);
    for (auto _ : state)
    {
        double sum = 0;
        for (const kxAnimationTrack* track : *database->getAnimationList()->get(0)->getTrackList())
        {
            const auto* sequence = static_cast<const kxTransformSequence1_5*>(track->getSource());
            for (uint32_t i = 0; i < sequence->_translations->getCount(); ++i)
                sum += sequence->_translations->getData()[i].x;
            for (uint32_t i = 0; i < sequence->_quaternions->getCount(); ++i)
                sum += sequence->_quaternions->getData()[i].r;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * keysOf(*database));
}
BENCHMARK(readKeys)->Unit(benchmark::kMillisecond);

// Arguments: tracks, keys of each, motion, and whether all tracks share their times.
template <class Optimization>
void reduce(benchmark::State& state)
{
    int64_t keys = 0, left = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        auto database = makeDatabase(static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)),
                                     static_cast<Motion>(state.range(2)), 1000);
        keys = keysOf(*database);
        const kxAnimationTrackList& tracks = *database->_animationList->get(0)->getTrackList();
        for (uint32_t i = 1; state.range(3) && i < tracks.getCount(); ++i)
            tracks[i]->getSource()->setTimeList(tracks[0]->getSource()->getTimeList());
        const auto optimization = kxNew<Optimization>();
        state.ResumeTiming();
        optimization->applyInfo(database);
        state.PauseTiming();
        left = keysOf(*database);
        database = nullptr;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * keys);
    state.counters["kept"] = double(left) / double(keys);
}
BENCHMARK(reduce<kxReduceKeyframes>)
    ->Unit(benchmark::kMillisecond)
    ->Args({1000, 1000, STILL, 0})
    ->Args({1000, 1000, SMOOTH, 0})
    ->Args({1000, 1000, NOISY, 0})
    ->Args({1000, 1000, STILL, 1})
    ->Args({1000, 1000, SMOOTH, 1})
    ->Args({1, 1000000, STILL, 0})
    ->Args({1, 1000000, SMOOTH, 0})
    ->Args({100000, 10, SMOOTH, 0});
BENCHMARK(reduce<kxOptimizeActorKeyframes>)
    ->Unit(benchmark::kMillisecond)
    ->Args({1000, 1000, STILL, 0})
    ->Args({1000, 1000, NOISY, 0})
    ->Args({1, 1000000, STILL, 0});

// Times a step alone, without the end of what it works on. The time stands still when this is called and runs afterwards.
void timeStep(benchmark::State& state, kxOptimizeActorAnimations& step, kxSmartPointer<kxAnimationDatabase> database)
{
    state.ResumeTiming();
    step.applyInfo(database);
    state.PauseTiming();
    database = nullptr;
    state.ResumeTiming();
}

void removeUnusedTracks(benchmark::State& state)
{
    for (auto _ : state)
    {
        state.PauseTiming();
        auto database = makeDatabase(10000, 1, STILL, 1);
        std::vector<kxSmartPointer<kxNode>> bones;
        for (uint32_t i = 0; i < 100; ++i)
        {
            const auto skeleton = kxNew<kxSkeleton>();
            for (uint32_t k = 0; k < 100; ++k)
            {
                bones.push_back(kxNew<kxNode>());
                bones.back()->setName(kxStringRef("bone" + std::to_string(i * 173 + k)));
                skeleton->_bones->append(bones.back());
            }
            database->_skeletonList->append(skeleton);
        }
        const auto optimization = kxNew<kxOptimizeActorAnimations>();
        optimization->_shareAnimationData = false;
        timeStep(state, *optimization, std::move(database));
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(removeUnusedTracks)->Unit(benchmark::kMillisecond);

void shareLists(benchmark::State& state)
{
    for (auto _ : state)
    {
        state.PauseTiming();
        auto database = makeDatabase(10000, 50, SMOOTH, static_cast<uint32_t>(state.range(0)));
        const auto optimization = kxNew<kxOptimizeActorAnimations>();
        optimization->setRemoveUnusedTracks(false);
        timeStep(state, *optimization, std::move(database));
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(shareLists)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(10000);

// Lists that lie within a few tolerances of each other, or that hold no numbers: those that are hard to tell apart.
void shareCrowdedLists(benchmark::State& state)
{
    const auto trackCount = static_cast<uint32_t>(state.range(0));
    const bool isBroken = state.range(1) != 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        auto database = makeDatabase(trackCount, 0, STILL, 1);
        std::minstd_rand random(1);
        std::uniform_real_distribution<float> spread(-0.005f, 0.005f);
        for (const kxAnimationTrack* track : *database->getAnimationList()->get(0)->getTrackList())
        {
            auto* sequence = static_cast<kxTransformSequence1_5*>(track->getSource());
            sequence->_keyFlags = kxTransformSequence::HAS_TRANSLATIONS;
            for (uint32_t i = 0; i < 4; ++i)
                sequence->_translations->append(isBroken ? kxVec3f(std::numeric_limits<float>::quiet_NaN())
                                                         : kxVec3f(spread(random), spread(random), spread(random)));
        }
        const auto optimization = kxNew<kxOptimizeActorAnimations>();
        optimization->setRemoveUnusedTracks(false);
        timeStep(state, *optimization, std::move(database));
    }
    state.SetItemsProcessed(state.iterations() * trackCount);
}
BENCHMARK(shareCrowdedLists)
    ->Unit(benchmark::kMillisecond)
    ->Args({10000, 0})
    ->Args({40000, 0})
    ->Args({10000, 1})
    ->Args({40000, 1});

} // namespace

BENCHMARK_MAIN();
