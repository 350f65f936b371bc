// Rotations between keys, in double precision.
#pragma once

#include "platform/math/kxMath.h"

namespace Kel::Sg
{

using namespace Kel::Math;
using kxQuatd = Imath::Quatd;

inline kxQuatd toDouble(const kxQuatf& q)
{
    return kxQuatd(q.r, q.v.x, q.v.y, q.v.z);
}

/// Product as vectors of four numbers.
inline double dotOf(const kxQuatd& a, const kxQuatd& b)
{
    return a.r * b.r + a.v.x * b.v.x + a.v.y * b.v.y + a.v.z * b.v.z;
}

/// The same rotation as a quaternion of unit length; a zero quaternion counts as no rotation, as everywhere.
kxQuatd unitRotation(const kxQuatd& q);

/// Angle of the rotation between two rotations, 0 to pi radians. q and -q are one rotation; the lengths do not count. Exact
/// for tiny angles too. Not a number where the input is none.
double rotationDifference(const kxQuatd& a, const kxQuatd& b);
inline double rotationDifference(const kxQuatf& a, const kxQuatf& b)
{
    return rotationDifference(toDouble(a), toDouble(b));
}

/// Rotation between `a` (fraction 0) and `b` (1), both of unit length, along the shorter arc at even speed.
kxQuatd interpolateRotation(const kxQuatd& a, const kxQuatd& b, double fraction);

/// Weights of a cubic spline at a fraction: value before, tangent behind it, value behind, tangent before it. The tangents
/// are those of the file times the seconds between the keys.
struct kxSplineWeights
{
    explicit kxSplineWeights(double t)
        : value0(2 * t * t * t - 3 * t * t + 1),
          tangent0(t * t * t - 2 * t * t + t),
          value1(3 * t * t - 2 * t * t * t),
          tangent1(t * t * t - t * t)
    {
    }
    double value0, tangent0, value1, tangent1;
};

} // namespace Kel::Sg
