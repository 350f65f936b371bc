// Telling numbers from names in scripts.
#pragma once

#include <string_view>

namespace Kel::Opt
{

/// True for text that begins as a number does, whether it is one or not: no name in a script begins so.
constexpr bool looksLikeNumber(std::string_view text)
{
    return !text.empty() && (text[0] == '-' || text[0] == '+' || (text[0] >= '0' && text[0] <= '9'));
}

} // namespace Kel::Opt
