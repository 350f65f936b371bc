// Draws whose vertex data were cut or dealt out anew.
#pragma once

#include "opt/verify/kxDrawList.h"

namespace Kel::Opt
{

/// Takes draws out of the lists of those without a partner where together they show the same: geometry in the same place, with
/// the same attributes and conditions, whose surfaces add up to the same on both sides.
/// Cost: n log n in the draws without a partner.
void matchSurfaces(const kxDrawList& a, const kxDrawList& b, bool ignoreImages, std::vector<size_t>& onlyInA,
                   std::vector<size_t>& onlyInB);

} // namespace Kel::Opt
