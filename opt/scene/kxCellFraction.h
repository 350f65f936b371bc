// Boxes and the cells of a partition.
#pragma once

#include "platform/math/kxMath.h"

namespace Kel::Opt
{

using namespace Kel::Math;

/// True for a box that can be sorted into cells: finite, and more than a point.
bool isUsable(const kxAABox& box);

/// Fraction of a box's volume that lies within a cell, 0 when it is less than `least`. Axis by axis, so that flat boxes have one
/// too.
float fractionWithin(const kxAABox& box, const kxAABox& cell, float least);

/// True for a box that lies outside of no wall of the cell.
inline bool isWithin(const kxAABox& box, const kxAABox& cell)
{
    return fractionWithin(box, cell, 1) == 1;
}

/// Sorts the axes by the extent along them, the smallest first.
void sortAxes(const kxVec3f& extent, short sorted[3]);

} // namespace Kel::Opt
