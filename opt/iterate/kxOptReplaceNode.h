// Base of optimizations that put nodes in the place of others.
#pragma once

#include "opt/iterate/kxOptTraverseGraph.h"

namespace Kel::Opt
{

/// Traversal whose `dispatch` replaces nodes.
class kxOptReplaceNode : public kxOptTraverseGraph
{
    KX_OBJECT(kxOptReplaceNode, kxOptTraverseGraph)

    /// Puts `newNode` in the place of `oldNode` under all its parents, at the same indices, once for each link; `newNode` itself
    /// may be one of them and keeps its children. The root of a graph has no parents: whoever holds it replaces it. Returns
    /// the number of links changed.
    static uint32_t doReplaceNode(kxNode* oldNode, kxNode* newNode);
};

} // namespace Kel::Opt
