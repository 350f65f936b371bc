#include "platform/sg/kxPrefetchBranches.h"

#include "platform/core/kxPrefetch.h"

namespace Kel::Sg
{

namespace
{

constexpr uint32_t kWideCount = 64;
constexpr uint32_t kSiblingsAhead = 3;
constexpr uint32_t kLinksAhead = 6;
constexpr uint32_t kSiblingsPerLink = 2;

} // namespace

void prefetchBranches(const kxGroup* parent, uint32_t index, uint32_t childCount)
{
    if (childCount < kWideCount)
    {
        if (index + kSiblingsAhead < childCount)
            prefetchObject(parent->getChild(index + kSiblingsAhead));
        return;
    }
    for (uint32_t link = 0; link < kLinksAhead; ++link)
    {
        const uint32_t sibling = index + (kLinksAhead - link) * kSiblingsPerLink;
        if (sibling >= childCount)
            continue;
        // Links are in turn a node and its list of children.
        const kxNode* node = parent->getChild(sibling);
        const kxNodeList* list = nullptr;
        for (uint32_t step = 0; node && step < link; ++step)
            if (step % 2 == 0)
            {
                const auto* group = kxCast<kxGroup>(node);
                list = group ? group->_childList.get() : nullptr;
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

} // namespace Kel::Sg
