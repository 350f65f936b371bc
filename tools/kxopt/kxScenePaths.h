// How often, and how deep, the nodes of a file are met.
#pragma once

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

    /// Calls `callback(node, paths, depth)` once for every node, parents before their children: paths from the roots to it,
    /// instances of arrays included, and nodes on the longest of them. Cost: one walk of the links.
    template <class F>
    void forEach(F callback)
    {
        start();
        for (auto at = m_postOrder.rbegin(); at != m_postOrder.rend(); ++at)
        {
            const Value value = m_values.get(*at);
            callback(*at, value.paths, value.depth);
            handDown(*at, value);
        }
    }

    static uint64_t add(uint64_t a, uint64_t b);
    static uint64_t multiply(uint64_t a, uint64_t b);

private:
    struct Value
    {
        uint64_t paths = 0;
        uint64_t depth = 1;
        bool met = false;
    };

    void start();
    void handDown(Sg::kxNode* node, const Value& value);

    std::vector<Sg::kxNode*> m_roots;
    std::vector<Sg::kxNode*>
        m_postOrder; // below every root in turn; read backwards, parents stand before their children
    Core::kxTSerialMap<Value> m_values;
};

} // namespace Kel::Tool
