// Asking memory ahead of a walk over many children.
#pragma once

#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

/// Starts to fetch what lies below the children that a walk comes to behind child `index` of a group. For wide groups, whose
/// children tend to have few nodes below them, each somewhere else in memory: the first branch of each is asked for link by
/// link, one link for every few steps of the walk, when the link before it has had time to arrive. Children of narrow groups
/// are only asked for themselves.
void prefetchBranches(const kxGroup* parent, uint32_t index, uint32_t childCount);

} // namespace Kel::Sg
