#include "opt/items/kxChildContainer.h"

#include "opt/items/kxItemNames.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxChildContainer)
KX_IMPLEMENT(kxAttrContainer)
KX_IMPLEMENT(kxNodeTraversal)
KX_IMPLEMENT(kxAttrTraversal)
KX_IMPLEMENT(kxObjectTraversal)

kxSmartPointer<kxInterfaceDeclarationList> kxChildContainer::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"getChildList", &kxChildContainer::getChildList},
                                                   {"getParentList", &kxChildContainer::getParentList}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

uint64_t kxChildContainer::getChangeCount() const
{
    return 0;
}

kxSmartPointer<kxInterfaceDeclarationList> kxAttrContainer::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"getChildList", &kxAttrContainer::getChildList}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

// --- nodes ---

void kxNodeTraversal::listFields(kxFields<kxNodeTraversal>& fields)
{
    fields.add(&kxNodeTraversal::_container, "_container", "the node").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxNodeTraversal::_childList, "_childList", "list to which the children are added")
        .setFlags(kxMetaField::PARAMETER);
    fields.add(&kxNodeTraversal::_parentList, "_parentList", "list to which the parents are added")
        .setFlags(kxMetaField::PARAMETER);
}

kxMetaObject* kxNodeTraversal::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

kxStringRef kxNodeTraversal::getInterfaceName()
{
    return kxItemNames::get().nodeTraversal;
}

kxSmartPointer<kxParameterSet> kxNodeTraversal::getChildList(kxParameterSet*)
{
    kxParameterSetWrapper result;
    if (_childList)
        listChildren(_container, *_childList);
    result.success();
    return result;
}

void kxNodeTraversal::listChildren(const kxNode* node, kxNodeList& children)
{
    const auto* group = kxCast<kxGroup>(node);
    if (group && group->getChildCount() > 0)
        children.append(*group->getChildList());
}

kxSmartPointer<kxParameterSet> kxNodeTraversal::getParentList(kxParameterSet*)
{
    kxParameterSetWrapper result;
    if (!_container || !_parentList)
        return result;
    listParents(_container, *_parentList);
    result.success();
    return result;
}

void kxNodeTraversal::listParents(const kxNode* node, kxNodeList& parents)
{
    for (uint32_t i = 0, count = node->getParentCount(); i < count; ++i)
        parents.append(node->getParent(i));
}

void kxNodeTraversal::userSetupOutput(kxParameterSet* result)
{
    const kxItemNames& names = kxItemNames::get();
    result->setFieldValue(names.childListField, _childList);
    result->setFieldValue(names.parentListField, _parentList);
}

// --- attributes ---

void kxAttrTraversal::listFields(kxFields<kxAttrTraversal>& fields)
{
    fields.add(&kxAttrTraversal::_container, "_container", "the node").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxAttrTraversal::_childList, "_childList", "list to which the attributes are added")
        .setFlags(kxMetaField::PARAMETER);
}

kxMetaObject* kxAttrTraversal::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

kxStringRef kxAttrTraversal::getInterfaceName()
{
    return kxItemNames::get().attrTraversal;
}

kxSmartPointer<kxParameterSet> kxAttrTraversal::getChildList(kxParameterSet*)
{
    kxParameterSetWrapper result;
    if (_container && _childList)
        listAttrs(_container, *_childList);
    result.success();
    return result;
}

void kxAttrTraversal::listAttrs(const kxObject* object, kxAttrList& attrs)
{
    // One after the other: a class may be several of these.
    if (const auto* set = kxCast<kxAttrSet>(object))
        if (set->getAttrs())
            attrs.append(*set->getAttrs());
    if (const auto* lights = kxCast<kxLightSet>(object))
        if (lights->getLightAttrs())
            attrs.append(*lights->getLightAttrs());
    if (const auto* states = kxCast<kxLightStateSet>(object))
        if (states->getLightStateAttrs())
            attrs.append(*states->getLightStateAttrs());
}

void kxAttrTraversal::userSetupOutput(kxParameterSet* result)
{
    result->setFieldValue(kxItemNames::get().childListField, _childList);
}

// --- any object ---

void kxObjectTraversal::listFields(kxFields<kxObjectTraversal>& fields)
{
    fields.add(&kxObjectTraversal::_container, "_container", "the object").setFlags(kxMetaField::PARAMETER);
    fields.add(&kxObjectTraversal::_childList, "_childList", "list to which the referenced objects are added")
        .setFlags(kxMetaField::PARAMETER);
    fields.add(&kxObjectTraversal::_parentList, "_parentList", "list of the caller's, given back as it is")
        .setFlags(kxMetaField::PARAMETER);
}

kxMetaObject* kxObjectTraversal::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxStringRef kxObjectTraversal::getInterfaceName()
{
    return kxItemNames::get().objectTraversal;
}

kxSmartPointer<kxInterfaceDeclarationList> kxObjectTraversal::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"getChildList", &kxObjectTraversal::getChildList}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

kxSmartPointer<kxParameterSet> kxObjectTraversal::getChildList(kxParameterSet*)
{
    kxParameterSetWrapper result;
    if (_container && _childList)
        _container->traverseFields(
            [](kxObject* referenced, const kxMetaField*, void* context)
            {
                const auto* item = static_cast<kxObjectTraversal*>(context);
                if (referenced == item->_container)
                    return 0;
                item->_childList->append(referenced);
                return 1;
            },
            this);
    result->setFieldValue(kxItemNames::get().childListField, _childList);
    result.success();
    return result;
}

kxSmartPointer<kxParameterSet> kxObjectTraversal::getParentList(kxParameterSet*)
{
    kxParameterSetWrapper result;
    result->setFieldValue(kxItemNames::get().parentListField, _parentList);
    result.success();
    return result;
}

} // namespace Kel::Opt
