// Moves attributes up the graph.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "opt/scene/kxAttrComparison.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxAttrSet.h"

namespace Kel::Opt
{

/// Whether a list holds an attribute of the type that is promoted.
enum ATTRIBUTE_IN_LIST : int32_t
{
    NO_ATTRIBUTE = 0,
    ATTRIBUTE_REDEFINED = 1, ///< again, alike to the one found before
    ATTRIBUTE_DEFINED = 2,   ///< first found here
    ATTRIBUTE_CONFLICT = 3   ///< two that are not alike
};
const kxMetaEnum& kxMetaEnumOf(ATTRIBUTE_IN_LIST);

/// How a node defines the attribute for what is below it.
enum ATTRIBUTE_SHARING_TYPE : int32_t
{
    NO_SHARING = 0,
    STRONG_SHARING = 1, ///< for all of its subtree
    WEAK_SHARING = 2,   ///< in some passes only
    CONFLICT_SHARING = 3
};
const kxMetaEnum& kxMetaEnumOf(ATTRIBUTE_SHARING_TYPE);

/// Moves attributes of one type up: where all children of a group carry alike attributes, the attribute is set once
/// above them; where they differ, the children of each value come under an attribute set of their own. Children of a
/// group whose order means nothing change their order.
///
/// A node with several parents is looked at once and loses its attribute when its last parent has been met; with
/// parents outside of the graph it keeps it, and the optimization says so and fails.
///
/// Only attribute sets, blend matrix selections and shaders of exactly these types are seen as setting attributes. The
/// picture changes where an attribute is promoted past another place that sets it: a shader that sets it in some passes
/// only, a set that holds two values of it, and an override set that receives the attribute of its only child's
/// subtree. So it does where a group sets an attribute of the type for one unit and all its children one for another:
/// texture binds are better shared than promoted.
///
/// Cost: one look-up by hash for each child, and one rebuilding of a child list for each group whose children differ.
class kxPromoteAttrs : public kxOptBase
{
    KX_OBJECT(kxPromoteAttrs, kxOptBase)
    static void listFields(kxFields<kxPromoteAttrs>& fields);

    kxSmartPointer<kxMetaObject> _attributeType;
    kxStringRef _newAttrSetName{"PromotedAttr"};
    // Nodes with parents still to be met, from one graph to the next: parallel lists, sorted by identity of the node.
    kxSmartPointer<kxNodeList> _instantiatedNodes = kxNew<kxNodeList>();
    kxSmartPointer<kxAttrList> _instantiatedNodeAttrs = kxNew<kxAttrList>();
    kxSmartPointer<kxIntList> _instantiatedNodeCounts = kxNew<kxIntList>();

    kxPromoteAttrs();

    bool configure(int section) override;
    bool apply(kxSmartPointer<kxNode>& root) override;
    /// Graphs of one file may share nodes: what one leaves open a later one completes, so only what is open behind the
    /// last is a failure.
    bool applyToInfos() override;

protected:
    ~kxPromoteAttrs() override;

    /// Promotes below a node; gives the attribute that is in effect at it.
    kxSmartPointer<kxAttr> promoteAttributes(kxNode* node, kxAttr* inherited);
    /// The attribute that a node itself sets; null when it sets none.
    ATTRIBUTE_SHARING_TYPE getAttribute(const kxNode* node, kxSmartPointer<kxAttr>& out);
    /// `inOut` is the attribute found before, or null; becomes the first one found, null on a conflict.
    ATTRIBUTE_IN_LIST getAttributeFromList(const kxAttrList* list, kxSmartPointer<kxAttr>& inOut);
    void removeAttribute(kxNode* node, kxAttr* attr);
    bool removeAttributeFromList(kxAttrList* list, kxAttr* attr);
    void appendUniqueAttribute(kxAttrSet* set, kxAttr* attr);
    kxSmartPointer<kxAttrSet> newAttrSet(kxAttr* attr);
    bool isAttrAlike(kxAttr* a, kxAttr* b);

private:
    bool hasGraphs() const;
    bool areParentsInFile() const;
    struct Instance;
    struct Frame;
    class Walk;

    void setAbove(kxGroup* group, Frame& frame);

    kxAttrComparison* m_comparison = nullptr; // while a graph is promoted
};

} // namespace Kel::Opt
