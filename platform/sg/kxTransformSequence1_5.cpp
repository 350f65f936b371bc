#include "platform/sg/kxTransformSequence1_5.h"

#include <cmath>

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransformSequence1_5)

void kxTransformSequence1_5::listFields(kxFields<kxTransformSequence1_5>& fields)
{
    fields.add(&kxTransformSequence1_5::_translations, "_translations", "translations, scene units");
    fields.add(&kxTransformSequence1_5::_quaternions, "_quaternions", "rotations");
    fields.add(&kxTransformSequence1_5::_scales, "_scales", "scales");
}

bool kxTransformSequence1_5::isWellFormed() const
{
    const uint64_t valueCount = uint64_t(getKeyCount()) * getValuesPerKey();
    const auto fits = [&](const kxListBase* list) { return list && list->getCount() == valueCount; };
    return (!hasTranslations() || fits(_translations)) && (!hasQuaternions() || fits(_quaternions)) &&
           (!hasScales() || fits(_scales));
}

void kxTransformSequence1_5::keepKeys(std::span<const uint32_t> kept)
{
    const uint32_t perKey = getValuesPerKey();
    kxTransformSequence::keepKeys(kept);
    if (hasTranslations())
        _translations = gatherKeys(_translations.get(), kept, perKey);
    if (hasQuaternions())
        _quaternions = gatherKeys(_quaternions.get(), kept, perKey);
    if (hasScales())
        _scales = gatherKeys(_scales.get(), kept, perKey);
}

namespace
{

double distanceOf(const kxVec3f& a, const kxVec3f& b)
{
    return (kxVec3d(a) - kxVec3d(b)).length();
}

double distanceOf(const kxQuatf& a, const kxQuatf& b)
{
    const kxQuatd difference(double(a.r) - b.r, kxVec3d(a.v) - kxVec3d(b.v));
    return std::sqrt(dotOf(difference, difference));
}

// Written so that what is no number is never within the tolerance.
template <class List, class Distance, class Tolerance>
bool compareLists(const List* a, const List* b, Distance distance, Tolerance tolerance)
{
    if (!a || !b || a->getCount() != b->getCount())
        return false;
    for (uint32_t i = 0; i < a->getCount(); ++i)
        if (!(distance(a->getData()[i], b->getData()[i]) <= tolerance))
            return false;
    return true;
}

template <class List>
bool compareTangents(const List* a, uint32_t valueA, const List* b, uint32_t valueB, double tolerance)
{
    return distanceOf(a->get(valueA - 1), b->get(valueB - 1)) <= tolerance &&
           distanceOf(a->get(valueA + 1), b->get(valueB + 1)) <= tolerance;
}

} // namespace

bool kxTransformSequence1_5::compareKeyFrames(const kxTransformSequence1_5* other, uint32_t a, uint32_t b,
                                              double translationTolerance, double angleTolerance, double scaleTolerance,
                                              double tangentTolerance) const
{
    if (hasTranslations() != other->hasTranslations() || hasQuaternions() != other->hasQuaternions() ||
        hasScales() != other->hasScales() || isCubicSpline() != other->isCubicSpline())
        return false;
    const uint32_t valueA = valueOf(a), valueB = other->valueOf(b);
    if (hasTranslations() &&
        !(distanceOf(_translations->get(valueA), other->_translations->get(valueB)) <= translationTolerance))
        return false;
    if (hasQuaternions() &&
        !(rotationDifference(_quaternions->get(valueA), other->_quaternions->get(valueB)) <= angleTolerance))
        return false;
    if (hasScales() && !(distanceOf(_scales->get(valueA), other->_scales->get(valueB)) <= scaleTolerance))
        return false;
    if (!isCubicSpline())
        return true;
    const double t = tangentTolerance;
    return (!hasTranslations() ||
            compareTangents(_translations.get(), valueA, other->_translations.get(), valueB, t)) &&
           (!hasQuaternions() || compareTangents(_quaternions.get(), valueA, other->_quaternions.get(), valueB, t)) &&
           (!hasScales() || compareTangents(_scales.get(), valueA, other->_scales.get(), valueB, t));
}

