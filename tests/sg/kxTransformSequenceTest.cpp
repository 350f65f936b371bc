// Keys over time: values between them, comparison, and edits that leave shared lists alone.
#include "platform/sg/kxSkeleton.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"
#include "tests/support/kxTestScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace Kel::Sg
{

namespace
{

using Sequence = kxTransformSequence1_5;
constexpr int64_t kSecond = kxTransformSequence::kTicksPerSecond;

kxSmartPointer<Sequence> makeSequence(uint32_t flags, const std::vector<double>& seconds,
                                      const std::vector<kxVec3f>& translations, const std::vector<kxQuatf>& rotations)
{
    auto sequence = kxNew<Sequence>();
    sequence->_keyFlags = flags;
    sequence->_times = kxNew<kxLongList>();
    for (const double time : seconds)
        sequence->_times->append(std::llrint(time * double(kSecond)));
    sequence->_translations = kxNew<kxVec3fList>();
    for (const kxVec3f& translation : translations)
        sequence->_translations->append(translation);
    sequence->_quaternions = kxNew<kxQuatfList>();
    for (const kxQuatf& rotation : rotations)
        sequence->_quaternions->append(rotation);
    return sequence;
}

kxQuatf aroundZ(double angle)
{
    return kxQuatf(static_cast<float>(std::cos(angle / 2)), 0, 0, static_cast<float>(std::sin(angle / 2)));
}

kxQuatf negated(const kxQuatf& q)
{
    return kxQuatf(-q.r, -q.v);
}

TEST(kxTransformSequence, ValuesBetweenKeys)
{
    constexpr double kPi = std::numbers::pi;
    const auto linear = makeSequence(3, {1, 3}, {{0, 0, 0}, {4, 8, 0}}, {aroundZ(0), negated(aroundZ(kPi / 2))});
    auto at = [](const auto& sequence, double seconds)
    { return sequence->sample(std::llrint(seconds * double(kSecond))); };
    EXPECT_EQ(*at(linear, 0.0).translation, kxVec3d(0, 0, 0));
    EXPECT_EQ(*at(linear, 1.5).translation, kxVec3d(1, 2, 0));
    EXPECT_EQ(*at(linear, 9.0).translation, kxVec3d(4, 8, 0));
    // At even speed along the shorter arc, whatever the sign.
    for (const double fraction : {0.0, 0.1, 0.5, 0.99, 1.0})
        EXPECT_NEAR(rotationDifference(*at(linear, 1 + 2 * fraction).rotation, toDouble(aroundZ(fraction * kPi / 2))),
                    0, 2e-7);
    EXPECT_FALSE(at(linear, 1).scale);

    linear->_keyFlags |= Sequence::STEP;
    EXPECT_EQ(*at(linear, 2.99).translation, kxVec3d(0, 0, 0));
    EXPECT_EQ(*at(linear, 3.0).translation, kxVec3d(4, 8, 0));

    // With these tangents the spline is t squared, t in seconds.
    const auto spline = makeSequence(Sequence::HAS_TRANSLATIONS | Sequence::CUBIC_SPLINE, {0, 2},
                                     {{9, 0, 0}, {0, 0, 0}, {0, 0, 0}, {4, 0, 0}, {4, 0, 0}, {9, 0, 0}}, {});
    ASSERT_TRUE(spline->isWellFormed());
    for (const double time : {0.0, 0.5, 1.0, 1.7, 2.0})
        EXPECT_NEAR(at(spline, time).translation->x, time * time, 1e-9);

    auto values = kxNew<kxValueSequence>();
    values->_times = linear->_times;
    values->_values = kxNew<kxVertexArray>();
    values->_values->_componentType = kxComponentType::UINT8;
    values->_values->_normalized = true;
    values->_values->_count = 4;
    values->_values->_stride = 1;
    const uint8_t bytes[] = {0, 255, 255, 0};
    values->_values->_data = kxMemoryBlock::copyOf(bytes, sizeof bytes);
    ASSERT_TRUE(values->isWellFormed());
    std::vector<double> numbers;
    values->sample(3 * kSecond / 2, numbers);
    EXPECT_EQ(numbers, (std::vector<double>{0.25, 0.75}));
    const uint32_t kept[] = {1};
    const auto before = values->_values;
    values->keepKeys(kept);
    EXPECT_EQ(values->_values->_count, 2);
    EXPECT_EQ(values->getNumber(0, 0), 1);
    EXPECT_EQ(before->_count, 4);
    EXPECT_EQ(linear->getKeyCount(), 2u);
}

TEST(kxTransformSequence, DifferencesOfRotations)
{
    for (const double angle : {0.0, 1e-12, 1e-7, 0.3, 3.0, std::numbers::pi})
    {
        const kxQuatd a(std::cos(0.2), 0, 0, std::sin(0.2)),
            b(std::cos(0.2 + angle / 2), 0, 0, std::sin(0.2 + angle / 2));
        EXPECT_NEAR(rotationDifference(a, b), angle, 1e-15 + angle * 1e-4);
        EXPECT_NEAR(rotationDifference(a * kxQuatd(3, 0, 0, 0), kxQuatd(-b.r, -b.v)), angle, 1e-15 + angle * 1e-4);
    }
    EXPECT_EQ(rotationDifference(kxQuatf(0, 0, 0, 0), kxQuatf()), 0);
    EXPECT_TRUE(std::isnan(rotationDifference(kxQuatf(NAN, 0, 0, 0), kxQuatf())));
}

TEST(kxTransformSequence, KeysAndListsCompare)
{
    const auto a = makeSequence(3, {0, 1, 2}, {{0, 0, 0}, {0.0009f, 0, 0}, {0.0018f, 0, 0}},
                                {aroundZ(1), negated(aroundZ(1)), aroundZ(1.001)});
    EXPECT_TRUE(a->compareKeyFrames(a, 0, 1, 0.001, 1e-6, 0, 0));
    EXPECT_FALSE(a->compareKeyFrames(a, 0, 2, 0.001, 1, 0, 0));
    EXPECT_FALSE(a->compareKeyFrames(a, 1, 2, 0.001, 1e-6, 0, 0));
    a->_scales = kxNew<kxVec3fList>();
    for (const float scale : {1.0f, 1.0f, 2.0f})
        a->_scales->append(kxVec3f(scale));
    EXPECT_TRUE(a->compareKeyFrames(a, 0, 1, 0.001, 1e-6, 0, 0));
    EXPECT_FALSE(a->compareKeyFrames(a, 1, 2, 1, 1, 0.5, 0));

    const auto b = makeSequence(3, {0, 1, 2.000001}, {{0, 0, 0}, {0, 0, 0}, {0.0018f, 0, 0}},
                                {negated(aroundZ(1)), aroundZ(1), negated(aroundZ(1.001))});
    EXPECT_TRUE(a->compareTranslationLists(b, 0.001));
    EXPECT_FALSE(a->compareTranslationLists(b, 0.0008));
    EXPECT_TRUE(a->compareQuaternionLists(b, 1e-6));
    EXPECT_TRUE(a->compareTimeLists(b, kSecond / 900000));
    EXPECT_FALSE(a->compareTimeLists(b, kSecond / 1100000));
    // Signs are part of a spline.
    b->_keyFlags |= Sequence::CUBIC_SPLINE;
    EXPECT_FALSE(a->compareQuaternionLists(b, 1e-6));
    b->_times->append(3 * kSecond);
    EXPECT_FALSE(a->compareTimeLists(b, kSecond));
    b->_times = nullptr;
    EXPECT_FALSE(a->compareTimeLists(b, kSecond));
    b->_translations->set(0, kxVec3f(NAN, 0, 0));
    EXPECT_FALSE(b->compareTranslationLists(b, 1));
}

TEST(kxTransformSequence, EditsLeaveSharedListsAlone)
{
    const auto a = makeSequence(3, {0, 1, 2}, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {aroundZ(0), aroundZ(1), aroundZ(2)});
    const auto b = makeSequence(1, {}, {}, {});
    b->setTimeList(a->getTimeList());
    b->setTranslationList(a->getTranslationList());
    a->removeKey(1);
    EXPECT_EQ(a->getKeyCount(), 2u);
    EXPECT_EQ(a->getTranslationList()->get(1), kxVec3f(2, 0, 0));
    EXPECT_EQ(a->getQuaternionList()->get(1), aroundZ(2));
    EXPECT_EQ(b->getKeyCount(), 3u);
    EXPECT_TRUE(a->isWellFormed() && b->isWellFormed());
    a->removeKey(7);
    EXPECT_EQ(a->getKeyCount(), 2u);
    a->_quaternions->removeLast();
    EXPECT_FALSE(a->isWellFormed());
}

} // namespace

} // namespace Kel::Sg
