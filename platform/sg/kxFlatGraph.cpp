#include "platform/sg/kxFlatGraph.h"

#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxPrefetchBranches.h"

#include <utility>

namespace Kel::Sg
{

kxFlatGraph::kxFlatGraph(kxNode* root)
{
    if (root)
        collect(root);
    m_starts.push_back(static_cast<uint32_t>(m_children.size()));
    sort();
}

// Level by level: the nodes that come next then wait in line, and each can be asked for while others are looked at.
void kxFlatGraph::collect(kxNode* root)
{
    constexpr size_t kNodesAhead = 24, kListsAhead = 18, kChildrenAhead = 12, kNumbersAhead = 6;
    constexpr uint32_t kSiblingsAhead = 8; // of a long list

    kxTSerialMap<uint32_t> numbers; // + 1
    const auto listOf = [](const kxNode* node)
    {
        const auto* group = kxCast<kxGroup>(node);
        return group ? group->_childList.get() : nullptr;
    };
    const auto prefetchAhead = [&](size_t at)
    {
        const size_t count = m_nodes.size();
        if (at + kNodesAhead < count)
            prefetchObject(m_nodes[at + kNodesAhead]);
        if (at + kListsAhead < count)
            prefetchObject(listOf(m_nodes[at + kListsAhead]));
        if (at + kChildrenAhead < count)
            if (const kxNodeList* list = listOf(m_nodes[at + kChildrenAhead]); list && !list->isEmpty())
                prefetchObject(list->get(0));
        if (at + kNumbersAhead < count)
            if (const kxNodeList* list = listOf(m_nodes[at + kNumbersAhead]); list && !list->isEmpty() && list->get(0))
                __builtin_prefetch(&numbers[list->get(0)]);
    };
    m_nodes.push_back(root);
    numbers[root] = 1;
    for (size_t at = 0; at < m_nodes.size(); ++at)
    {
        prefetchAhead(at);
        m_starts.push_back(static_cast<uint32_t>(m_children.size()));
        const kxNodeList* list = listOf(m_nodes[at]);
        const uint32_t count = list ? list->getCount() : 0;
        for (uint32_t i = 0; i < count; ++i)
        {
            if (i + kSiblingsAhead < count)
                prefetchObject(list->get(i + kSiblingsAhead));
            kxNode* child = list->get(i);
            if (!child)
                continue;
            uint32_t& number = numbers[child];
            if (number == 0)
            {
                m_nodes.push_back(child);
                number = getCount();
            }
            m_children.push_back(number - 1);
        }
    }
}

// From the order of collecting to that of a walk.
void kxFlatGraph::sort()
{
    struct Step
    {
        uint32_t number;
        uint32_t next; // among all children
    };
    const uint32_t count = getCount();
    std::vector<uint32_t> parents(count, kNone), order, numbers(count);
    order.reserve(count);
    std::vector<Step> steps;
    if (count > 0)
        steps.push_back({0, 0});
    while (!steps.empty())
    {
        Step& step = steps.back();
        if (step.next == m_starts[step.number + 1])
        {
            numbers[step.number] = static_cast<uint32_t>(order.size());
            order.push_back(step.number);
            steps.pop_back();
            continue;
        }
        const uint32_t child = m_children[step.next++];
        if (child == 0 || parents[child] != kNone)
            continue;
        parents[child] = step.number;
        steps.push_back({child, m_starts[child]});
    }

    std::vector<kxNode*> nodes;
    std::vector<uint32_t> starts, children;
    nodes.reserve(count);
    starts.reserve(count + 1);
    children.reserve(m_children.size());
    m_firstParents.reserve(count);
    for (const uint32_t old : order)
    {
        nodes.push_back(m_nodes[old]);
        m_firstParents.push_back(parents[old] == kNone ? kNone : numbers[parents[old]]);
        starts.push_back(static_cast<uint32_t>(children.size()));
        for (const uint32_t child : getChildren(old))
            children.push_back(numbers[child]);
    }
    starts.push_back(static_cast<uint32_t>(children.size()));
    m_nodes = std::move(nodes);
    m_starts = std::move(starts);
    m_children = std::move(children);
}

} // namespace Kel::Sg
