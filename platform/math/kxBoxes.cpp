#include "platform/math/kxBoxes.h"

#include <algorithm>

namespace Kel::Math
{

kxAABox transformBox(const kxAABox& box, const kxMatrix44f& matrix)
{
    if (box.isEmpty())
        return box;
    // Each matrix element moves one side of the box by its smaller or its larger product.
    kxAABox moved;
    for (int axis = 0; axis < 3; ++axis)
    {
        moved.min[axis] = moved.max[axis] = matrix[3][axis];
        for (int row = 0; row < 3; ++row)
        {
            const float a = matrix[row][axis] * box.min[row], b = matrix[row][axis] * box.max[row];
            moved.min[axis] += std::min(a, b);
            moved.max[axis] += std::max(a, b);
        }
    }
    return moved;
}

} // namespace Kel::Math
