#include "opt/verify/kxSurfaceMatching.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace Kel::Opt
{

namespace
{

// Where and how something is drawn, without what. Nothing depends on the order but finding equal ones.
using Key = std::tuple<uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, std::array<float, 12>>;

struct Side
{
    std::map<Key, kxSurface> surfaces;

    static const kxSurface* surfaceOf(const kxDrawList& list, size_t index)
    {
        return list.getSurface(list.getDraws()[index]);
    }
    static Key keyOf(const kxDrawList& list, size_t index, bool ignoreImages)
    {
        const kxDrawList::Draw& draw = list.getDraws()[index];
        return {surfaceOf(list, index)->getForm(),
                draw.attributes - list.getPaletteHash(draw),
                draw.conditions,
                draw.movers,
                ignoreImages ? 0 : draw.images,
                draw.matrix};
    }
    void collect(const kxDrawList& list, const std::vector<size_t>& indices, bool ignoreImages)
    {
        for (const size_t index : indices)
            if (const kxSurface* surface = surfaceOf(list, index))
                surfaces[keyOf(list, index, ignoreImages)].add(*surface);
    }
};

} // namespace

void matchSurfaces(const kxDrawList& a, const kxDrawList& b, bool ignoreImages, std::vector<size_t>& onlyInA,
                   std::vector<size_t>& onlyInB)
{
    if (onlyInA.empty() || onlyInB.empty())
        return;
    Side sideA, sideB;
    sideA.collect(a, onlyInA, ignoreImages);
    sideB.collect(b, onlyInB, ignoreImages);
    std::set<Key> same;
    for (const auto& [key, surface] : sideA.surfaces)
        if (const auto at = sideB.surfaces.find(key); at != sideB.surfaces.end() && surface.isAlike(at->second))
            same.insert(key);
    auto removeSame = [&](const kxDrawList& list, std::vector<size_t>& indices)
    {
        std::erase_if(indices, [&](size_t index)
                      { return Side::surfaceOf(list, index) && same.count(Side::keyOf(list, index, ignoreImages)); });
    };
    removeSame(a, onlyInA);
    removeSame(b, onlyInB);
}

} // namespace Kel::Opt
