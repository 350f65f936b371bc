#include "opt/items/kxReplaceChild.h"

#include "opt/items/kxItemCall.h"
#include "opt/tracking/kxMessageInterface.h"
#include "opt/tracking/kxReplacedEvents.h"
#include "platform/sg/kxAttrSet.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxReplaceChild)
KX_IMPLEMENT(kxReplaceChildForNode)
KX_IMPLEMENT(kxReplaceAttr)
KX_IMPLEMENT(kxReplaceAttrForNode)
KX_IMPLEMENT(kxReplaceObject)

namespace
{

constexpr uint32_t kRequired = kxMetaField::PARAMETER | kxMetaField::REQUIRED;

} // namespace

// --- children ---

void kxReplaceChild::listFields(kxFields<kxReplaceChild>& fields)
{
    fields.add(&kxReplaceChild::_container, "_container", "whose child is replaced").setFlags(kRequired);
    fields.add(&kxReplaceChild::_newChild, "_newChild", "the child to put in").setFlags(kRequired);
    fields.add(&kxReplaceChild::_oldChild, "_oldChild", "the child to take out").setFlags(kRequired);
}

kxStringRef kxReplaceChild::getInterfaceName()
{
    return kxItemNames::get().replaceChildItem;
}

kxMetaObject* kxReplaceChild::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxReplaceChild::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"replaceChild", &kxReplaceChild::replaceChild}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxReplaceChild::createMessage()
{
    queueEvent(_messageInterface, _container, _oldChild, _newChild);
}

void kxReplaceChild::queueEvent(kxMessageInterface* messages, kxObject* container, kxObject* oldChild,
                                kxObject* newChild)
{
    if (!messages)
        return;
    const auto event = kxNew<kxReplacedChildEvent>();
    event->_object = container;
    event->_newChild = newChild;
    event->_oldChild = oldChild;
    messages->getMessageList()->append(event);
}

kxMetaObject* kxReplaceChildForNode::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

kxSmartPointer<kxParameterSetConstraintList> kxReplaceChildForNode::getConstraints()
{
    return concatenateConstraints(kxNew<kxParameterSetConstraintList>(), kxNew<kxParameterSetConstraintList>());
}

kxSmartPointer<kxParameterSet> kxReplaceChildForNode::replaceChild(kxParameterSet*)
{
    kxParameterSetWrapper result;
    auto* group = kxCast<kxGroup>(_container);
    auto* oldChild = kxCast<kxNode>(_oldChild);
    auto* newChild = kxCast<kxNode>(_newChild);
    if (!group || !oldChild || !newChild || !replace(group, oldChild, newChild))
    {
        result.formatErrorMessage("The child %s was not a child of the group %s\n",
                                  oldChild ? oldChild->getName().c_str() : "", group ? group->getName().c_str() : "");
        return result;
    }
    createMessage(); // also for a child that replaces itself
    result.success();
    return result;
}

bool kxReplaceChildForNode::replace(kxGroup* group, const kxNode* oldChild, kxNode* newChild)
{
    const int index = group->getChild(oldChild);
    if (index < 0)
        return false;
    const kxSmartPointer<kxNode> kept = newChild; // which may be the one that goes out
    group->removeChild(static_cast<uint32_t>(index));
    group->insertChild(static_cast<uint32_t>(index), newChild);
    return true;
}

// --- attributes ---

void kxReplaceAttr::listFields(kxFields<kxReplaceAttr>& fields)
{
    fields.add(&kxReplaceAttr::_container, "_container", "whose attribute is replaced").setFlags(kRequired);
    fields.add(&kxReplaceAttr::_newAttr, "_newAttr", "the attribute to put in").setFlags(kRequired);
    fields.add(&kxReplaceAttr::_oldAttr, "_oldAttr", "the attribute to take out").setFlags(kRequired);
}

kxStringRef kxReplaceAttr::getInterfaceName()
{
    return kxItemNames::get().replaceAttrItem;
}

kxMetaObject* kxReplaceAttr::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxReplaceAttr::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"replaceAttr", &kxReplaceAttr::replaceAttr}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxReplaceAttr::createMessage() {}

kxMetaObject* kxReplaceAttrForNode::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

kxSmartPointer<kxParameterSetConstraintList> kxReplaceAttrForNode::getConstraints()
{
    return concatenateConstraints(kxNew<kxParameterSetConstraintList>(), kxNew<kxParameterSetConstraintList>());
}

