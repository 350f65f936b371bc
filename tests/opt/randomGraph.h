// Small random graphs with shared nodes, null children and children listed twice.
#pragma once

#include "opt/framework/kxOptNames.h"
#include "opt/libKXOpt.h"
#include "platform/sg/kxTransform.h"

#include <random>
#include <string>
#include <vector>

namespace Kel::Opt
{

/// Nodes of a graph in an order in which parents stand before children; the first is the root. Most are reached.
inline std::vector<kxSmartPointer<kxNode>> makeRandomGraph(uint32_t seed)
{
    libKXOpt_arkRegister();
    std::mt19937 random(seed);
    auto below = [&](size_t limit) { return static_cast<uint32_t>(random() % limit); };
    std::vector<kxSmartPointer<kxNode>> nodes;
    const uint32_t count = 1 + below(14);
    for (uint32_t i = 0; i < count; ++i)
    {
        kxSmartPointer<kxNode> node;
        if (i == 0 || below(4) > 0)
            node = below(3) > 0 ? kxNew<kxGroup>() : kxNew<kxTransform>();
        else
            node = kxNew<kxNode>();
        node->setName(std::string(1, static_cast<char>('a' + i)));
        nodes.push_back(node);
    }
    for (uint32_t i = 0; i < count; ++i)
        if (auto* group = kxCast<kxGroup>(nodes[i]))
            for (uint32_t links = below(4); links > 0; --links)
            {
                const bool null = i + 1 == count || below(8) == 0;
                group->appendChild(null ? nullptr : nodes[i + 1 + below(count - i - 1)].get());
            }
    return nodes;
}

} // namespace Kel::Opt