bool kxTransformSequence1_5::compareTranslationLists(const kxTransformSequence1_5* other, double tolerance) const
{
    return compareLists(
        _translations.get(), other->_translations.get(),
        [](const kxVec3f& a, const kxVec3f& b) { return distanceOf(a, b); }, tolerance);
}

bool kxTransformSequence1_5::compareQuaternionLists(const kxTransformSequence1_5* other, double tolerance) const
{
    if (isCubicSpline() != other->isCubicSpline())
        return false;
    const auto distance = isCubicSpline()
                              ? +[](const kxQuatf& a, const kxQuatf& b) { return distanceOf(a, b); }
                              : +[](const kxQuatf& a, const kxQuatf& b) { return rotationDifference(a, b); };
    return compareLists(_quaternions.get(), other->_quaternions.get(), distance, tolerance);
}

bool kxTransformSequence1_5::compareTimeLists(const kxTransformSequence1_5* other, int64_t tolerance) const
{
    // The difference without a sign: that of two times of a broken file overflows.
    const auto distance = [](int64_t a, int64_t b)
    { return a < b ? uint64_t(b) - uint64_t(a) : uint64_t(a) - uint64_t(b); };
    return tolerance >= 0 &&
           compareLists(_times.get(), other->_times.get(), distance, static_cast<uint64_t>(tolerance));
}

namespace
{

kxVec3d sampleList(const kxVec3fList& list, const kxTransformSequence::Place& at, bool isSpline)
{
    const uint32_t perKey = isSpline ? 3 : 1, value = at.key * perKey + (isSpline ? 1 : 0);
    const kxVec3d a(list.get(value));
    if (at.fraction == 0)
        return a;
    const kxVec3d b(list.get(value + perKey));
    if (!isSpline)
        return a * (1 - at.fraction) + b * at.fraction;
    const kxSplineWeights w(at.fraction);
    return a * w.value0 + b * w.value1 + kxVec3d(list.get(value + 1)) * (w.tangent0 * at.seconds) +
           kxVec3d(list.get(value + 2)) * (w.tangent1 * at.seconds);
}

kxQuatd sampleList(const kxQuatfList& list, const kxTransformSequence::Place& at, bool isSpline)
{
    const uint32_t perKey = isSpline ? 3 : 1, value = at.key * perKey + (isSpline ? 1 : 0);
    const kxQuatd a = toDouble(list.get(value));
    if (at.fraction == 0)
        return unitRotation(a);
    const kxQuatd b = toDouble(list.get(value + perKey));
    if (!isSpline)
        return interpolateRotation(unitRotation(a), unitRotation(b), at.fraction);
    const kxSplineWeights w(at.fraction);
    const kxQuatd p = toDouble(list.get(value + 1)), q = toDouble(list.get(value + 2));
    const double t0 = w.tangent0 * at.seconds, t1 = w.tangent1 * at.seconds;
    return unitRotation(kxQuatd(a.r * w.value0 + b.r * w.value1 + p.r * t0 + q.r * t1,
                                a.v * w.value0 + b.v * w.value1 + p.v * t0 + q.v * t1));
}

} // namespace

kxTransformSample kxTransformSequence1_5::sample(int64_t time) const
{
    const Place at = findPlace(time);
    kxTransformSample sample;
    if (hasTranslations())
        sample.translation = sampleList(*_translations, at, isCubicSpline());
    if (hasQuaternions())
        sample.rotation = sampleList(*_quaternions, at, isCubicSpline());
    if (hasScales())
        sample.scale = sampleList(*_scales, at, isCubicSpline());
    return sample;
}

} // namespace Kel::Sg
