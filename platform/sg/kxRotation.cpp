#include "platform/sg/kxRotation.h"

#include <cmath>

namespace Kel::Sg
{

kxQuatd unitRotation(const kxQuatd& q)
{
    const double length = std::sqrt(dotOf(q, q));
    if (length == 0)
        return kxQuatd();
    return kxQuatd(q.r / length, q.v / length);
}

double rotationDifference(const kxQuatd& a, const kxQuatd& b)
{
    const kxQuatd p = unitRotation(a), q = unitRotation(b);
    // By the lengths of difference and sum: the arc cosine of the product loses everything below 1e-8.
    const kxQuatd difference(p.r - q.r, p.v - q.v), sum(p.r + q.r, p.v + q.v);
    double apart = std::sqrt(dotOf(difference, difference)), together = std::sqrt(dotOf(sum, sum));
    if (apart > together)
        std::swap(apart, together);
    return 4 * std::atan2(apart, together);
}

kxQuatd interpolateRotation(const kxQuatd& a, const kxQuatd& b, double fraction)
{
    double cosine = dotOf(a, b);
    const double sign = cosine < 0 ? -1 : 1;
    cosine *= sign;
    double weightA = 1 - fraction, weightB = fraction;
    // Below this the straight line is the arc to the last bit, and the sine is about to vanish.
    if (cosine < 1 - 1e-9)
    {
        const double angle = std::acos(cosine), sine = std::sin(angle);
        weightA = std::sin(weightA * angle) / sine;
        weightB = std::sin(weightB * angle) / sine;
    }
    weightB *= sign;
    return unitRotation(kxQuatd(a.r * weightA + b.r * weightB, a.v * weightA + b.v * weightB));
}

} // namespace Kel::Sg
