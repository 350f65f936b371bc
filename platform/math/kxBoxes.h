// Boxes under matrices.
#pragma once

#include "platform/math/kxMath.h"

namespace Kel::Math
{

/// Smallest box around a box that a matrix has moved; an empty box stays empty. For matrices without a perspective part.
kxAABox transformBox(const kxAABox& box, const kxMatrix44f& matrix);

} // namespace Kel::Math
