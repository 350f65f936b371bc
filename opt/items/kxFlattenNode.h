// Items that decide, more boldly than those for collapsing, what becomes of a node when a graph is made shallower.
#pragma once

#include "opt/items/kxCollapseNode.h"

namespace Kel::Opt
{

/// Base of the decisions for flattening, and the one for a node of any type: it stays. They are not registered;
/// flattening puts them in the place of the collapse items of their types while it runs.
class kxFlattenNode : public kxCollapseNodeForNode
{
    KX_OBJECT(kxFlattenNode, kxCollapseNodeForNode)

    bool getRegisterInterface() override;
    /// Lets the flatten root stay.
    kxSmartPointer<kxParameterSet> collapse(kxParameterSet* input) override;

    /// Root of the graph that is being flattened, null while none is. One for the process: one graph is flattened at a
    /// time.
    static kxNode* getFlattenRoot();
    static void setFlattenRoot(kxNode* root);

protected:
    /// Links that may take the place of those of one node, where it has fewer. Bounds what nested instances can grow
    /// to.
    static constexpr uint64_t kMaxNewLinks = 64;
};

/// Any group goes.
class kxFlattenNodeForGroup : public kxFlattenNode
{
    KX_OBJECT(kxFlattenNodeForGroup, kxFlattenNode)

    kxMetaObject* getInterfacedType() override;

protected:
    HIERARCHY_COLLAPSE decide() override;
};

/// An attribute set goes when all its children can take its attributes: then they have them when `collapse` returns.
/// What is drawn is the same whether the set is then taken out or not.
class kxFlattenNodeForAttrSet : public kxFlattenNode
{
    KX_OBJECT(kxFlattenNodeForAttrSet, kxFlattenNode)

    kxMetaObject* getInterfacedType() override;

protected:
    HIERARCHY_COLLAPSE decide() override;

private:
    bool canTakeAttrs(kxNode* child) const;

    static constexpr uint32_t kMaxAttrs = 64; // pushed down to each child
};

} // namespace Kel::Opt
