#include "opt/actor/kxOptimizeActorKeyframes.h"

#include "tests/opt/actor/kxActorTestTools.h"

namespace Kel::Opt
{
namespace
{

// A translation for each number, along x.
kxSmartPointer<kxTransformSequence1_5> translations(const std::vector<float>& values, uint32_t flags = 1)
{
    return makeSequence(flags, static_cast<uint32_t>(values.size()),
                        [&](kxTransformSequence1_5& sequence, uint32_t i)
                        { sequence._translations->append(kxVec3f(values[i], 0, 0)); });
}
// A rotation for each angle; below -1000 the same rotation with turned signs.
kxSmartPointer<kxTransformSequence1_5> rotations(const std::vector<double>& angles, uint32_t flags = 2)
{
    return makeSequence(flags, static_cast<uint32_t>(angles.size()),
                        [&](kxTransformSequence1_5& sequence, uint32_t i)
                        {
                            const bool isTurned = angles[i] < -1000;
                            const kxQuatf q = rotationAbout({0, 0, 1}, angles[i] + (isTurned ? 2000 : 0));
                            sequence._quaternions->append(isTurned ? kxQuatf(-q.r, -q.v) : q);
                        });
}

// Translations that are all alike, at times in the unit of the other keys.
kxSmartPointer<kxTransformSequence1_5> atTimes(const std::vector<int64_t>& times)
{
    auto sequence = translations(std::vector<float>(times.size(), 0));
    for (uint32_t i = 0; i < sequence->getKeyCount(); ++i)
        sequence->_times->set(i, times[i] * (kSecond / 30));
    return sequence;
}

struct KeyframesCase
{
    const char* what;
    kxSmartPointer<kxTransformSequence1_5> sequence;
    std::vector<uint32_t> kept; // numbers of the keys that stay, which are their times
    bool answer = true;
    bool isConstant = false;
};

TEST(kxOptimizeActorKeyframes, RemovesTheMiddleOfRuns)
{
    libKXOpt_arkRegister();
    using Sequence = kxTransformSequence1_5;
    auto broken = translations({0, 0, 0, 0});
    broken->_translations->removeLast();
    auto scaled = translations({0, 0, 0, 0, 0});
    scaled->_scales = kxNew<kxVec3fList>();
    for (const float scale : {1.0f, 1.0f, 1.0f, 1.0001f, 1.0001f})
        scaled->_scales->append(kxVec3f(scale));
    const KeyframesCase cases[] = {
        {"of a run the first and the last stay", translations({0, 0, 0, 0, 1}), {0, 3, 4}},
        {"also when the run is all", translations({0, 0, 0, 0}), {0, 3}},
        {"two runs", translations({0, 0, 0, 5, 5, 5, 5}), {0, 2, 3, 6}},
        {"a slow drift is caught once it exceeds the tolerance",
         translations({0, 0.0004f, 0.0008f, 0.0012f, 0.0016f, 0.002f}),
         {0, 2, 4, 5}},
        {"no run", translations({0, 1, 0, 1}), {0, 1, 2, 3}},
        {"two keys", translations({3, 3}), {0, 1}},
        {"one key", translations({3}), {0}, false},
        {"no key", translations({}), {}, false},
        {"steps", translations({0, 0, 0, 0}, 1 | Sequence::STEP), {0, 1, 2, 3}, false},
        {"another kind", translations({0, 0, 0, 0}, 1 | Sequence::CUBIC_SPLINE), {0, 1, 2, 3}, false},
        {"scales have no tolerance", scaled, {0, 2, 3, 4}},
        {"rotations that never change are constant", rotations({1, 1, 1, 1}), {0, 1, 2, 3}, true, true},
        {"two of them too", rotations({1, 1}), {0, 1}, true, true},
        {"signs do not count", rotations({1, -1999, 1, -1999, 2}), {0, 3, 4}},
        {"rotations beyond the tolerance", rotations({1, 1.000001, 1.000002, 2}), {0, 1, 2, 3}},
        {"equal rotations with translations are no constant",
         makeSequence(3, 4,
                      [](Sequence& sequence, uint32_t i)
                      {
                          sequence._quaternions->append(kxQuatf());
                          sequence._translations->append(kxVec3f(i == 3 ? 1.0f : 0.0f));
                      }),
         {0, 2, 3}},
        {"lists that do not fit", broken, {0, 1, 2, 3}, false},
        {"times that fall", atTimes({0, 30, 15, 45}), {0, 30, 15, 45}, false},
        {"equal times", atTimes({5, 5, 5, 9}), {5, 9}},
    };
    for (const KeyframesCase& c : cases)
    {
        SCOPED_TRACE(c.what);
        std::vector<int64_t> wanted;
        for (const uint32_t key : c.kept)
            wanted.push_back(key * (kSecond / 30));
        const kxSmartPointer<kxLongList> times = c.sequence->_times;
        bool isConstant = !c.isConstant;
        EXPECT_EQ(kxNew<kxOptimizeActorKeyframes>()->optimizeTransformSequence1_5(c.sequence, isConstant), c.answer);
        EXPECT_EQ(isConstant, c.isConstant);
        const kxLongList& left = *c.sequence->_times;
        EXPECT_EQ(std::vector<int64_t>(left.getData(), left.getData() + left.getCount()), wanted);
        EXPECT_EQ(&left == times.get(), left.getCount() == times->getCount()) << "new lists when keys went, only then";
    }
}

// What the loop over a list with removals does, one key at a time.
void reduceByRemoval(kxTransformSequence1_5& sequence, double translation, double angle)
{
    for (uint32_t i = 0; i + 2 < sequence.getKeyCount();)
    {
        const auto isEqual = [&](uint32_t b)
        { return sequence.compareKeyFrames(&sequence, i, b, translation, angle, 0, 0); };
        if (isEqual(i + 1) && isEqual(i + 2))
            sequence.removeKey(i + 1);
        else
            ++i;
    }
}

TEST(kxOptimizeActorKeyframes, OnePassIsTheSameAsRemovalOneByOne)
{
    libKXOpt_arkRegister();
    std::mt19937 random(4711);
    for (int round = 0; round < 300; ++round)
    {
        std::vector<float> values(3 + random() % 40);
        for (float& value : values)
            value = static_cast<float>(random() % 7) * 0.0004f;
        const auto a = translations(values), b = translations(values);
        bool isConstant = false;
        kxNew<kxOptimizeActorKeyframes>()->optimizeTransformSequence1_5(a, isConstant);
        reduceByRemoval(*b, 0.001f, 1e-7f);
        ASSERT_TRUE(a->_times->isAlike(b->_times)) << round;
        ASSERT_TRUE(a->_translations->isAlike(b->_translations)) << round;
    }
}

TEST(kxOptimizeActorKeyframes, WorksOnAnimationDatabasesOnly)
{
    TestRun run;
    const auto optimize = run.create<kxOptimizeActorKeyframes>();
    const auto database = kxNew<kxAnimationDatabase>();
    kxAnimation* clip = addClip(*database);
    const auto sequence = translations({0, 0, 0, 0});
    addTrack(clip, "a", sequence);
    addTrack(clip, "shares the times", translations({1, 2, 3, 4}));
    clip->getAnimationTrack(1)->getSource()->setTimeList(sequence->getTimeList());
    addTrack(clip, "empty", kxNew<kxTransformSequence>());
    addTrack(clip, "empty too", translations({}));
    addTrack(clip, "none", nullptr);
    addTrack(clip, "numbers", kxNew<kxValueSequence>());
    clip->getAnimationTrack(2)->_constant = clip->getAnimationTrack(4)->_constant = kxQuatf(0, 1, 0, 0);
    clip->getAnimationTrack(5)->getSource()->setTimeList(sequence->getTimeList());

    EXPECT_FALSE(optimize->applyInfo(kxNew<kxSceneInfo>()));
    EXPECT_FALSE(optimize->canOptimize(kxNew<kxSceneInfo>().get()));
    EXPECT_TRUE(optimize->canOptimize(database.get()));
    EXPECT_TRUE(optimize->applyInfo(database));
    EXPECT_EQ(sequence->getKeyCount(), 2u);
    EXPECT_EQ(clip->getAnimationTrack(1)->getSource()->getKeyCount(), 4u) << "its times were shared, not its keys";
    EXPECT_EQ(clip->getAnimationTrack(2)->getSource(), nullptr);
    EXPECT_EQ(clip->getAnimationTrack(2)->_constant, kxQuatf(1, 0, 0, 0));
    EXPECT_EQ(clip->getAnimationTrack(3)->getSource(), nullptr);
    EXPECT_EQ(clip->getAnimationTrack(4)->_constant, kxQuatf(0, 1, 0, 0)) << "it had no keys before";
    EXPECT_NE(clip->getAnimationTrack(5)->getSource(), nullptr);

    clip->_trackList = nullptr;
    EXPECT_FALSE(optimize->optimizeAnimation(clip));
    EXPECT_TRUE(optimize->applyInfo(database));
}

} // namespace
} // namespace Kel::Opt
