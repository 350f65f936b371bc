#include "opt/scene/kxCellFraction.h"

#include <algorithm>
#include <cmath>

namespace Kel::Opt
{

namespace
{

constexpr float kMinExtent = 5e-07f;

}

bool isUsable(const kxAABox& box)
{
    if (!(box.min.x <= box.max.x))
        return false;
    const kxVec3f extent = box.max - box.min;
    for (int axis = 0; axis < 3; ++axis)
        if (!std::isfinite(extent[axis])) // from broken vertices; no cell would hold it
            return false;
    return extent.x >= kMinExtent || extent.y >= kMinExtent || extent.z >= kMinExtent;
}

float fractionWithin(const kxAABox& box, const kxAABox& cell, float least)
{
    float fraction = 1;
    for (int axis = 0; axis < 3; ++axis)
    {
        const float low = std::max(box.min[axis], cell.min[axis]), high = std::min(box.max[axis], cell.max[axis]);
        if (low > high)
            return 0;
        if (low > box.min[axis] || high < box.max[axis])
            fraction *= (high - low) / (box.max[axis] - box.min[axis]);
        if (fraction < least)
            return 0;
    }
    return fraction;
}

void sortAxes(const kxVec3f& extent, short sorted[3])
{
    const short smallerOfXY = extent.y <= extent.x ? 1 : 0, largerOfXY = static_cast<short>(1 - smallerOfXY);
    if (extent.z > extent[largerOfXY])
        sorted[0] = smallerOfXY, sorted[1] = largerOfXY, sorted[2] = 2;
    else if (extent.z >= extent[smallerOfXY])
        sorted[0] = smallerOfXY, sorted[1] = 2, sorted[2] = largerOfXY;
    else
        sorted[0] = 2, sorted[1] = smallerOfXY, sorted[2] = largerOfXY;
}

} // namespace Kel::Opt
