#include "opt/scene/kxCompileGraph.h"

#include "platform/sg/kxSceneInfo.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxCompileGraph)

void kxCompileGraph::listFields(kxFields<kxCompileGraph>& fields)
{
    fields.add(&kxCompileGraph::_priorStateUsage, "_priorStateUsage",
               "how the compiled graph uses the render state before it: 0 not, 1 uses it, 2 uses and restores it");
}

bool kxCompileGraph::configure(int)
{
    return true;
}

bool kxCompileGraph::canOptimize(kxInfo* info)
{
    return kxCast<kxSceneInfo>(info) != nullptr;
}

bool kxCompileGraph::insertCompiledGraphAboveNode(kxSmartPointer<kxNode>& node, PriorStateUsage usage)
{
    if (!node)
        return false;
    const auto compiled = kxNew<kxCompiledGraph>();
    compiled->_priorStateUsage = usage;
    const uint32_t parentCount = node->getParentCount();
    for (uint32_t i = 0; i < parentCount; ++i)
    {
        kxGroup* parent = node->getParent(0);
        parent->appendChild(compiled);
        parent->removeChild(node);
    }
    compiled->appendChild(node);
    node = compiled;
    return true;
}

bool kxCompileGraph::apply(kxSmartPointer<kxNode>& root)
{
    const bool inserted = insertCompiledGraphAboveNode(root, _priorStateUsage);
    count("graphs compiled", inserted ? 1 : 0);
    return inserted;
}

bool kxCompileGraph::applyInfo(kxInfo* info)
{
    auto* scene = kxCast<kxSceneInfo>(info);
    if (!scene)
        return false;
    kxSmartPointer<kxNode> root = scene->getSceneGraph();
    // Not the setting: hosts rely on scenes that leave the state as they found it. A scene without a graph stays without.
    if (insertCompiledGraphAboveNode(root, PriorStateUsage::kUsedAndRestored))
        count("graphs compiled");
    scene->setSceneGraph(root);
    return true;
}

} // namespace Kel::Opt
