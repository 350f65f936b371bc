// Bounds for the space between keys.
//
// Straight lines: the difference of two is straight, so it is largest at a key. Steps: values only change at keys. Splines: the
// difference of two cubics is a cubic, which lies within the hull of its control points. Arcs: both curves have a second
// derivative that points to the centre, which bounds how far their difference bulges between two keys.
#include "opt/actor/kxKeyCurve.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kel::Opt
{

namespace
{

constexpr double kTooFar = std::numeric_limits<double>::infinity();

// Arcs that come this near to half a turn have no reliable direction (the cosine of half their angle): one degree.
constexpr double kLeastCosine = 0.0087;

double lengthOf(const double* v, uint32_t width)
{
    double sum = 0;
    for (uint32_t i = 0; i < width; ++i)
        sum += v[i] * v[i];
    return std::sqrt(sum);
}

double largestOf(const double* v, uint32_t width)
{
    double largest = 0;
    for (uint32_t i = 0; i < width; ++i)
    {
        const double size = std::abs(v[i]);
        if (!(size <= largest)) // also where it is no number
            largest = size;
    }
    return largest;
}

double dotOf(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

// Angle of the rotation between unit quaternions that are this far apart.
double angleOfChord(double chord)
{
    return chord <= 2 ? 4 * std::asin(chord / 2) : kTooFar;
}

} // namespace

kxKeyCurve::kxKeyCurve(Metric metric, const kxTransformSequence& sequence, std::span<const double> times,
                       uint32_t width, double tolerance)
    : m_metric(metric),
      m_interpolation(sequence.isCubicSpline() ? SPLINE
                      : sequence.isStep()      ? STEP
                                               : LINEAR),
      m_times(times),
      m_width(width),
      m_tolerance(tolerance)
{
    m_values.reserve(times.size() * width);
    if (m_interpolation == SPLINE)
    {
        m_tangentsBefore.reserve(times.size() * width);
        m_tangentsBehind.reserve(times.size() * width);
    }
}

kxKeyCurve kxKeyCurve::ofVectors(const kxTransformSequence& sequence, const kxVec3fList& list,
                                 std::span<const double> times, double tolerance)
{
    kxKeyCurve curve(DISTANCE, sequence, times, 3, tolerance);
    const bool isSpline = curve.m_interpolation == SPLINE;
    const auto add = [&](std::vector<double>& target, size_t index)
    {
        const kxVec3f& v = list.getData()[index];
        target.insert(target.end(), {v.x, v.y, v.z});
    };
    for (size_t key = 0; key < times.size(); ++key)
    {
        add(curve.m_values, isSpline ? key * 3 + 1 : key);
        if (isSpline)
        {
            add(curve.m_tangentsBefore, key * 3);
            add(curve.m_tangentsBehind, key * 3 + 2);
        }
    }
    return curve;
}

kxKeyCurve kxKeyCurve::ofRotations(const kxTransformSequence& sequence, const kxQuatfList& list,
                                   std::span<const double> times, double tolerance)
{
    kxKeyCurve curve(ROTATION, sequence, times, 4, tolerance);
    const bool isSpline = curve.m_interpolation == SPLINE;
    const auto add = [&](std::vector<double>& target, size_t index)
    {
        const kxQuatf& q = list.getData()[index];
        target.insert(target.end(), {q.r, q.v.x, q.v.y, q.v.z});
    };
    for (size_t key = 0; key < times.size(); ++key)
    {
        add(curve.m_values, isSpline ? key * 3 + 1 : key);
        if (isSpline)
        {
            add(curve.m_tangentsBefore, key * 3);
            add(curve.m_tangentsBehind, key * 3 + 2);
        }
    }
    if (!isSpline)
        curve.finishRotations();
    return curve;
}

kxKeyCurve kxKeyCurve::ofNumbers(const kxValueSequence& sequence, std::span<const double> times, double tolerance)
{
    const uint32_t width = sequence.getNumbersPerKey();
    kxKeyCurve curve(EACH_NUMBER, sequence, times, width, tolerance);
    for (uint32_t key = 0; key < times.size(); ++key)
        for (uint32_t i = 0; i < width; ++i)
        {
            curve.m_values.push_back(sequence.getNumber(key, i));
            if (curve.m_interpolation == SPLINE)
            {
                curve.m_tangentsBefore.push_back(sequence.getTangentBefore(key, i));
                curve.m_tangentsBehind.push_back(sequence.getTangentBehind(key, i));
            }
        }
    return curve;
}

// Unit length, and each key on the side of the one before it, so that the shorter arcs join to one curve on the sphere.
void kxKeyCurve::finishRotations()
{
    m_arcs.resize(m_times.size());
    for (size_t key = 0; key < m_times.size(); ++key)
    {
        double* q = m_values.data() + key * 4;
        const double length = lengthOf(q, 4);
        for (int i = 0; i < 4; ++i)
            q[i] = length == 0 ? (i == 0 ? 1 : 0) : q[i] / length;
        if (key == 0)
            continue;
        const double* before = q - 4;
        if (dotOf(before, q) < 0)
            for (int i = 0; i < 4; ++i)
                q[i] = -q[i];
        m_arcs[key - 1] = dotOf(before, q) > kLeastCosine ? std::acos(std::min(dotOf(before, q), 1.0)) : kTooFar;
    }
}

double kxKeyCurve::differenceOf(const double* a, const double* b) const
{
    double difference[4], largest = 0;
    switch (m_metric)
    {
    case DISTANCE:
        for (uint32_t i = 0; i < 3; ++i)
            difference[i] = a[i] - b[i];
        return lengthOf(difference, 3);
    case EACH_NUMBER:
        for (uint32_t i = 0; i < m_width; ++i)
        {
            const double size = std::abs(a[i] - b[i]);
            if (!(size <= largest))
                largest = size;
        }
        return largest;
    case ROTATION: break;
    }
    return rotationDifference(kxQuatd(a[0], a[1], a[2], a[3]), kxQuatd(b[0], b[1], b[2], b[3]));
}

double kxKeyCurve::getError(uint32_t a, uint32_t b) const
{
    if (b <= a + 1)
        return 0;
    switch (m_interpolation)
    {
    case STEP: return getStepError(a, b);
    case SPLINE: return getSplineError(a, b);
    default: return m_metric == ROTATION ? getArcError(a, b) : getLinearError(a, b);
    }
}

double kxKeyCurve::getStepError(uint32_t a, uint32_t b) const
{
    double largest = 0;
    for (uint32_t key = a + 1; key < b; ++key)
    {
        const double error = differenceOf(valueAt(a), valueAt(key));
        if (!(error <= m_tolerance))
            return kTooFar;
        largest = std::max(largest, error);
    }
    return largest;
}

double kxKeyCurve::getLinearError(uint32_t a, uint32_t b) const
{
    const double *from = valueAt(a), *to = valueAt(b);
    const double length = m_times[b] - m_times[a];
    double largest = 0;
    for (uint32_t key = a + 1; key < b; ++key)
    {
        const double fraction = (m_times[key] - m_times[a]) / length;
        const double* value = valueAt(key);
        double error = 0;
        for (uint32_t i = 0; i < m_width; ++i)
        {
            const double difference = from[i] + (to[i] - from[i]) * fraction - value[i];
            error = m_metric == DISTANCE ? error + difference * difference : std::max(error, std::abs(difference));
            if (!(difference == difference))
                return kTooFar;
        }
        error = m_metric == DISTANCE ? std::sqrt(error) : error;
        if (!(error <= m_tolerance))
            return kTooFar;
        largest = std::max(largest, error);
    }
    return largest;
}

double kxKeyCurve::getArcError(uint32_t a, uint32_t b) const
{
    const double *from = valueAt(a), *to = valueAt(b);
    const double cosine = dotOf(from, to);
    if (!(cosine > kLeastCosine))
        return kTooFar; // the shorter arc would turn the other way, or might
    const double length = m_times[b] - m_times[a];
    const double arc = std::acos(std::min(cosine, 1.0)), sine = std::sin(arc);
    const double largestChord = 2 * std::sin(std::min(m_tolerance, 6.0) / 4);
    double before = 0, largest = 0;
    for (uint32_t key = a; key < b; ++key)
    {
        // Distance at the next key, then the bulge of the arc up to it.
        double behind = 0;
        if (key + 1 < b)
        {
            const double fraction = (m_times[key + 1] - m_times[a]) / length;
            double weightFrom = 1 - fraction, weightTo = fraction;
            if (arc > 1e-4)
            {
                weightFrom = std::sin(weightFrom * arc) / sine;
                weightTo = std::sin(weightTo * arc) / sine;
            }
            const double* value = valueAt(key + 1);
            double sum = 0;
            for (int i = 0; i < 4; ++i)
            {
                const double difference = from[i] * weightFrom + to[i] * weightTo - value[i];
                sum += difference * difference;
            }
            behind = std::sqrt(sum);
        }
        const double own = m_arcs[key], other = arc * (m_times[key + 1] - m_times[key]) / length;
        const double chord = (std::max(before, behind) + std::abs(own * own - other * other) / 8) / (1 - own * own / 8);
        if (!(own < kTooFar) || !(chord <= largestChord))
            return kTooFar;
        largest = std::max(largest, chord);
        before = behind;
    }
    return angleOfChord(largest);
}

double kxKeyCurve::getSplineError(uint32_t a, uint32_t b) const
{
    const size_t width = m_width;
    const double *from = valueAt(a), *to = valueAt(b);
    const double *fromTangent = m_tangentsBehind.data() + a * width, *toTangent = m_tangentsBefore.data() + b * width;
    const double length = m_times[b] - m_times[a];
    // Differences of value and tangent from those of the spline over all, at both ends of a piece.
    std::vector<double> value(2 * width), tangent(2 * width), control(width);
    const auto measure = [&](uint32_t key, bool isEnd)
    {
        const double t = (m_times[key] - m_times[a]) / length;
        const kxSplineWeights w(t);
        const double slope = (6 * t * t - 6 * t) / length, slope0 = 3 * t * t - 4 * t + 1, slope1 = 3 * t * t - 2 * t;
        const double* own = (isEnd ? m_tangentsBefore : m_tangentsBehind).data() + key * width;
        for (size_t i = 0; i < width; ++i)
        {
            const size_t at = i + (isEnd ? width : 0);
            value[at] = from[i] * w.value0 + to[i] * w.value1 +
                        (fromTangent[i] * w.tangent0 + toTangent[i] * w.tangent1) * length - valueAt(key)[i];
            tangent[at] = (from[i] - to[i]) * slope + fromTangent[i] * slope0 + toTangent[i] * slope1 - own[i];
        }
    };
    double largest = 0;
    for (uint32_t key = a; key < b; ++key)
    {
        const double third = (m_times[key + 1] - m_times[key]) / 3;
        measure(key, false);
        measure(key + 1, true);
        double error = 0;
        const auto add = [&](auto numberOf)
        {
            for (size_t i = 0; i < width; ++i)
                control[i] = numberOf(i);
            const double size =
                m_metric == EACH_NUMBER ? largestOf(control.data(), m_width) : lengthOf(control.data(), m_width);
            if (!(size <= error))
                error = size;
        };
        add([&](size_t i) { return value[i]; });
        add([&](size_t i) { return value[i] + third * tangent[i]; });
        add([&](size_t i) { return value[width + i] - third * tangent[width + i]; });
        add([&](size_t i) { return value[width + i]; });
        if (m_metric == ROTATION)
        {
            // Both are brought to unit length when they are drawn; how much that turns them depends on how long they are.
            const double *p = valueAt(key), *q = valueAt(key + 1);
            double middle[4], least = kTooFar;
            for (int i = 0; i < 4; ++i)
                middle[i] = p[i] + q[i];
            const double size = lengthOf(middle, 4);
            double points[4][4];
            for (size_t i = 0; i < 4; ++i)
            {
                points[0][i] = p[i];
                points[1][i] = p[i] + third * m_tangentsBehind[key * width + i];
                points[2][i] = q[i] - third * m_tangentsBefore[(key + 1) * width + i];
                points[3][i] = q[i];
            }
            for (const double* point : points)
                least = std::min(least, dotOf(point, middle) / size);
            if (!(least > error))
                return kTooFar;
            error = angleOfChord(2 * error / (2 * least - error));
        }
        if (!(error <= m_tolerance))
            return kTooFar;
        largest = std::max(largest, error);
    }
    return largest;
}

std::vector<uint32_t> reduceKeys(std::span<const kxKeyCurve* const> curves, uint32_t keyCount)
{
    const auto fits = [&](uint32_t a, uint32_t b)
    {
        return std::all_of(curves.begin(), curves.end(),
                           [&](const kxKeyCurve* curve) { return curve->getError(a, b) < kTooFar; });
    };
    std::vector<uint32_t> kept;
    if (keyCount == 0)
        return kept;
    kept.push_back(0);
    while (kept.back() + 1 < keyCount)
    {
        // The furthest key that can be reached: in steps that double, then by halves. Each attempt costs its length.
        const uint32_t a = kept.back(), most = keyCount - 1 - a;
        uint32_t good = 1, bad = most + 1;
        for (uint32_t step = 2; good < most; step = step < most / 2 ? step * 2 : most)
        {
            if (!fits(a, a + std::min(step, most)))
            {
                bad = std::min(step, most);
                break;
            }
            good = std::min(step, most);
        }
        while (bad - good > 1)
        {
            const uint32_t middle = good + (bad - good) / 2;
            (fits(a, a + middle) ? good : bad) = middle;
        }
        // A key that could be passed over now that the next one is known goes.
        const uint32_t b = a + good;
        while (kept.size() > 1 && b - kept[kept.size() - 2] > 2 && fits(kept[kept.size() - 2], b))
            kept.pop_back();
        kept.push_back(b);
    }
    return kept;
}

} // namespace Kel::Opt
