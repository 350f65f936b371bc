#include "platform/core/kxNearestName.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Kel::Core
{

namespace
{

std::string foldName(std::string_view name)
{
    if (name.starts_with('_'))
        name.remove_prefix(1);
    std::string folded(name);
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

// Letters to insert, remove or replace to get from one text to the other.
size_t editDistance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i)
    {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j)
        {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

} // namespace

std::string findNearestName(std::string_view name, std::span<const std::string> candidates)
{
    const std::string wanted = foldName(name);
    size_t best = std::max<size_t>(2, wanted.size() / 3) + 1;
    const std::string* nearest = nullptr;
    for (const std::string& candidate : candidates)
    {
        const size_t distance = editDistance(wanted, foldName(candidate));
        if (distance < best)
        {
            best = distance;
            nearest = &candidate;
        }
    }
    return nearest ? *nearest : std::string();
}

} // namespace Kel::Core
