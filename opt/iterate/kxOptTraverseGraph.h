// Base of optimizations that are called for each node of a graph.
#pragma once

#include "opt/framework/kxOptBase.h"

namespace Kel::Opt
{

/// How a walk goes on behind a node.
enum GRAPH_TRAVERSAL : int32_t
{
    STOP_TRAVERSAL = 0,
    RECURSE_TREE = 1,
    PRUNE_TREE = 2
};
const kxMetaEnum& kxMetaEnumOf(GRAPH_TRAVERSAL);

/// Calls `dispatch` for every node of a type, at and below the node of a given name, in pre-order, once for each path.
class kxOptTraverseGraph : public kxOptBase
{
    KX_OBJECT(kxOptTraverseGraph, kxOptBase)
    static void listFields(kxFields<kxOptTraverseGraph>& fields);

    kxSmartPointer<kxMetaObject> _nodeType;
    kxStringRef _firstNodeName;
    bool _exactType = true;

    kxOptTraverseGraph();

    /// True unless the run was cancelled; a walk that `dispatch` stopped has succeeded.
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// `node` may be replaced; the new node stands in the old one's place then, and the walk goes on with its children. Of
    /// the node's children as many are visited as there are when `dispatch` returns.
    virtual GRAPH_TRAVERSAL dispatch(kxSmartPointer<kxNode>& node) = 0;
    virtual bool preTraverse();
    virtual bool postTraverse();

protected:
    ~kxOptTraverseGraph() override;

private:
    bool walk(kxSmartPointer<kxNode>& root, bool inside);
    GRAPH_TRAVERSAL visit(kxSmartPointer<kxNode>& node, bool& inside);
    bool isCancelled() const;
};

} // namespace Kel::Opt
