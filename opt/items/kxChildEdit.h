// Items that add and remove single members of a container.
#pragma once

#include "opt/items/kxItemBase.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Adds and removes children. Success says that the call was made, also when the container refused: a caller that has
/// to know looks at the container.
class kxChildEdit : public kxItemBase
{
    KX_OBJECT(kxChildEdit, kxItemBase)
    static void listFields(kxFields<kxChildEdit>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxObject> _child;

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    /// Queues no event.
    virtual void createMessage();
    virtual kxSmartPointer<kxParameterSet> addChild(kxParameterSet* input) = 0;
    virtual kxSmartPointer<kxParameterSet> removeChild(kxParameterSet* input) = 0;
};

/// Edits the children of groups: `addChild` adds at the end, `removeChild` takes the first occurrence.
class kxChildEditForNode : public kxChildEdit
{
    KX_OBJECT(kxChildEditForNode, kxChildEdit)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSetConstraintList> getConstraints() override;
    kxSmartPointer<kxParameterSet> addChild(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> removeChild(kxParameterSet* input) override;
};

/// Adds and removes attributes, as lenient as `kxChildEdit`.
class kxAttrEdit : public kxItemBase
{
    KX_OBJECT(kxAttrEdit, kxItemBase)
    static void listFields(kxFields<kxAttrEdit>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxObject> _attr;

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;
    /// An empty list.
    kxSmartPointer<kxParameterSetConstraintList> getConstraints() override;

    /// Queues no event.
    virtual void createMessage();
    virtual kxSmartPointer<kxParameterSet> removeAttr(kxParameterSet* input) = 0;
    virtual kxSmartPointer<kxParameterSet> addAttr(kxParameterSet* input) = 0;
};

/// Base of the items for one type of attribute lists each: types derived from theirs may keep other lists in order.
class kxAttrEditForNode : public kxAttrEdit
{
    KX_OBJECT(kxAttrEditForNode, kxAttrEdit)

    bool getRecursiveInterface() override;
};

class kxAttrEditForAttrSet : public kxAttrEditForNode
{
    KX_OBJECT(kxAttrEditForAttrSet, kxAttrEditForNode)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSet> removeAttr(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> addAttr(kxParameterSet* input) override;
};

class kxAttrEditForLightSet : public kxAttrEditForNode
{
    KX_OBJECT(kxAttrEditForLightSet, kxAttrEditForNode)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSet> removeAttr(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> addAttr(kxParameterSet* input) override;
};

class kxAttrEditForLightStateSet : public kxAttrEditForNode
{
    KX_OBJECT(kxAttrEditForLightStateSet, kxAttrEditForNode)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSet> removeAttr(kxParameterSet* input) override;
    kxSmartPointer<kxParameterSet> addAttr(kxParameterSet* input) override;
};

} // namespace Kel::Opt
