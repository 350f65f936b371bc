#include "opt/actor/kxReduceKeyframes.h"

#include "tests/opt/actor/kxActorTestTools.h"

#include <gmock/gmock.h>
#include <numbers>

namespace Kel::Opt
{
namespace
{

using Sequence = kxTransformSequence1_5;
constexpr double kPi = std::numbers::pi;

kxSmartPointer<Sequence> translations(const std::vector<float>& values, uint32_t flags = 0)
{
    return makeSequence(Sequence::HAS_TRANSLATIONS | flags,
                        static_cast<uint32_t>(values.size() / (flags & Sequence::CUBIC_SPLINE ? 3 : 1)),
                        [&](Sequence& sequence, uint32_t i)
                        {
                            const uint32_t perKey = sequence.getValuesPerKey();
                            for (uint32_t k = 0; k < perKey; ++k)
                                sequence._translations->append(kxVec3f(0, values[i * perKey + k], 0));
                        });
}
kxSmartPointer<Sequence> rotations(const std::vector<double>& degrees, uint32_t flags = 0)
{
    return makeSequence(Sequence::HAS_QUATERNIONS | flags, static_cast<uint32_t>(degrees.size()),
                        [&](Sequence& sequence, uint32_t i)
                        {
                            const kxQuatf q = rotationAbout({1, 1, 0}, degrees[i] * kPi / 180);
                            sequence._quaternions->append(i % 3 == 1 ? kxQuatf(-q.r, -q.v) : q);
                        });
}
// A spline through a cubic, whose tangents are its own; `bump` moves one value off it.
kxSmartPointer<Sequence> cubic(uint32_t keyCount, uint32_t bumped, float bump)
{
    std::vector<float> values;
    for (uint32_t i = 0; i < keyCount; ++i)
    {
        const double t = i / 30.0;
        const auto slope = static_cast<float>(3 * t * t - 2);
        values.insert(values.end(),
                      {slope, static_cast<float>(t * t * t - 2 * t) + (i == bumped ? bump : 0.0f), slope});
    }
    return translations(values, Sequence::CUBIC_SPLINE);
}
kxSmartPointer<Sequence> atTimes(kxSmartPointer<Sequence> sequence, const std::vector<int64_t>& times)
{
    sequence->_times = kxNew<kxLongList>();
    for (const int64_t time : times)
        sequence->_times->append(time);
    return sequence;
}

std::vector<uint32_t> range(uint32_t first, uint32_t end)
{
    std::vector<uint32_t> numbers;
    for (; first < end; ++first)
        numbers.push_back(first);
    return numbers;
}

TEST(kxReduceKeyframes, RemovesWhatInterpolationGivesBack)
{
    TestRun run;
    std::vector<double> turns, fastTurns;
    for (int i = 0; i <= 24; ++i)
    {
        turns.push_back(i * 30.0);
        fastTurns.push_back(i * 180.0);
    }
    const struct
    {
        const char* what;
        kxSmartPointer<Sequence> sequence;
        std::vector<uint32_t> kept;
    } cases[] = {
        {"a straight line", translations({0, 1, 2, 3, 4}), {0, 4}},
        {"nothing moves", translations({7, 7, 7}), {0, 2}},
        {"a corner", translations({0, 1, 2, 1, 0}), {0, 2, 4}},
        {"a bump within the tolerance", translations({0, 1, 2.00005f, 3, 4}), {0, 4}},
        {"and beyond it", translations({0, 1, 2.0003f, 3, 4}), {0, 1, 2, 3, 4}},
        {"two keys", translations({0, 0}), {0, 1}},
        {"steps that repeat", translations({0, 0, 1, 1, 1, 0}, Sequence::STEP), {0, 2, 5}},
        {"steps that climb a line stay", translations({0, 1, 2, 3}, Sequence::STEP), {0, 1, 2, 3}},
        {"a turn at even speed, whatever the signs", rotations({0, 10, 20, 30, 40}), {0, 4}},
        {"a turn that goes back", rotations({0, 10, 20, 10, 0}), {0, 2, 4}},
        {"no step gets half a turn long", rotations(turns), {0, 5, 10, 15, 20, 24}},
        {"half turns stay", rotations(fastTurns), range(0, 25)},
        {"a cubic in pieces", cubic(20, 99, 0), {0, 19}},
        {"with a bump", cubic(20, 9, 0.01f), {0, 8, 9, 10, 19}},
        {"no number", translations({0, 0, NAN, 0, 0, 0}), {0, 1, 2, 3, 5}},
        {"infinite", translations({0, 0, INFINITY, INFINITY, 0, 0}), {0, 1, 2, 3, 4, 5}},
        {"times that stand still are left alone", atTimes(translations({0, 0, 0, 0}), {0, 1, 1, 2}), {0, 1, 2, 3}},
        {"times that turn round too", atTimes(translations({0, 0, 0, 0}), {0, 2, 1, 3}), {0, 1, 2, 3}},
        {"uneven times",
         atTimes(translations({0, 1, 4, 5, 5}), {0, kSecond, kSecond * 4, kSecond * 5, kSecond * 6}),
         {0, 3, 4}},
        {"lists together",
         makeSequence(3, 5,
                      [](Sequence& s, uint32_t i)
                      {
                          s._translations->append(kxVec3f(i == 1 ? 1.0f : 0.0f));
                          s._quaternions->append(rotationAbout({0, 1, 0}, i == 3 ? 1 : 0));
                      }),
         range(0, 5)},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        std::vector<int64_t> wanted;
        for (const uint32_t key : c.kept)
            wanted.push_back(c.sequence->_times->get(key));
        const kxSmartPointer<kxLongList> times = c.sequence->_times;
        const auto database = kxNew<kxAnimationDatabase>();
        addTrack(addClip(*database), "a", c.sequence);
        const auto reduce = run.create<kxReduceKeyframes>();
        EXPECT_TRUE(reduce->configure(0));
        EXPECT_TRUE(reduce->applyInfo(database));
        const kxLongList& left = *c.sequence->_times;
        EXPECT_EQ(std::vector<int64_t>(left.getData(), left.getData() + left.getCount()), wanted);
        EXPECT_EQ(&left == times.get(), left.getCount() == times->getCount());
        ASSERT_EQ(reduce->getTrackResults().size(), 1u);
        EXPECT_EQ(reduce->getTrackResults()[0].keysAfter, wanted.size());
    }
}

TEST(kxReduceKeyframes, SaysWhatItDidAndWhatItLeftAlone)
{
    TestRun run;
    const auto reduce = run.create<kxReduceKeyframes>();
    const auto database = kxNew<kxAnimationDatabase>();
    kxAnimation* clip = addClip(*database);
    clip->_name = "walk";
    addTrack(clip, "hip", translations({0, 1, 2.00005f, 3, 4}));
    const auto broken = translations({0, 0, 0});
    broken->_translations->removeLast();
    addTrack(clip, "knee", broken);
    addTrack(clip, "toe", nullptr);
    addTrack(clip, "heel", kxNew<kxTransformSequence>());
    EXPECT_TRUE(reduce->applyInfo(database));
    EXPECT_EQ(run.takeText(), "\t\t3 of 8 keys removed from 1 of 3 tracks\n"
                              "\t\twalk / hip: 2 of 5 keys, translation off by up to 5.01e-05\n");
    EXPECT_NEAR(reduce->getTrackResults()[0].errors.translation, 5e-5, 1e-6);
    ASSERT_EQ(reduce->getRefusals().size(), 1u);
    EXPECT_EQ(reduce->getRefusals()[0].reason, "keys and values of different number");
    EXPECT_TRUE(reduce->applyInfo(database));
    EXPECT_EQ(run.takeText(), "");
    EXPECT_FALSE(reduce->applyInfo(kxNew<kxSceneInfo>()));
    EXPECT_FALSE(reduce->canOptimize(kxNew<kxSceneInfo>().get()));
    reduce->_scaleTolerance = NAN;
    EXPECT_FALSE(reduce->configure(0));
    EXPECT_EQ(run.takeText(), "ERROR: kxReduceKeyframes needs tolerances of 0 or more\n");
}

// Bytes of the lists that the tracks hold, as a file has them: each once, 200 bytes of text for each.
uint64_t bytesOf(const kxAnimationDatabase& database)
{
    std::map<const kxObject*, uint64_t> lists;
    for (const kxAnimation* clip : *database.getAnimationList())
        for (const kxAnimationTrack* track : *clip->getTrackList())
            forEachKeyList(*track->getSource(), [&](const auto& list, uint64_t bytesPerKey)
                           { lists[list.get()] = 200 + bytesPerKey * track->getSource()->getKeyCount(); });
    uint64_t sum = 0;
    for (const auto& [list, bytes] : lists)
        sum += bytes;
    return sum;
}

TEST(kxReduceKeyframes, SharedListsAreSplitOnlyWhereItPays)
{
    TestRun run;
    std::mt19937 random(5);
    const auto noise = [&](uint32_t count, uint32_t calmFrom)
    {
        std::vector<float> values(count, 0.5f);
        for (uint32_t i = 0; i < std::min(count, calmFrom); ++i)
            values[i] = static_cast<float>(random() % 1000);
        return values;
    };
    const struct
    {
        const char* what;
        std::vector<uint32_t> noisy; // keys at the beginning of each track that do not go, of 400
        std::vector<uint32_t> kept;  // number that stay
        size_t timeLists;
    } cases[] = {
        {"all calm: one list for all", {0, 0, 0}, {2, 2, 2}, 1},
        {"one that needs all keys: the others get a list of their own", {400, 0, 0}, {400, 2, 2}, 2},
        {"all need all", {400, 400, 400}, {400, 400, 400}, 1},
        {"little to gain: together", {380, 378, 379}, {382, 382, 382}, 1},
        {"little to gain for two, much for one", {380, 379, 30}, {382, 382, 32}, 2},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const auto database = kxNew<kxAnimationDatabase>();
        kxAnimation* clip = addClip(*database);
        for (const uint32_t noisy : c.noisy)
            addTrack(clip, "", translations(noise(400, noisy)));
        for (kxAnimationTrack* track : *clip->getTrackList())
            track->getSource()->_times = clip->getAnimationTrack(0)->getSource()->_times;
        const uint64_t before = bytesOf(*database);
        run.create<kxReduceKeyframes>()->applyInfo(database);
        std::vector<uint32_t> kept;
        std::map<const kxObject*, int> timeLists;
        for (const kxAnimationTrack* track : *clip->getTrackList())
        {
            kept.push_back(track->getSource()->getKeyCount());
            ++timeLists[track->getSource()->_times];
            EXPECT_TRUE(track->getSource()->isWellFormed());
        }
        EXPECT_EQ(kept, c.kept);
        EXPECT_EQ(timeLists.size(), c.timeLists);
        EXPECT_LE(bytesOf(*database), before);
    }
}

// Random clips of every kind of keys, smooth enough that some go, with lists shared at random.
class RandomClips
{
public:
    explicit RandomClips(uint32_t seed) : m_random(seed)
    {
        kxAnimation* clip = addClip(*database);
        for (uint32_t i = 0; i < 12; ++i)
        {
            const auto sequence = number(4) ? makeTransforms() : makeNumbers();
            addTrack(clip, "", sequence);
            const auto* other = clip->getAnimationTrack(number(i + 1))->getSource();
            if (number(2) && other->getKeyCount() == sequence->getKeyCount())
                sequence->_times = other->_times;
        }
    }
    const kxSmartPointer<kxAnimationDatabase> database = kxNew<kxAnimationDatabase>();

private:
    uint32_t number(uint32_t range) { return static_cast<uint32_t>(m_random() % range); }
    double real(double size) { return (number(2001) / 1000.0 - 1) * size; }
    // Sums of waves, pieces of lines and noise at the size of the tolerance.
    std::function<double(double)> curve()
    {
        const double a = real(1), b = real(3), c = real(2), d = number(3) == 0 ? 1e-4 : 0, e = number(2) ? real(2) : 0;
        const double corner = number(20) / 10.0;
        return [=, this](double t) { return a * t + e * std::sin(b * t + c) + std::abs(t - corner) * c + real(d); };
    }
    kxSmartPointer<kxLongList> makeTimes(uint32_t keyCount)
    {
        auto times = kxNew<kxLongList>();
        int64_t time = number(3) * kSecond / 7;
        for (uint32_t i = 0; i < keyCount;
             ++i, time += kSecond / 30 + (number(4) ? 0 : number(1000) * (kSecond / 5000)))
            times->append(time);
        return times;
    }
    uint32_t kind()
    {
        const uint32_t kinds[] = {0, 0, 0, kxTransformSequence::STEP, kxTransformSequence::CUBIC_SPLINE};
        return kinds[number(5)];
    }
    // One number of every value; for splines the tangents are the slopes.
    template <class Store>
    void fill(const kxTransformSequence& sequence, const std::function<double(double)>& at, Store store)
    {
        for (uint32_t i = 0; i < sequence.getKeyCount(); ++i)
        {
            const double t = double(sequence._times->get(i)) / double(kSecond);
            if (sequence.isCubicSpline())
            {
                const double slope = (at(t + 1e-4) - at(t - 1e-4)) / 2e-4;
                store(i * 3, number(10) ? slope : real(1));
                store(i * 3 + 1, at(t));
                store(i * 3 + 2, slope);
            }
            else
                store(i, sequence.isStep() ? std::round(at(t)) : at(t));
        }
    }
    kxSmartPointer<kxTransformSequence> makeTransforms()
    {
        auto s = kxNew<Sequence>();
        s->_keyFlags = (1 + number(3)) | kind();
        s->_times = makeTimes(2 + number(3) * 20);
        const uint32_t valueCount = s->getKeyCount() * s->getValuesPerKey();
        s->_translations = kxNew<kxVec3fList>();
        s->_quaternions = kxNew<kxQuatfList>();
        std::vector<double> x(valueCount), y(valueCount), angle(valueCount);
        fill(*s, curve(), [&](uint32_t i, double value) { x[i] = value; });
        fill(*s, curve(), [&](uint32_t i, double value) { y[i] = value; });
        fill(*s, curve(), [&](uint32_t i, double value) { angle[i] = value; });
        for (uint32_t i = 0; i < valueCount; ++i)
        {
            s->_translations->append(kxVec3f(static_cast<float>(x[i]), static_cast<float>(y[i]), 1));
            if (s->isCubicSpline()) // around (1, 0, 0, 0), so that the curve stays away from zero
                s->_quaternions->append(kxQuatf(i % 3 == 1 ? 2.0f : 0.0f, static_cast<float>(x[i]) * 0.1f,
                                                static_cast<float>(angle[i]) * 0.1f, 0));
            else
            {
                const kxQuatf q = rotationAbout({1, static_cast<float>(x[i] * 0.1), 2}, angle[i] * 2);
                s->_quaternions->append(number(3) ? q : kxQuatf(-q.r, -q.v));
            }
        }
        return s;
    }
    kxSmartPointer<kxTransformSequence> makeNumbers()
    {
        auto s = kxNew<kxValueSequence>();
        s->_keyFlags = kind();
        s->_times = makeTimes(2 + number(3) * 20);
        std::vector<float> values(s->getKeyCount() * s->getValuesPerKey() * 2);
        const uint32_t parts = s->getValuesPerKey();
        for (uint32_t n = 0; n < 2; ++n)
            fill(*s, curve(),
                 [&](uint32_t i, double value)
                 { values[(i / parts * parts + i % parts) * 2 + n] = static_cast<float>(value); });
        s->_values = kxNew<kxVertexArray>();
        s->_values->_count = static_cast<int64_t>(values.size());
        s->_values->_stride = 4;
        s->_values->_data = kxMemoryBlock::copyOf(values.data(), values.size() * 4);
        return s;
    }

