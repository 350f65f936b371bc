// How often, and how deep, the nodes of a file are met.
#pragma once

#include "platform/core/kxPrefetch.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGroup.h"

#include <cstdint>
#include <vector>

namespace Kel::Tool
{

/// Paths and depths of every node below some roots. Numbers beyond 2^64 - 1 count as 2^64 - 1.
class kxScenePaths
{
public:
    /// Adds the nodes below a root; null adds none. The graph must be free of cycles.
    void addRoot(Sg::kxNode* root);

    /// Behind the last root, once: calls `callback(node, paths, depth)` for every node, parents before their children: paths from the roots to it,
    /// instances of arrays included, and nodes on the longest of them. Cost: one walk of the links.
    template <class F>
    void forEach(F callback)
    {
        for (size_t i = m_postOrder.size(); i-- > 0;)
        {
            if (i >= kAhead)
                Core::prefetchObject(m_postOrder[i - kAhead]);
            Sg::kxNode* node = m_postOrder[i];
            const Value value = m_values.get(node);
            callback(node, value.paths, value.depth);
            handDown(node, value);
        }
    }

    static uint64_t add(uint64_t a, uint64_t b);
    static uint64_t multiply(uint64_t a, uint64_t b);

private:
    struct Value
    {
        uint64_t paths = 0;
        uint32_t depth = 0; // 0: not met
    };
    static constexpr size_t kAhead = 8; // so many nodes before it is looked at, a node is asked for

    void handDown(Sg::kxNode* node, const Value& value);

    // Below every root in turn; read backwards, parents stand before their children.
    std::vector<Sg::kxNode*> m_postOrder;
    Core::kxTSerialMap<Value> m_values;
};

} // namespace Kel::Tool
