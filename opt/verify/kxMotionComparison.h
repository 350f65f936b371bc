// Do clips show the same?
#pragma once

#include "opt/verify/kxMotionList.h"

namespace Kel::Opt
{

/// Lines that name the first differences, worst first within a clip, and one that says how many more there are; none when both
/// show the same at all times looked at. Points may be `tolerance` times the extent of everything that moves in the clip apart,
/// other numbers `tolerance` times their largest value or 1. `b` must have been collected with the times of `a`.
///
/// `isSameAtRest` says that `kxPictureComparison` found no difference. Geometry that was cut, or dealt out to several vertex
/// data, then counts as the same where what moves it is: the place below its driven node, the joints, the weights.
std::vector<std::string> compareMotion(const kxMotionList& a, const kxMotionList& b, double tolerance, size_t maxLines,
                                       bool isSameAtRest = false);

} // namespace Kel::Opt
