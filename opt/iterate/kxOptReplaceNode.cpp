#include "opt/iterate/kxOptReplaceNode.h"

#include "platform/sg/kxGroup.h"

#include <algorithm>
#include <vector>

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptReplaceNode)

namespace
{

// Place of the last replacement: a walk that replaces the children of a large group one by one finds the next one beside it.
uint32_t g_lastIndex = 0;

int findChild(const kxGroup* group, const kxNode* node)
{
    for (uint32_t index = g_lastIndex; index < g_lastIndex + 2 && index < group->getChildCount(); ++index)
        if (group->getChild(index) == node)
            return static_cast<int>(index);
    return group->getChild(node);
}

} // namespace

uint32_t kxOptReplaceNode::doReplaceNode(kxNode* oldNode, kxNode* newNode)
{
    if (!oldNode || oldNode == newNode)
        return 0;
    const kxSmartPointer<kxNode> held = oldNode;
    // One entry for each link: a parent that has the node twice stands in the list twice.
    std::vector<kxSmartPointer<kxGroup>> parents;
    for (uint32_t i = 0; i < oldNode->getParentCount(); ++i)
        if (oldNode->getParent(i) && oldNode->getParent(i) != newNode)
            parents.emplace_back(oldNode->getParent(i));
    uint32_t changed = 0;
    for (const kxSmartPointer<kxGroup>& parent : parents)
    {
        const int index = findChild(parent, oldNode);
        if (index < 0)
            continue;
        g_lastIndex = static_cast<uint32_t>(index);
        parent->setChild(g_lastIndex, newNode);
        ++changed;
    }
    return changed;
}

} // namespace Kel::Opt
