#include "opt/scene/kxRemoveAttrs.h"

#include "opt/items/kxDirectItems.h"
#include "opt/items/kxItemCall.h"
#include "opt/iterate/kxIterateObject.h"
#include "opt/scene/kxAttrComparison.h"
#include "opt/scene/kxServices.h"

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
    const kxSmartPointer<kxIterateObject> walk(new (getCreationMemoryPool()) kxIterateObject);
    walk->_itemInterface = _itemInterface;
    walk->_traversalName = _traversalName;
    walk->setVisitOnce(true);
    walk->setStructureUntouched(true); // attributes are edited, nodes are not
    walk->begin(root);
    while (kxSmartPointer<kxObject> object = walk->getCurrent())
    {
        if (isCancelled(*this))
            return false;
        walk->getNext();
        removeAttrs(object);
    }
    return true;
}

void kxRemoveAttrs::removeAttrs(kxObject* object)
{
    if (isLocked(*this, object))
    {
        if (holdsAttrOfType(*this, object, _attributeType))
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
    kxDirectItems::Property property;
    return askProperty(*this, object, property) && property.canRemoveAttr;
}

kxSmartPointer<kxAttrList> kxRemoveAttrs::getAttrList(kxObject* object)
{
    return askAttrList(*this, object, kxItemCall::INTERFACE);
}

bool kxRemoveAttrs::removeAttr(kxObject* container, kxAttr* attr)
{
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(this, names.attrEdit, container);
    return call && call.set(names.containerField, container)
                       .set(names.attrField, static_cast<kxObject*>(attr))
                       .run(names.removeAttr);
}

} // namespace Kel::Opt
