#include "opt/items/kxDirectItems.h"

#include "opt/items/kxChildContainer.h"
#include "opt/items/kxChildEdit.h"
#include "opt/items/kxCompareAttr.h"
#include "opt/items/kxItemInterface.h"
#include "opt/items/kxItemNames.h"
#include "opt/items/kxObjectProperty.h"
#include "opt/items/kxReplaceChild.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"
#include "opt/tracking/kxReplacedEvents.h"
#include "platform/sg/kxAttrSet.h"

#include <memory>
#include <vector>

namespace Kel::Opt
{

namespace
{

/// Answers of the classes of property items, by class; null for a class whose items look at the object.
using Properties = std::vector<std::unique_ptr<kxDirectItems::Property>>;

const kxDirectItems::Property* propertyOf(const kxMetaObject* itemClass)
{
    // The answers are constants of the classes, and classes do not go.
    static auto* properties = new Properties;
    static auto* isKnown = new std::vector<bool>;
    const uint32_t index = itemClass->getIndex();
    if (index >= properties->size())
    {
        properties->resize(index + 1);
        isKnown->resize(index + 1);
    }
    if (!(*isKnown)[index])
    {
        (*isKnown)[index] = true;
        const auto object = itemClass->createInstanceRef<kxItemBase>();
        if (const auto* item = kxCast<kxObjectProperty>(object.get()); item && item->answersForType())
            (*properties)[index] = std::make_unique<kxDirectItems::Property>(
                kxDirectItems::Property{item->_canAddChild, item->_canRemoveChild, item->_canReplaceChild,
                                        item->_canAddAttr, item->_canRemoveAttr, item->_canReplaceAttr});
    }
    return (*properties)[index].get();
}

} // namespace

bool kxDirectItems::isServedBy(kxStringRef interfaceName, const kxObject* object, const kxMetaObject* itemClass) const
{
    return object && m_client._itemInterface &&
           m_client._itemInterface->getRegisteredItemBase(interfaceName, object->getMetaObject()) == itemClass;
}

bool kxDirectItems::getProperty(const kxObject* object, Property& property) const
{
    if (!object || !m_client._itemInterface)
        return false;
    const kxMetaObject* itemClass =
        m_client._itemInterface->getRegisteredItemBase(kxItemNames::get().objectProperty, object->getMetaObject());
    const Property* known = itemClass ? propertyOf(itemClass) : nullptr;
    if (known)
        property = *known;
    return known;
}

bool kxDirectItems::getChildList(kxStringRef traversalName, kxObject* object,
                                 kxSmartPointer<kxObjectList>& children) const
{
    if (!isServedBy(traversalName, object, kxNodeTraversal::staticMetaObject()))
        return false;
    const auto list = kxNew<kxNodeList>();
    kxNodeTraversal::listChildren(static_cast<kxNode*>(object), *list);
    children = list;
    return true;
}

bool kxDirectItems::getParentList(kxStringRef traversalName, kxObject* object,
                                  kxSmartPointer<kxObjectList>& parents) const
{
    if (!isServedBy(traversalName, object, kxNodeTraversal::staticMetaObject()))
        return false;
    const auto list = kxNew<kxNodeList>();
    kxNodeTraversal::listParents(static_cast<kxNode*>(object), *list);
    parents = list;
    return true;
}

bool kxDirectItems::getAttrList(kxObject* object, kxSmartPointer<kxAttrList>& attrs) const
{
    if (!isServedBy(kxItemNames::get().attrTraversal, object, kxAttrTraversal::staticMetaObject()))
        return false;
    attrs = kxNew<kxAttrList>();
    kxAttrTraversal::listAttrs(object, *attrs);
    return true;
}

bool kxDirectItems::addChild(kxObject* container, kxObject* child) const
{
    auto* group = kxCast<kxGroup>(container);
    auto* node = kxCast<kxNode>(child);
    if (!group || !node || !isServedBy(kxItemNames::get().childEdit, container, kxChildEditForNode::staticMetaObject()))
        return false;
    group->appendChild(node);
    return true;
}

bool kxDirectItems::removeChild(kxObject* container, kxObject* child) const
{
    auto* group = kxCast<kxGroup>(container);
    const auto* node = kxCast<kxNode>(child);
    if (!group || !node || !isServedBy(kxItemNames::get().childEdit, container, kxChildEditForNode::staticMetaObject()))
        return false;
    group->removeChild(node);
    return true;
}

bool kxDirectItems::replaceChild(kxObject* container, kxObject* oldChild, kxObject* newChild) const
{
    auto* group = kxCast<kxGroup>(container);
    const auto* oldNode = kxCast<kxNode>(oldChild);
    auto* newNode = kxCast<kxNode>(newChild);
    if (!group || !oldNode || !newNode ||
        !isServedBy(kxItemNames::get().replaceChildItem, container, kxReplaceChildForNode::staticMetaObject()) ||
        !kxReplaceChildForNode::replace(group, oldNode, newNode))
        return false;
    kxReplaceChild::queueEvent(m_client._messageInterface, container, oldChild, newChild);
    return true;
}

bool kxDirectItems::replaceAttr(kxObject* container, kxAttr* oldAttr, kxAttr* newAttr) const
{
    const auto* set = kxCast<kxAttrSet>(container);
    if (!set || !newAttr ||
        !isServedBy(kxItemNames::get().replaceAttrItem, container, kxReplaceAttrForNode::staticMetaObject()))
        return false;
    return kxReplaceAttrForNode::replace(set->getAttrs(), oldAttr, newAttr);
}

bool askProperty(kxInterfaced& client, kxObject* object, kxDirectItems::Property& property)
{
    if (kxDirectItems(client).getProperty(object, property))
        return true;
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(&client, names.objectProperty, object);
    property = {};
    if (!call || !call.set(names.objectField, object).run(names.getProperty))
        return false;
    property = {call.getFlag(names.canAddChildField),     call.getFlag(names.canRemoveChildField),
                call.getFlag(names.canReplaceChildField), call.getFlag(names.canAddAttrField),
                call.getFlag(names.canRemoveAttrField),   call.getFlag(names.canReplaceAttrField)};
    return true;
}

kxSmartPointer<kxAttrList> askAttrList(kxInterfaced& client, kxObject* object, kxItemCall::Missing missing)
{
    if (kxSmartPointer<kxAttrList> attrs; kxDirectItems(client).getAttrList(object, attrs))
        return attrs;
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(&client, names.attrTraversal, object, missing);
    if (!call)
        return nullptr;
    call.set(names.containerField, object);
    const bool done = missing == kxItemCall::SILENT ? call.tryRun(names.getChildList) : call.run(names.getChildList);
    return done ? kxCast<kxAttrList>(call.getList(names.childListField)) : nullptr;
}

bool kxDirectItems::compare(kxAttr* a, kxAttr* b, bool& alike) const
{
    if (!a || !b || !isServedBy(kxItemNames::get().compareAttr, a, kxCompareAttr::staticMetaObject()))
        return false;
    alike = kxCompareAttr::areAlike(m_client._lockInterface, a, b);
    return true;
}

} // namespace Kel::Opt
