#include "opt/iterate/kxOptTraverseGraph.h"

#include "opt/framework/kxOptInterface.h"
#include "platform/sg/kxGroup.h"

#include <vector>

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptTraverseGraph)

const kxMetaEnum& kxMetaEnumOf(GRAPH_TRAVERSAL)
{
    static const kxMetaEnum names(
        "GRAPH_TRAVERSAL",
        {{"STOP_TRAVERSAL", STOP_TRAVERSAL}, {"RECURSE_TREE", RECURSE_TREE}, {"PRUNE_TREE", PRUNE_TREE}});
    return names;
}

void kxOptTraverseGraph::listFields(kxFields<kxOptTraverseGraph>& fields)
{
    fields.add(&kxOptTraverseGraph::_nodeType, "_nodeType", "type of the nodes to work on");
    fields.add(&kxOptTraverseGraph::_firstNodeName, "_firstNodeName", "work only at and below nodes of this name");
    fields.add(&kxOptTraverseGraph::_exactType, "_exactType", "leave out nodes of types derived from _nodeType");
}

kxOptTraverseGraph::kxOptTraverseGraph() : _nodeType(kxNode::staticMetaObject()) {}
kxOptTraverseGraph::~kxOptTraverseGraph() = default;

bool kxOptTraverseGraph::preTraverse()
{
    return true;
}

bool kxOptTraverseGraph::postTraverse()
{
    return true;
}

bool kxOptTraverseGraph::apply(kxSmartPointer<kxNode>& root)
{
    preTraverse();
    // The abstract type exactly would reach nothing.
    if (_nodeType.get() == kxNode::staticMetaObject())
        _exactType = false;
    walk(root, _firstNodeName.isEmpty());
    if (isCancelled())
        return false;
    postTraverse();
    return true;
}

bool kxOptTraverseGraph::isCancelled() const
{
    return _optInterface && _optInterface->getOptCancelState();
}

GRAPH_TRAVERSAL kxOptTraverseGraph::visit(kxSmartPointer<kxNode>& node, bool& inside)
{
    if (_firstNodeName && node->getName() == _firstNodeName)
        inside = true;
    const bool isMeant = !_nodeType || (_exactType ? node->isOfExactType(_nodeType) : node->isOfType(_nodeType));
    return inside && isMeant ? dispatch(node) : RECURSE_TREE;
}

namespace
{

/// A group whose children are being visited.
struct Level
{
    kxSmartPointer<kxGroup> group;
    uint32_t childCount;
    uint32_t next;
    bool inside;
};

// `dispatch` may have edited the group, so the place is looked up anew when the old child is not where it was.
void storeReplacement(kxGroup* group, uint32_t index, const kxNode* old, kxNode* replacement)
{
    if (index >= group->getChildCount() || group->getChild(index) != old)
    {
        const int found = group->getChild(old);
        if (found < 0)
            return;
        index = static_cast<uint32_t>(found);
    }
    group->setChild(index, replacement);
}

} // namespace

bool kxOptTraverseGraph::walk(kxSmartPointer<kxNode>& root, bool inside)
{
    if (!root)
        return true;
    std::vector<Level> levels;
    auto enter = [&](const kxSmartPointer<kxNode>& node, bool insideNode)
    {
        if (auto* group = kxCast<kxGroup>(node))
            levels.push_back({group, group->getChildCount(), 0, insideNode});
    };

    const GRAPH_TRAVERSAL answer = visit(root, inside);
    if (answer == RECURSE_TREE)
        enter(root, inside);
    bool goOn = answer != STOP_TRAVERSAL;
    while (!levels.empty())
    {
        // The cancel state is asked for behind each child and all below it, on the way out of a stopped walk as well: hosts
        // count on being asked to keep their windows alive.
        Level& level = levels.back();
        const uint32_t index = level.next++;
        if (!goOn || index >= level.childCount)
        {
            levels.pop_back();
            if (!levels.empty() && isCancelled())
                goOn = false;
            continue;
        }
        kxNode* const old = index < level.group->getChildCount() ? level.group->getChild(index) : nullptr;
        if (!old)
            continue;
        const kxSmartPointer<kxGroup> parent = level.group;
        kxSmartPointer<kxNode> child = old;
        const kxSmartPointer<kxNode> held = old;
        bool insideChild = level.inside;
        const GRAPH_TRAVERSAL childAnswer = visit(child, insideChild);
        if (child.get() != old)
            storeReplacement(parent, index, old, child);
        const size_t depth = levels.size();
        if (childAnswer == RECURSE_TREE)
            enter(child, insideChild);
        if (levels.size() > depth)
            continue;
        goOn = childAnswer != STOP_TRAVERSAL;
        if (isCancelled())
            goOn = false;
    }
    return goOn;
}

} // namespace Kel::Opt
