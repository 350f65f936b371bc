// Asking memory ahead of a walk over many children.
#pragma once

#include "platform/core/kxPrefetch.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{

/// Number of siblings from which their branches are worth the cost of asking for them.
constexpr uint32_t kWideCount = 64;

/// For a walk over many siblings, once for each of them: children of a wide group tend to have few nodes below them, each
/// somewhere else in memory, so their first branches are asked for link by link, each link when the one before it has had time
/// to arrive. `nodeAhead(n)` gives the sibling n steps ahead, null when there is none; `arrived(node)` is called for the nodes
/// of those branches some steps before the walk comes to them, with the node itself already near. Links are in turn a node and
/// its list of children, the first is the sibling.
template <uint32_t Links = 7, class At, class F>
void prefetchBranches(At nodeAhead, F arrived)
{
    constexpr uint32_t kSiblingsPerLink = 2;
    for (uint32_t link = 0; link < Links; ++link)
    {
        const kxNode* node = nodeAhead((Links - link) * kSiblingsPerLink);
        const kxNodeList* list = nullptr;
        for (uint32_t step = 0; node && step < link; ++step)
            if (step % 2 == 0)
            {
                const auto* group = kxCast<kxGroup>(node);
                list = group ? group->_childList.get() : nullptr;
                if (step + 1 == link)
                    arrived(node);
                node = list ? node : nullptr;
            }
            else
                node = list->isEmpty() ? nullptr : list->get(0);
        if (!node)
            continue;
        if (link % 2 == 0)
            prefetchObject(node);
        else
            prefetchObject(list);
    }
}

/// The same for a walk that has come to child `index` of a group; of a narrow group only the child some steps ahead is asked
/// for.
inline void prefetchBranches(const kxGroup* parent, uint32_t index, uint32_t childCount)
{
    constexpr uint32_t kSiblingsAhead = 3;
    if (childCount >= kWideCount)
        prefetchBranches([&](uint32_t ahead)
                         { return index + ahead < childCount ? parent->getChild(index + ahead) : nullptr; },
                         [](const kxNode*) {});
    else if (index + kSiblingsAhead < childCount)
        prefetchObject(parent->getChild(index + kSiblingsAhead));
}

} // namespace Kel::Sg
