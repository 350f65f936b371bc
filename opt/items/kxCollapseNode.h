// Items that decide what becomes of a node when its hierarchy is collapsed.
//
// The rule is one: a decision never changes what is drawn, nor an order that is drawn in. What something else depends
// on stays: nodes that are animated, locked, or carry information of the user's.
#pragma once

#include "opt/items/kxItemBase.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Sg
{
class kxLod;
}

namespace Kel::Opt
{

/// What shall become of a node.
enum HIERARCHY_COLLAPSE : int32_t
{
    NO_CHANGE = 1,     ///< it stays
    REPLACE_TREE = 2,  ///< another node takes its place under every parent
    COLLAPSE_TREE = 3, ///< its children take its place
    PRUNE_TREE = 4     ///< it goes with all below
};
const kxMetaEnum& kxMetaEnumOf(HIERARCHY_COLLAPSE);

/// Decides for one node; changes nothing itself. The results are the integer "_collapse" and the object "_replaceNode":
/// a node that is not in the graph yet, but already holds the children that it shall have.
class kxCollapseNode : public kxItemBase
{
    KX_OBJECT(kxCollapseNode, kxItemBase)
    static void listFields(kxFields<kxCollapseNode>& fields);

    kxSmartPointer<kxNode> _node;
    HIERARCHY_COLLAPSE _collapse = NO_CHANGE;
    kxSmartPointer<kxNode> _replaceNode;

    void userSetupOutput(kxParameterSet* result) override;
    kxMetaObject* getInterfacedType() override;
    /// A decision for one type says nothing about types derived from it.
    bool getRecursiveInterface() override;
    kxStringRef getInterfaceName() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> collapse(kxParameterSet* input) = 0;
};

/// For a bare node, which stays. Base of the others.
class kxCollapseNodeForNode : public kxCollapseNode
{
    KX_OBJECT(kxCollapseNodeForNode, kxCollapseNode)

    /// Lets every node stay that something depends on, and asks `decide` about the others.
    kxSmartPointer<kxParameterSet> collapse(kxParameterSet* input) override;

protected:
    /// Decides about `_node`, on which nothing depends.
    virtual HIERARCHY_COLLAPSE decide();

    /// Nothing depends on the node as it is. Expects the node's links to be in order.
    bool isFree(kxNode* node) const;
    /// The node may be taken out from between its parents and children: there are parents, none of them tells its
    /// children apart by position, and there are no null children.
    static bool canSplice(const kxGroup* group);
    /// `COLLAPSE_TREE` where the group can be taken out and the graph gets at most `allowedLinks` links in place of
    /// those that the group has, or no more than it has; `PRUNE_TREE` for a group without children; `NO_CHANGE`
    /// otherwise.
    static HIERARCHY_COLLAPSE spliceOut(const kxGroup* group, uint64_t allowedLinks = 0);
    /// `PRUNE_TREE` for a group that can be taken out and has no children, `NO_CHANGE` otherwise.
    static HIERARCHY_COLLAPSE pruneEmpty(const kxGroup* group);
    /// The only child, when it has exactly the type `T`, no other parent, and nothing depends on it; null otherwise.
    template <class T>
    T* getOnlyFreeChild(const kxGroup* group) const
    {
        kxNode* child = group->getChildCount() == 1 ? group->getChild(0u) : nullptr;
        if (!child || !child->isOfExactType(T::staticMetaObject()) || child->getParentCount() != 1 || !isFree(child))
            return nullptr;
        return static_cast<T*>(child);
    }
    /// Gives a node that stands for two what they have in common beside their type: a name, the children of the inner
    /// one.
    static void takeOver(kxGroup* node, const kxGroup* outer, const kxGroup* inner);
};

/// Declares the collapse item of one type. What it decides, and why, stands in the source file.
#define KX_COLLAPSE_NODE(Class)                                                                                        \
    class Class : public kxCollapseNodeForNode                                                                         \
    {                                                                                                                  \
        KX_OBJECT(Class, kxCollapseNodeForNode)                                                                        \
        kxMetaObject* getInterfacedType() override;                                                                    \
                                                                                                                       \
    protected:                                                                                                         \
        HIERARCHY_COLLAPSE decide() override;                                                                          \
    };

KX_COLLAPSE_NODE(kxCollapseNodeForAttrSet)
KX_COLLAPSE_NODE(kxCollapseNodeForGeometry)
KX_COLLAPSE_NODE(kxCollapseNodeForGroup)
KX_COLLAPSE_NODE(kxCollapseNodeForLightSet)
KX_COLLAPSE_NODE(kxCollapseNodeForLightStateSet)
KX_COLLAPSE_NODE(kxCollapseNodeForModelViewMatrixBoneSelect)
KX_COLLAPSE_NODE(kxCollapseNodeForMorphInstance)
KX_COLLAPSE_NODE(kxCollapseNodeForMultitextureShader)
KX_COLLAPSE_NODE(kxCollapseNodeForTransform)
#undef KX_COLLAPSE_NODE

class kxCollapseNodeForLod : public kxCollapseNodeForNode
{
    KX_OBJECT(kxCollapseNodeForLod, kxCollapseNodeForNode)

    kxMetaObject* getInterfacedType() override;
    /// True when the node draws its one child at every distance: the ranges leave nothing out.
    static bool hasOneFullRange(const kxLod* lod);

protected:
    HIERARCHY_COLLAPSE decide() override;
};

/// Also for types derived from `kxUserInfo`.
class kxCollapseNodeForUserInfo : public kxCollapseNodeForNode
{
    KX_OBJECT(kxCollapseNodeForUserInfo, kxCollapseNodeForNode)

    kxMetaObject* getInterfacedType() override;
    bool getRecursiveInterface() override;

protected:
    HIERARCHY_COLLAPSE decide() override;
};

} // namespace Kel::Opt
