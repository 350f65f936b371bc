#include "opt/actor/kxOptimizeActorAnimations.h"

#include "opt/actor/kxKeyListLeaders.h"
#include "tests/opt/actor/kxActorTestTools.h"

#include <functional>
#include <limits>

namespace Kel::Opt
{
namespace
{

using Sequence = kxTransformSequence1_5;

std::vector<std::string> trackNames(const kxAnimation& clip)
{
    std::vector<std::string> names;
    for (const kxAnimationTrack* track : *clip.getTrackList())
        names.push_back(track->getName().str());
    return names;
}

TEST(kxOptimizeActorAnimations, RemovesTracksWithoutABone)
{
    TestRun run;
    const NamedScene scene("Group(Group \"hip\"(Group \"knee\"), Group \"other\")");
    const auto database = kxNew<kxAnimationDatabase>();
    for (const std::vector<const char*>& bones : {std::vector{"hip"}, std::vector{"hip", "knee"}})
    {
        auto skeleton = kxNew<kxSkeleton>();
        for (const char* bone : bones)
            skeleton->_bones->append(scene[bone]);
        database->_skeletonList->append(skeleton);
    }
    EXPECT_EQ(database->_skeletonList->get(1)->findBone("knee"), 1);
    EXPECT_EQ(database->_skeletonList->get(0)->findBone("knee"), -1);
    kxAnimation* clip = addClip(*database);
    for (const char* name : {"x", "hip", "y", "y", "knee", "other", "hip", "z"})
        addTrack(clip, name, nullptr);
    EXPECT_EQ(clip->findTrack("other"), clip->getAnimationTrack(5));
    addTrack(addClip(*database), "knee", nullptr);
    addClip(*database)->_trackList = nullptr;
    auto property = kxNew<kxAnimationTrack>();
    clip->_propertyTrackList->append(property);

    const auto optimize = run.create<kxOptimizeActorAnimations>();
    optimize->setRemoveUnusedTracks(false);
    EXPECT_TRUE(optimize->applyInfo(database));
    EXPECT_EQ(clip->getTrackCount(), 8u);
    optimize->setRemoveUnusedTracks(true);
    EXPECT_TRUE(optimize->applyInfo(database));
    EXPECT_EQ(trackNames(*clip), (std::vector<std::string>{"hip", "knee", "hip"}));
    EXPECT_EQ(clip->findTrack("other"), nullptr) << "bound again";
    EXPECT_EQ(clip->_propertyTrackList->getCount(), 1u) << "what drives no bone is not looked for among the bones";
    EXPECT_EQ(optimize->getCounters()[0].value, 5);
    EXPECT_FALSE(optimize->removeUnusedTracks(database->_skeletonList, clip));
    EXPECT_TRUE(optimize->removeUnusedTracks(kxNew<kxSkeletonList>(), clip));
    EXPECT_FALSE(optimize->removeUnusedTracks(nullptr, clip)) << "no track is left";
    EXPECT_FALSE(optimize->applyInfo(kxNew<kxSceneInfo>()));
}

TEST(kxOptimizeActorAnimations, SharesEqualLists)
{
    TestRun run;
    const struct
    {
        const char* what;
        const char* first;
        const char* second;
        const char* shared; // which lists are the same afterwards
    } cases[] = {
        {"equal lists", "[keyFlags=3 times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]",
         "[keyFlags=3 times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]", "tqt"},
        {"within the tolerances", "[keyFlags=3 times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]",
         "[keyFlags=3 times=(1,100002) translations=0,0,0;1,1.0009,1 quaternions=-1,0,0,0;0,1,0,0]", "tqt"},
        {"beyond the tolerances", "[keyFlags=3 times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]",
         "[keyFlags=3 times=(1,100003) translations=0,0,0;1,1.002,1 quaternions=-1,0,0,0.0001;0,1,0,0]", ""},
        {"times are shared without flags, the others are not",
         "[times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]",
         "[keyFlags=3 times=(1,2) translations=0,0,0;1,1,1 quaternions=1,0,0,0;0,1,0,0]", "t"},
        {"other lengths", "[keyFlags=1 times=(1,2) translations=0,0,0;1,1,1]",
         "[keyFlags=1 times=(1) translations=0,0,0]", ""},
        {"no lists", "[keyFlags=3]", "[keyFlags=3]", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const auto track = [](const char* text)
        { return std::string("AnimationTrack[source=TransformSequence1_5").append(text).append("]"); };
        const auto database =
            parseClips("Animation[trackList=(" + track(c.first) + ")],Animation[trackList=(" + track(c.second) + ")]");
        ASSERT_TRUE(database);
        const auto optimize = run.create<kxOptimizeActorAnimations>();
        optimize->setRemoveUnusedTracks(false);
        EXPECT_TRUE(optimize->applyInfo(database));
        const Sequence *a = sequenceOf(*database, 0), *b = sequenceOf(*database, 0, 1);
        std::string shared;
        shared += a->_translations && a->_translations == b->_translations ? "t" : "";
        shared += a->_quaternions && a->_quaternions == b->_quaternions ? "q" : "";
        shared += a->_times && a->_times == b->_times ? "t" : "";
        EXPECT_EQ(shared, c.shared);
        optimize->_shareAnimationData = true;
        const size_t counted = optimize->getCounters().size();
        EXPECT_TRUE(optimize->applyInfo(database));
        EXPECT_EQ(optimize->getCounters().size(), counted) << "a second time shares nothing more";
    }
}

// Small values in several lengths, many of them within the tolerances of each other, and lists that are shared already.
kxSmartPointer<kxAnimationDatabase> randomDatabase(uint32_t seed)
{
    std::mt19937 random(seed);
    auto database = kxNew<kxAnimationDatabase>();
    const auto number = [&](uint32_t range) { return static_cast<uint32_t>(random() % range); };
    for (uint32_t c = 0; c < 3; ++c)
    {
        kxAnimation* clip = addClip(*database);
        for (uint32_t t = 0; t < 12; ++t)
        {
            const auto sequence = makeSequence(
                number(4) | (number(8) == 0 ? 4 : 0), 1 + number(3),
                [&](Sequence& s, uint32_t i)
                {
                    s._translations->append(kxVec3f(static_cast<float>(number(5)) * 0.0006f, 0, static_cast<float>(i)));
                    const kxQuatf q = rotationAbout({1, 2, 3}, number(5) * 0.6e-5);
                    s._quaternions->append(number(2) ? q : kxQuatf(-q.r, -q.v));
                    s._times->set(i, i * kSecond + number(4) * 60000);
                });
            if (number(6) == 0 && clip->getTrackCount())
                sequence->_times = kxCast<Sequence>(clip->getAnimationTrack(0)->getSource())->_times;
            addTrack(clip, "", sequence);
        }
        addTrack(clip, "", clip->getAnimationTrack(number(12))->getSource());
    }
    return database;
}

// Lists by the number of the first sequence that has the same.
std::string sharingOf(const kxAnimationDatabase& database)
{
    std::map<const kxObject*, size_t> numbers;
    std::string text;
    for (const kxAnimation* clip : *database.getAnimationList())
        for (const kxAnimationTrack* track : *clip->getTrackList())
        {
            const auto* sequence = static_cast<const Sequence*>(track->getSource());
            for (const kxObject* list : std::initializer_list<const kxObject*>{
                     sequence->_translations, sequence->_quaternions, sequence->_times})
                text += std::to_string(numbers.try_emplace(list, numbers.size()).first->second) + " ";
        }
    return text;
}

TEST(kxOptimizeActorAnimations, AllAtOnceIsTheSameAsEveryPair)
{
    libKXOpt_arkRegister();
    for (uint32_t seed = 1; seed <= 60; ++seed)
    {
        const auto a = randomDatabase(seed), b = randomDatabase(seed);
        const auto optimize = kxNew<kxOptimizeActorAnimations>();
        optimize->setRemoveUnusedTracks(false);
        optimize->applyInfo(a);
        for (const kxAnimation* clip : *b->getAnimationList())
            for (const kxAnimationTrack* track : *clip->getTrackList())
                for (kxAnimation* other : *b->getAnimationList())
                    optimize->removeDuplicateSequenceLists(static_cast<Sequence*>(track->getSource()), other);
        ASSERT_EQ(sharingOf(*a), sharingOf(*b)) << seed;
    }
}

TEST(kxOptimizeActorAnimations, ComparesFewLists)
{
    libKXOpt_arkRegister();
    std::mt19937 random(1);
    std::vector<kxSmartPointer<Sequence>> sequences;
    kxKeyListLeaders translations(kxKeyListLeaders::TRANSLATIONS, 0.001),
        rotations(kxKeyListLeaders::QUATERNIONS, 1e-5);
    for (int i = 0; i < 3000; ++i)
    {
        sequences.push_back(
            makeSequence(3, 20,
                         [&](Sequence& s, uint32_t key)
                         {
                             const double phase = i % 1000 + static_cast<double>(random()) * 1e-16;
                             s._translations->append(kxVec3f(static_cast<float>(std::sin(phase + key)), 0, 0));
                             s._quaternions->append(rotationAbout({1, 0, 1}, std::sin(phase * 3 + key)));
                         }));
        translations.find(sequences.back());
        rotations.find(sequences.back());
    }
    EXPECT_EQ(translations.find(sequences[2345]), sequences[345].get());
    EXPECT_EQ(rotations.find(sequences[2345]), sequences[345].get());
    // A fiftieth of all pairs.
    EXPECT_LT(translations.getComparisonCount() + rotations.getComparisonCount(), 180000u);
}

// Lists that a mean does not tell apart, or nothing does.
TEST(kxOptimizeActorAnimations, ComparesFewOfCrowdedAndBrokenLists)
{
    libKXOpt_arkRegister();
    constexpr uint32_t kCount = 4000;
    const auto nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    std::mt19937 random(2);
    const auto spread = [&](float size) { return (static_cast<float>(random() % 20001) / 10000 - 1) * size; };
    const struct
    {
        const char* what;
        uint32_t keyCount;
        std::function<void(Sequence&, uint32_t, uint32_t)> fill; // sequence, its number, key
        uint64_t most;                                           // comparisons
    } cases[] = {
        {"within five times the tolerance", 4,
         [&](Sequence& s, uint32_t, uint32_t)
         {
             s._translations->append(kxVec3f(spread(0.005f), spread(0.005f), spread(0.005f)));
             s._quaternions->append(rotationAbout({spread(1), spread(1), spread(1)}, spread(5e-5f)));
         },
         kCount * 40},
        {"one key of many differs", 200,
         [&](Sequence& s, uint32_t i, uint32_t key)
         {
             const bool isIt = key == 147;
             s._translations->append(kxVec3f(0, isIt ? static_cast<float>(i) * 0.005f : 0, 0));
             s._quaternions->append(rotationAbout({1, 2, 3}, isIt ? i * 5e-5 : 1));
         },
         kCount * 40},
        {"first and last key alike, means alike", 10,
         [&](Sequence& s, uint32_t i, uint32_t key)
         {
             const double bend = key == 4 ? i * 0.01 : key == 5 ? i * -0.01 : 0;
             s._translations->append(kxVec3f(static_cast<float>(bend), 0, 0));
             s._quaternions->append(rotationAbout({0, 1, 0}, bend * 0.01));
         },
         kCount * 40},
        {"no numbers", 4,
         [&](Sequence& s, uint32_t i, uint32_t key)
         {
             const float broken = i % 3 ? nan : i % 2 ? infinity : -infinity;
             s._translations->append(key == 2 ? kxVec3f(0, broken, 0) : kxVec3f(0));
             s._quaternions->append(key == 2 ? kxQuatf(broken, 0, 0, 1) : kxQuatf());
         },
         0},
    };
    for (const auto& c : cases)
        for (const auto kind : {kxKeyListLeaders::TRANSLATIONS, kxKeyListLeaders::QUATERNIONS})
        {
            SCOPED_TRACE(c.what);
            kxKeyListLeaders leaders(kind, kind == kxKeyListLeaders::TRANSLATIONS ? 0.001 : 1e-5);
            std::vector<kxSmartPointer<Sequence>> sequences;
            uint32_t leaderCount = 0;
            for (uint32_t i = 0; i < kCount; ++i)
            {
                sequences.push_back(makeSequence(3, c.keyCount, [&](Sequence& s, uint32_t key) { c.fill(s, i, key); }));
                leaderCount += leaders.find(sequences.back()) == sequences.back().get() ? 1 : 0;
            }
            EXPECT_GT(leaderCount, kCount * 9 / 10);
            EXPECT_LE(leaders.getComparisonCount(), c.most) << kind;
            // A list is the same as itself, also when it is no equal of itself.
            const auto again = kxNew<Sequence>();
            again->_keyFlags = 3;
            again->_translations = sequences[7]->_translations;
            again->_quaternions = sequences[7]->_quaternions;
            EXPECT_EQ(leaders.find(again), sequences[7].get());
        }
}

// Against a look at every leader, with so many that they are told apart in several steps.
TEST(kxOptimizeActorAnimations, FindsTheFirstEqualOfMany)
{
    libKXOpt_arkRegister();
    std::mt19937 random(3);
    // Multiples of a third of the tolerance: many pairs are at its edge.
    const auto step = [&](float size) { return static_cast<float>(static_cast<int>(random() % 9) - 4) * size / 3; };
    std::vector<kxSmartPointer<Sequence>> sequences;
    for (uint32_t i = 0; i < 1500; ++i)
        sequences.push_back(
            makeSequence(3 | (i % 4 == 0 ? Sequence::CUBIC_SPLINE : 0), 3,
                         [&](Sequence& s, uint32_t key)
                         {
                             s._translations->append(kxVec3f(step(0.001f), 1000 + step(0.001f), step(0.001f)));
                             const kxQuatf q = rotationAbout({1 + step(6e-6f), step(6e-6f), 0.5f}, 3 + step(1e-5f));
                             s._quaternions->append(random() % 2 ? q : kxQuatf(-q.r, -q.v));
                             s._times->set(key, (1ll << 61) + int64_t(random() % 25) * 50000);
                         }));
    const auto check = [&](kxKeyListLeaders leaders, auto isEqual)
    {
        std::vector<const Sequence*> wanted;
        for (const auto& sequence : sequences)
        {
            const auto first = std::find_if(wanted.begin(), wanted.end(),
                                            [&](const Sequence* leader) { return isEqual(leader, sequence.get()); });
            const Sequence* leader = first == wanted.end() ? sequence.get() : *first;
            if (first == wanted.end())
                wanted.push_back(leader);
            ASSERT_EQ(leaders.find(sequence), leader);
        }
        EXPECT_GT(wanted.size(), 200u);
        EXPECT_LT(wanted.size(), sequences.size() * 19 / 20);
    };
    check(kxKeyListLeaders(kxKeyListLeaders::TRANSLATIONS, 0.001),
          [](auto* a, auto* b) { return a->compareTranslationLists(b, 0.001); });
    check(kxKeyListLeaders(kxKeyListLeaders::QUATERNIONS, 1e-5),
          [](auto* a, auto* b) { return a->compareQuaternionLists(b, 1e-5); });
    check(kxKeyListLeaders(50000), [](auto* a, auto* b) { return a->compareTimeLists(b, 50000); });
}

TEST(kxOptimizeActorAnimations, TheLargestTimeToleranceHoldsForAllTimes)
{
    libKXOpt_arkRegister();
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    const auto at = [](int64_t a, int64_t b)
    {
        auto sequence = makeSequence(0, 2, [](Sequence&, uint32_t) {});
        sequence->_times->set(0, a);
        sequence->_times->set(1, b);
        return sequence;
    };
    const auto first = at(0, kSecond), late = at(kMost - 1, kMost), early = at(-kMost, 5);
    const auto other = at(-1, kMost - 2);
    kxKeyListLeaders all(kMost), most(kMost - 1), exact(0), none(-1);
    for (kxKeyListLeaders* leaders : {&all, &most, &exact, &none})
        EXPECT_EQ(leaders->find(first), first.get());
    EXPECT_EQ(all.find(late), first.get());
    EXPECT_EQ(all.find(early), first.get());
    EXPECT_EQ(most.find(late), first.get());
    EXPECT_EQ(most.find(early), early.get()) << "a tick too far";
    EXPECT_EQ(most.find(other), first.get());
    EXPECT_EQ(exact.find(late), late.get());
    EXPECT_EQ(exact.find(at(kMost - 1, kMost)), late.get());
    const auto neighbour = at(kMost - 2, kMost);
    EXPECT_EQ(exact.find(neighbour), neighbour.get()) << "a double does not tell them apart";
    EXPECT_EQ(none.find(first), first.get());
}

TEST(kxOptimizeActorAnimations, SharingEndsSoonWhenCancelled)
{
    class Service : public kxOptInterface
    {
    public:
        bool getOptCancelState() override { return ++m_polls > 2; }
        int m_polls = 0;
    };
    const auto service = kxNew<Service>();
    TestRun run(service.get());
    const auto database = kxNew<kxAnimationDatabase>();
    kxAnimation* clip = addClip(*database);
    for (int i = 0; i < 2000; ++i)
        addTrack(clip, "", makeSequence(0, 1, [](Sequence&, uint32_t) {}));
    const auto optimize = run.create<kxOptimizeActorAnimations>();
    optimize->setRemoveUnusedTracks(false);
    EXPECT_FALSE(optimize->applyInfo(database));
    EXPECT_EQ(sequenceOf(*database, 100)->_times, sequenceOf(*database, 0)->_times);
    EXPECT_NE(sequenceOf(*database, 1900)->_times, sequenceOf(*database, 0)->_times);
}

TEST(kxOptimizeActorAnimations, ReadsTheTimeToleranceWithAllItsBits)
{
    TestRun run;
    for (const auto& [text, wanted] : {std::pair<const char*, int64_t>{"_timeTolerance = 50000000000", 50000000000},
                                       {"timeTolerance = -7", -7},
                                       {"timeTolerance = soon", 100000},
                                       {"other = 1", 100000}})
    {
        const auto optimize = run.create<kxOptimizeActorAnimations>();
        optimize->setRegistry(TestRun::parseScript((std::string("[A]\n") + text + "\n").c_str()));
        EXPECT_TRUE(optimize->configure(optimize->getRegistry()->findSection("A")));
        EXPECT_EQ(optimize->getTimeTolerance(), wanted) << text;
    }
}

} // namespace
} // namespace Kel::Opt
