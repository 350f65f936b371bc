// Has graphs recorded as a whole.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/sg/kxCompiledGraph.h"

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Puts a compiled graph above the root of every scene.
///
/// Applied to a scene, the compiled graph restores the state that it met whatever `_priorStateUsage` says, because hosts draw
/// other things around a scene; applied to a graph, it does what the setting says.
class kxCompileGraph : public kxOptBase
{
    KX_OBJECT(kxCompileGraph, kxOptBase)
    static void listFields(kxFields<kxCompileGraph>& fields);

    PriorStateUsage _priorStateUsage = PriorStateUsage::kUsedAndRestored;

    bool configure(int section) override;
    using kxOptBase::canOptimize;
    bool canOptimize(kxInfo* info) override;
    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// Hangs the node below a new compiled graph, which becomes the last child of each of the node's parents and the value of
    /// `node`. False for null.
    static bool insertCompiledGraphAboveNode(kxSmartPointer<kxNode>& node, PriorStateUsage usage);
};

} // namespace Kel::Opt
