// Items that list what an object contains.
#pragma once

#include "opt/items/kxItemBase.h"
#include "platform/sg/kxNode.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Base of the items that list the children of an object.
class kxChildContainer : public kxItemBase
{
    KX_OBJECT(kxChildContainer, kxItemBase)

    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) = 0;
    virtual kxSmartPointer<kxParameterSet> getParentList(kxParameterSet* input) = 0;

    /// A number that changes whenever a list of children that items of this class give may have changed; 0 when the
    /// class cannot tell. Walks over structures with shared parts use it to go through those once.
    virtual uint64_t getChangeCount() const;
};

/// Base of the items that list the attributes of an object; they count as its children.
class kxAttrContainer : public kxItemBase
{
    KX_OBJECT(kxAttrContainer, kxItemBase)

    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) = 0;
};

/// Children and parents of a node. The lists are the caller's own, where it passed some, or new ones; never a member of
/// a node, so a caller may edit the graph while it goes through them.
class kxNodeTraversal : public kxChildContainer
{
    KX_OBJECT(kxNodeTraversal, kxChildContainer)
    static void listFields(kxFields<kxNodeTraversal>& fields);

    kxSmartPointer<kxNode> _container;
    kxSmartPointer<kxNodeList> _childList = kxNew<kxNodeList>();
    kxSmartPointer<kxNodeList> _parentList = kxNew<kxNodeList>();

    void userSetupOutput(kxParameterSet* result) override;
    kxMetaObject* getInterfacedType() override;
    kxStringRef getInterfaceName() override;

    /// A node that is no group has no children, which is a success.
    kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> getParentList(kxParameterSet* input) override;

    /// The same without a call.
    static void listChildren(const kxNode* node, kxNodeList& children);
    static void listParents(const kxNode* node, kxNodeList& parents);
};

/// Attributes of a node: those it sets, its lights and its light states.
class kxAttrTraversal : public kxAttrContainer
{
    KX_OBJECT(kxAttrTraversal, kxAttrContainer)
    static void listFields(kxFields<kxAttrTraversal>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxAttrList> _childList = kxNew<kxAttrList>();

    void userSetupOutput(kxParameterSet* result) override;
    kxMetaObject* getInterfacedType() override;
    kxStringRef getInterfaceName() override;

    kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) override;

    /// The same as `getChildList` without a call.
    static void listAttrs(const kxObject* object, kxAttrList& attrs);
};

/// What the fields of any object refer to. Objects have no links to where they are referred from, so the parents are
/// those that the caller passed; callers do not get to ask for them by name.
class kxObjectTraversal : public kxChildContainer
{
    KX_OBJECT(kxObjectTraversal, kxChildContainer)
    static void listFields(kxFields<kxObjectTraversal>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxObjectList> _childList = kxNew<kxObjectList>();
    kxSmartPointer<kxObjectList> _parentList = kxNew<kxObjectList>();

    kxMetaObject* getInterfacedType() override;
    kxStringRef getInterfaceName() override;
    /// Without "getParentList".
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> getParentList(kxParameterSet* input) override;
};

} // namespace Kel::Opt
