#include "platform/math/kxMath.h"

namespace Kel::Math
{

kxMatrix44f composeMatrix(const kxVec3f& translation, const kxQuatf& rotation, const kxVec3f& scale)
{
    const double length2 = double(rotation.r) * rotation.r + double(rotation.v.x) * rotation.v.x +
                           double(rotation.v.y) * rotation.v.y + double(rotation.v.z) * rotation.v.z;
    const double s = length2 > 0 ? 2 / length2 : 0;
    const double x = rotation.v.x, y = rotation.v.y, z = rotation.v.z, w = rotation.r;
    const double sx = scale.x, sy = scale.y, sz = scale.z;
    return kxMatrix44f(float((1 - s * (y * y + z * z)) * sx), float(s * (x * y + z * w) * sx),
                       float(s * (x * z - y * w) * sx), 0.0f, float(s * (x * y - z * w) * sy),
                       float((1 - s * (x * x + z * z)) * sy), float(s * (y * z + x * w) * sy), 0.0f,
                       float(s * (x * z + y * w) * sz), float(s * (y * z - x * w) * sz),
                       float((1 - s * (x * x + y * y)) * sz), 0.0f, translation.x, translation.y, translation.z, 1.0f);
}

} // namespace Kel::Math