kxSmartPointer<kxParameterSet> kxReplaceAttrForNode::replaceAttr(kxParameterSet*)
{
    kxParameterSetWrapper result;
    const auto* set = kxCast<kxAttrSet>(_container);
    kxAttrList* attrs = set ? set->getAttrs() : nullptr;
    if (!_newAttr || !replace(attrs, _oldAttr, _newAttr))
    {
        result.formatErrorMessage("The Attribute %s was not found in the attribute set %s (%s)\n",
                                  _oldAttr ? _oldAttr->getTypeName() : "", set ? set->getName().c_str() : "",
                                  _container ? _container->getTypeName() : "");
        return result;
    }
    createMessage();
    result.success();
    return result;
}

bool kxReplaceAttrForNode::replace(kxAttrList* attrs, const kxAttr* oldAttr, kxAttr* newAttr)
{
    const int index = attrs && oldAttr ? attrs->find(oldAttr) : -1;
    if (index < 0)
        return false;
    attrs->set(static_cast<uint32_t>(index), newAttr);
    return true;
}

// --- any object ---

void kxReplaceObject::listFields(kxFields<kxReplaceObject>& fields)
{
    fields.add(&kxReplaceObject::_traversalName, "_traversalName", "items that know parents and children")
        .setFlags(kxMetaField::PARAMETER);
    fields.add(&kxReplaceObject::_oldObject, "_oldObject", "the object to take out").setFlags(kRequired);
    fields.add(&kxReplaceObject::_newObject, "_newObject", "the object to put in").setFlags(kRequired);
    fields.add(&kxReplaceObject::_returned, "_returned", "result of the last call");
}

kxStringRef kxReplaceObject::getInterfaceName()
{
    return kxItemNames::get().replaceObjectItem;
}

kxMetaObject* kxReplaceObject::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxReplaceObject::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"replaceObject", &kxReplaceObject::replaceObject}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxReplaceObject::createMessage()
{
    if (!_messageInterface)
        return;
    const auto event = kxNew<kxReplacedObjectEvent>();
    event->_oldObject = _oldObject;
    event->_newObject = _newObject;
    _messageInterface->getMessageList()->append(event);
}

kxSmartPointer<kxParameterSet> kxReplaceObject::replaceObject(kxParameterSet*)
{
    _returned = kxNew<kxParameterSet>();
    kxParameterSetWrapper result(_returned);
    result.failure();
    if (_oldObject != _newObject && !moveUses())
        return _returned;
    createMessage();
    result.success();
    return _returned;
}

kxSmartPointer<kxObjectList> kxReplaceObject::getList(kxStringRef functionName, kxStringRef resultName)
{
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(this, _traversalName, _oldObject, kxItemCall::TRAVERSAL);
    kxSmartPointer<kxObjectList> list;
    if (call.set(names.containerField, _oldObject).tryRun(functionName))
        list = call.getList(resultName);
    if (!list)
        kxParameterSetWrapper(_returned).formatErrorMessage(
            functionName == names.getParentList ? "There is no available parent list for the object %s\n"
                                                : "There is no available child list for the object %s\n",
            _oldObject->getTypeName());
    return list;
}

bool kxReplaceObject::runStep(kxItemCall& call, kxStringRef functionName)
{
    if (call.tryRun(functionName))
        return true;
    kxParameterSetWrapper(_returned).setErrorMessage(call.getErrorMessage());
    return false;
}

bool kxReplaceObject::moveUses()
{
    const kxItemNames& names = kxItemNames::get();
    const kxSmartPointer<kxObjectList> parents = getList(names.getParentList, names.parentListField);
    if (!parents)
        return false;
    const kxSmartPointer<kxObjectList> children = getList(names.getChildList, names.childListField);
    if (!children)
        return false;

    while (!parents->isEmpty())
    {
        const kxSmartPointer<kxObject> parent = parents->getLast();
        parents->removeLast();
        kxItemCall call(this, names.replaceChildItem, parent);
        call.set(names.containerField, parent)
            .set(names.newChildField, _newObject)
            .set(names.oldChildField, _oldObject);
        if (!runStep(call, names.replaceChild))
            return false;
    }
    while (!children->isEmpty())
    {
        const kxSmartPointer<kxObject> child = children->get(0);
        children->removeAt(0);
        kxItemCall removal(this, names.childEdit, _oldObject);
        removal.set(names.containerField, _oldObject).set(names.childField, child);
        if (!runStep(removal, names.removeChild))
            return false;
        kxItemCall addition(this, names.childEdit, _newObject);
        addition.set(names.containerField, _newObject).set(names.childField, child);
        if (!runStep(addition, names.addChild))
            return false;
    }
    return true;
}

} // namespace Kel::Opt
