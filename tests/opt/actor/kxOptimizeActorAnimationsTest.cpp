#include "opt/actor/kxOptimizeActorAnimations.h"

#include "opt/actor/kxKeyListLeaders.h"
#include "tests/opt/actor/kxActorTestTools.h"

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
