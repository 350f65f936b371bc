// Finding the name that somebody meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Kel::Core
{

/// The candidate that takes the fewest changed letters to become `name`, capitals and a leading underscore not counted; of
/// several the first. Empty when none is near enough to be meant: two letters may differ, of long names every third.
/// Cost: the product of both lengths for each candidate.
std::string findNearestName(std::string_view name, std::span<const std::string> candidates);

} // namespace Kel::Core
