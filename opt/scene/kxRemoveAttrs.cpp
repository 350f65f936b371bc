#include "opt/scene/kxRemoveAttrs.h"

#include "opt/iterate/kxIterateObject.h"
#include "opt/scene/kxAttrComparison.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxRemoveAttrs)

void kxRemoveAttrs::listFields(kxFields<kxRemoveAttrs>& fields)
{
    fields.add(&kxRemoveAttrs::_attributeType, "_attributeType", "type to remove; derived types are removed too");
    fields.add(&kxRemoveAttrs::_traversalName, "_traversalName", "item family that walks the scene");
}

bool kxRemoveAttrs::configure(int)
{
    if (!_attributeType)
    {
        printf("ERROR: There is no registered attribute type\n");
        return false;
    }
    if (!isShareableAttrType(_attributeType))
    {
        printf("ERROR: The attribute %s can't be removed since it is not defined in kxAttrSet\n",
               _attributeType->getName().c_str());
        return false;
    }
    return true;
}

bool kxRemoveAttrs::apply(kxSmartPointer<kxNode>& root)
{
    if (!root || !_attributeType)
        return false;
    const kxItemClient items(*this);
    const kxSmartPointer<kxIterateObject> walk(new (getCreationMemoryPool()) kxIterateObject);
    walk->_itemInterface = _itemInterface;
    walk->_traversalName = _traversalName;
    walk->setVisitOnce(true);
    walk->begin(root);
    while (kxSmartPointer<kxObject> object = walk->getCurrent())
    {
        if (items.isCancelled())
            return false;
        walk->getNext();
        removeAttrs(object);
    }
    return true;
}

void kxRemoveAttrs::removeAttrs(kxObject* object)
{
    if (kxItemClient(*this).isLocked(object))
    {
        refuse("locked", object);
        return;
    }
    if (!canEditAttrList(object))
        return;
    const kxSmartPointer<kxAttrList> attrs = getAttrList(object);
    if (!attrs)
        return;
    // The list is a copy, so removals do not move what is still to come.
    for (kxAttr* attr : *attrs)
        if (attr && attr->isOfType(_attributeType) && removeAttr(object, attr))
            count("attributes removed");
}

bool kxRemoveAttrs::canEditAttrList(kxObject* object)
{
    return kxItemClient(*this).hasProperties(object, {kxItemClient::names().canRemoveAttr});
}

kxSmartPointer<kxAttrList> kxRemoveAttrs::getAttrList(kxObject* object)
{
    const kxItemClient::Names& names = kxItemClient::names();
    return kxCast<kxAttrList>(kxItemClient(*this).getList(names.attrTraversal, names.getChildListFunction,
                                                          names.childList, object, kxItemClient::kNoInterface));
}

bool kxRemoveAttrs::removeAttr(kxObject* container, kxAttr* attr)
{
    const kxItemClient::Names& names = kxItemClient::names();
    return kxItemClient(*this).call(names.attrEdit, names.removeAttrFunction, container,
                                    {{names.container, container}, {names.attr, attr}});
}

} // namespace Kel::Opt