    std::mt19937 m_random;
};

// The largest difference of what two sequences give, at many times between the keys.
kxKeyTolerances differenceOf(const kxTransformSequence& a, const kxTransformSequence& b)
{
    kxKeyTolerances largest = {};
    const auto note = [](double& error, double found) { error = std::max(error, found); };
    const kxLongList& times = *a._times;
    for (uint32_t i = 0; i + 1 < times.getCount(); ++i)
        for (int part = 0; part < 16; ++part)
        {
            const int64_t time = times[i] + (times[i + 1] - times[i]) * part / 16;
            if (const auto* transforms = kxCast<Sequence>(&a))
            {
                const kxTransformSample x = transforms->sample(time), y = static_cast<const Sequence&>(b).sample(time);
                if (x.translation)
                    note(largest.translation, (*x.translation - *y.translation).length());
                if (x.rotation)
                    note(largest.rotation, rotationDifference(*x.rotation, *y.rotation));
                continue;
            }
            std::vector<double> x, y;
            static_cast<const kxValueSequence&>(a).sample(time, x);
            static_cast<const kxValueSequence&>(b).sample(time, y);
            for (size_t n = 0; n < x.size(); ++n)
                note(largest.value, std::abs(x[n] - y[n]));
        }
    return largest;
}

TEST(kxReduceKeyframes, StaysWithinTheTolerancesAtAllTimes)
{
    TestRun run;
    int64_t keys = 0, removed = 0;
    double tightest = 0;
    for (uint32_t seed = 1; seed <= 150; ++seed)
    {
        SCOPED_TRACE(seed);
        const RandomClips before(seed), after(seed);
        const auto reduce = run.create<kxReduceKeyframes>();
        reduce->_translationTolerance = reduce->_rotationTolerance = reduce->_valueTolerance = 1e-3f;
        ASSERT_TRUE(reduce->applyInfo(after.database));
        EXPECT_LE(bytesOf(*after.database), bytesOf(*before.database));
        for (uint32_t i = 0; i < 12; ++i)
        {
            const auto* a = before.database->_animationList->get(0)->getAnimationTrack(i)->getSource();
            const auto* b = after.database->_animationList->get(0)->getAnimationTrack(i)->getSource();
            const kxReduceKeyframes::TrackResult& result = reduce->getTrackResults()[i];
            ASSERT_TRUE(b->isWellFormed());
            keys += a->getKeyCount();
            removed += a->getKeyCount() - b->getKeyCount();
            // The keys that stay are those of before, to the bit, and the ends are among them.
            std::vector<uint32_t> kept;
            for (uint32_t k = 0, at = 0; k < b->getKeyCount(); ++k)
            {
                while (at < a->getKeyCount() && a->_times->get(at) != b->_times->get(k))
                    ++at;
                kept.push_back(at);
            }
            ASSERT_EQ(kept.front(), 0u);
            ASSERT_EQ(kept.back(), a->getKeyCount() - 1);
            const kxSmartPointer<kxObject> copy = a->copyShallow();
            kxCast<kxTransformSequence>(copy)->keepKeys(kept);
            if (const auto* values = kxCast<kxValueSequence>(b))
            {
                EXPECT_EQ(std::memcmp(values->_values->getElement(0),
                                      kxCast<kxValueSequence>(copy)->_values->getElement(0),
                                      static_cast<size_t>(values->_values->_count) * 4),
                          0);
            }
            else if (const auto* transforms = static_cast<const Sequence*>(b); transforms->hasQuaternions())
            {
                EXPECT_TRUE(transforms->_quaternions->isAlike(kxCast<Sequence>(copy)->_quaternions));
            }
            // What is said of the error is never too little.
            const kxKeyTolerances found = differenceOf(*a, *b);
            EXPECT_LE(found.translation, result.errors.translation + 1e-9);
            EXPECT_LE(found.rotation, result.errors.rotation + 1e-7);
            EXPECT_LE(found.value, result.errors.value + 1e-9);
            for (const double error : {result.errors.translation, result.errors.rotation, result.errors.value})
                EXPECT_LE(error, 1e-3f);
            tightest = std::max({tightest, found.translation, found.rotation, found.value});
        }
    }
    EXPECT_GT(removed, keys / 3) << "or nothing has been tested";
    EXPECT_GT(tightest, 0.9e-3) << "the tolerance is made use of";
}

} // namespace
} // namespace Kel::Opt
