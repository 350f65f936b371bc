#include "opt/scene/kxInstancedNodes.h"

#include "platform/sg/kxInstanceArray.h"

#include <vector>

namespace Kel::Opt
{

bool kxInstancedNodes::isBelowArray(const kxNode* node)
{
    struct Step
    {
        const kxNode* node;
        uint32_t next;
    };
    std::vector<Step> way{{node, 0}};
    while (!way.empty() && m_ways.get(way.back().node) != INSTANCED)
    {
        Step& step = way.back();
        if (step.node->isOfType(kxInstanceArray::staticMetaObject()))
            break;
        m_ways[step.node] = PLAIN;
        if (step.next == step.node->getParentCount())
            way.pop_back();
        else if (const kxNode* parent = step.node->getParent(step.next++); m_ways.get(parent) != PLAIN)
            way.push_back({parent, 0});
    }
    for (const Step& step : way)
        m_ways[step.node] = INSTANCED;
    return !way.empty();
}

} // namespace Kel::Opt
