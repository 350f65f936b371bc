// Items that put one member of a container in the place of another.
#pragma once

#include "opt/items/kxItemBase.h"
#include "platform/attrs/kxAttr.h"

namespace Kel::Opt
{

using namespace Kel::Attrs;

class kxItemCall;

/// Puts a child in the place of another and queues a `kxReplacedChildEvent`.
class kxReplaceChild : public kxItemBase
{
    KX_OBJECT(kxReplaceChild, kxItemBase)
    static void listFields(kxFields<kxReplaceChild>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxObject> _newChild;
    kxSmartPointer<kxObject> _oldChild;

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    /// Queues the event.
    virtual void createMessage();
    virtual kxSmartPointer<kxParameterSet> replaceChild(kxParameterSet* input) = 0;

    /// Queues the event of a replacement; nothing without a message interface.
    static void queueEvent(kxMessageInterface* messages, kxObject* container, kxObject* oldChild, kxObject* newChild);
};

/// Replaces the first occurrence of a child of a group; the others keep their places.
class kxReplaceChildForNode : public kxReplaceChild
{
    KX_OBJECT(kxReplaceChildForNode, kxReplaceChild)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSetConstraintList> getConstraints() override;
    kxSmartPointer<kxParameterSet> replaceChild(kxParameterSet* input) override;

    /// The edit itself, without the event; false when `oldChild` is no child of the group.
    static bool replace(kxGroup* group, const kxNode* oldChild, kxNode* newChild);
};

/// Puts an attribute in the place of another.
class kxReplaceAttr : public kxItemBase
{
    KX_OBJECT(kxReplaceAttr, kxItemBase)
    static void listFields(kxFields<kxReplaceAttr>& fields);

    kxSmartPointer<kxObject> _container;
    kxSmartPointer<kxAttr> _newAttr;
    kxSmartPointer<kxAttr> _oldAttr;

    void setOldAttr(kxAttr* attr) { _oldAttr = attr; }

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    /// Queues nothing: listeners hear of nodes and objects, not of attributes.
    virtual void createMessage();
    virtual kxSmartPointer<kxParameterSet> replaceAttr(kxParameterSet* input) = 0;
};

/// Replaces the first occurrence of an attribute of an attribute set; the others keep their places.
class kxReplaceAttrForNode : public kxReplaceAttr
{
    KX_OBJECT(kxReplaceAttrForNode, kxReplaceAttr)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSetConstraintList> getConstraints() override;
    kxSmartPointer<kxParameterSet> replaceAttr(kxParameterSet* input) override;

    /// The edit itself; false when `oldAttr` is not in the list.
    static bool replace(kxAttrList* attrs, const kxAttr* oldAttr, kxAttr* newAttr);
};

/// Puts an object in the place of another wherever that is a child, moves the children of the old object to the new
/// one, and queues a `kxReplacedObjectEvent`, also when both are the same. A failure halfway leaves what was done
/// before.
///
/// The traversal must know parents: "kxNodeTraversal" does, the default does not.
class kxReplaceObject : public kxItemBase
{
    KX_OBJECT(kxReplaceObject, kxItemBase)
    static void listFields(kxFields<kxReplaceObject>& fields);

    kxStringRef _traversalName{"kxObjectTraversal"};
    kxSmartPointer<kxObject> _oldObject;
    kxSmartPointer<kxObject> _newObject;
    kxSmartPointer<kxParameterSet> _returned; ///< the result of the call

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    /// Queues the event.
    virtual void createMessage();
    virtual kxSmartPointer<kxParameterSet> replaceObject(kxParameterSet* input);

private:
    kxSmartPointer<kxObjectList> getList(kxStringRef functionName, kxStringRef resultName);
    bool runStep(kxItemCall& call, kxStringRef functionName);
    bool moveUses();
};

} // namespace Kel::Opt
