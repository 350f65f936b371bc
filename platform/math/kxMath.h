// The project's names for vectors, matrices, quaternions and boxes.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

namespace Kel::Math
{

using kxVec2f = Imath::V2f;
using kxVec3f = Imath::V3f;
using kxVec4f = Imath::V4f;
using kxVec3d = Imath::V3d;
using kxQuatf = Imath::Quatf;

/// 4 x 4 matrix for row vectors: a point is transformed as `p * m`, the translation stands in the last row, and the matrix
/// of a path is `child * parent`. In memory this is the column-major layout that graphics files use for column vectors.
using kxMatrix44f = Imath::M44f;
using kxMatrix44d = Imath::M44d;

/// Axis-aligned box given by its corners; empty (minimum above maximum) when freshly made.
using kxAABox = Imath::Box3f;

/// Matrix of a transform given in parts: scales, then rotates, then translates.
/// `rotation` need not be of unit length; a zero quaternion counts as no rotation.
kxMatrix44f composeMatrix(const kxVec3f& translation, const kxQuatf& rotation, const kxVec3f& scale);

} // namespace Kel::Math
