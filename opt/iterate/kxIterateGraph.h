// Walk over a scene graph.
#pragma once

#include "opt/framework/kxOptNames.h"
#include "platform/sg/kxNode.h"

namespace Kel::Opt
{

/// Walks a graph in depth-first pre-order, forwards or backwards, without recursion, and keeps the path from the root to the
/// current node. A node under several parents is met once for each path to it. Null children are met as well: `getCurrent`
/// is null then though the walk goes on, so loops over graphs that may have some ask `isNotLast`.
///
/// The graph may be edited during the walk as long as the nodes of the path live and stay where they are; the path holds no
/// references.
class kxIterateGraph : public kxObject
{
    KX_OBJECT(kxIterateGraph, kxObject)
    static void listFields(kxFields<kxIterateGraph>& fields);

    kxSmartPointer<kxNonRefCountedNodeList> _currentPath = kxNew<kxNonRefCountedNodeList>(); ///< root first
    kxSmartPointer<kxIntList> _currentIndices = kxNew<kxIntList>(); ///< for each node behind the root, its child index

    kxNode* begin(kxNode* root);
    kxNode* beginOfType(kxNode* root, const kxMetaObject* type);
    kxNode* beginOfExactType(kxNode* root, const kxMetaObject* type);

    kxNode* getCurrent() const;
    kxNode* getNext();
    /// The next node that does not lie below the current one.
    kxNode* getNextSkippingChildren();
    kxNode* getPrevious();
    /// The same as getNext and getPrevious; whether the walk has not ended.
    bool next();
    bool previous();
    bool isNotLast() const { return !_currentPath->isEmpty(); }
    bool isNotFirst() const { return _currentPath->getCount() > 1; }

    kxNode* getNextOfType(const kxMetaObject* type);
    kxNode* getNextOfExactType(const kxMetaObject* type);
    kxNode* getPreviousOfType(const kxMetaObject* type);
    kxNode* getPreviousOfExactType(const kxMetaObject* type);

    /// Nodes of the path, 1 for the root alone, 0 when the walk has ended.
    int getCurrentDepth() const { return static_cast<int>(_currentPath->getCount()); }

    /// Puts `node` in the current node's place in the path and, below the root, among the children of its parent; the walk
    /// goes on with the children of `node`. False when the walk has ended.
    bool replaceCurrentNode(kxSmartPointer<kxNode> node);

    /// True when each node of a path is a child of the one before it. The last link is not looked at: callers ask right after
    /// they took the last node from its parent.
    bool validateHierarchy(kxNonRefCountedNodeList* path) const;

    /// True when a node of the path has more than one parent.
    bool hasInstanciatedNode() const;
    /// True when a transform of the path moves: it is animated or dynamic, or follows the time.
    bool hasAnimatedTransform() const;
    /// Matrix from the current node's space to the root's: the product of the transforms of the path, both ends included.
    kxMatrix44f evaluateModelViewMatrix() const;

protected:
    ~kxIterateGraph() override;
};

} // namespace Kel::Opt
