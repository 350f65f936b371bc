#include "opt/items/kxChildEdit.h"

#include "opt/items/kxItemNames.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxChildEdit)
KX_IMPLEMENT(kxChildEditForNode)
KX_IMPLEMENT(kxAttrEdit)
KX_IMPLEMENT(kxAttrEditForNode)
KX_IMPLEMENT(kxAttrEditForAttrSet)
KX_IMPLEMENT(kxAttrEditForLightSet)
KX_IMPLEMENT(kxAttrEditForLightStateSet)

namespace
{

constexpr uint32_t kRequired = kxMetaField::PARAMETER | kxMetaField::REQUIRED;

/// The body of every function here: hands the member to the container when both have the right types, and reports
/// success either way.
template <class Container, class Member, class Edit, class Item>
kxSmartPointer<kxParameterSet> edit(Item* item, kxObject* container, kxObject* member, Edit operation)
{
    kxParameterSetWrapper result;
    auto* typedContainer = kxCast<Container>(container);
    auto* typedMember = kxCast<Member>(member);
    if (typedContainer && typedMember)
        operation(typedContainer, typedMember);
    item->createMessage();
    result.success();
    return result;
}

} // namespace

// --- children ---

void kxChildEdit::listFields(kxFields<kxChildEdit>& fields)
{
    fields.add(&kxChildEdit::_container, "_container", "whose children are edited").setFlags(kRequired);
    fields.add(&kxChildEdit::_child, "_child", "the child to add or to remove").setFlags(kRequired);
}

kxStringRef kxChildEdit::getInterfaceName()
{
    return kxItemNames::get().childEdit;
}

kxMetaObject* kxChildEdit::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxChildEdit::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"addChild", &kxChildEdit::addChild},
                                                   {"removeChild", &kxChildEdit::removeChild}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxChildEdit::createMessage() {}

kxMetaObject* kxChildEditForNode::getInterfacedType()
{
    return kxGroup::staticMetaObject();
}

kxSmartPointer<kxParameterSetConstraintList> kxChildEditForNode::getConstraints()
{
    const kxItemNames& names = kxItemNames::get();
    auto list = kxNew<kxParameterSetConstraintList>();
    list->append(kxNew<kxParameterExist>(names.containerField, kxGroup::staticMetaObject()));
    list->append(kxNew<kxParameterExist>(names.childField, kxNode::staticMetaObject()));
    return list;
}

kxSmartPointer<kxParameterSet> kxChildEditForNode::addChild(kxParameterSet*)
{
    return edit<kxGroup, kxNode>(this, _container, _child,
                                 [](kxGroup* group, kxNode* node) { group->appendChild(node); });
}

kxSmartPointer<kxParameterSet> kxChildEditForNode::removeChild(kxParameterSet*)
{
    return edit<kxGroup, kxNode>(this, _container, _child,
                                 [](kxGroup* group, kxNode* node) { group->removeChild(node); });
}

// --- attributes ---

void kxAttrEdit::listFields(kxFields<kxAttrEdit>& fields)
{
    fields.add(&kxAttrEdit::_container, "_container", "whose attributes are edited").setFlags(kRequired);
    fields.add(&kxAttrEdit::_attr, "_attr", "the attribute to add or to remove").setFlags(kRequired);
}

kxStringRef kxAttrEdit::getInterfaceName()
{
    return kxItemNames::get().attrEdit;
}

kxMetaObject* kxAttrEdit::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxAttrEdit::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"addAttr", &kxAttrEdit::addAttr},
                                                   {"removeAttr", &kxAttrEdit::removeAttr}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

kxSmartPointer<kxParameterSetConstraintList> kxAttrEdit::getConstraints()
{
    return kxNew<kxParameterSetConstraintList>();
}

void kxAttrEdit::createMessage() {}

bool kxAttrEditForNode::getRecursiveInterface()
{
    return false;
}

kxMetaObject* kxAttrEditForAttrSet::getInterfacedType()
{
    return kxAttrSet::staticMetaObject();
}

kxSmartPointer<kxParameterSet> kxAttrEditForAttrSet::removeAttr(kxParameterSet*)
{
    return edit<kxAttrSet, kxAttr>(this, _container, _attr,
                                   [](kxAttrSet* set, kxAttr* attr) { set->removeAttr(attr); });
}

kxSmartPointer<kxParameterSet> kxAttrEditForAttrSet::addAttr(kxParameterSet*)
{
    return edit<kxAttrSet, kxAttr>(this, _container, _attr,
                                   [](kxAttrSet* set, kxAttr* attr) { set->appendAttr(attr); });
}

kxMetaObject* kxAttrEditForLightSet::getInterfacedType()
{
    return kxLightSet::staticMetaObject();
}

kxSmartPointer<kxParameterSet> kxAttrEditForLightSet::removeAttr(kxParameterSet*)
{
    return edit<kxLightSet, kxLightAttr>(this, _container, _attr,
                                         [](kxLightSet* set, kxLightAttr* light) { set->removeLightAttr(light); });
}

kxSmartPointer<kxParameterSet> kxAttrEditForLightSet::addAttr(kxParameterSet*)
{
    return edit<kxLightSet, kxLightAttr>(this, _container, _attr,
                                         [](kxLightSet* set, kxLightAttr* light) { set->appendLightAttr(light); });
}

kxMetaObject* kxAttrEditForLightStateSet::getInterfacedType()
{
    return kxLightStateSet::staticMetaObject();
}

kxSmartPointer<kxParameterSet> kxAttrEditForLightStateSet::removeAttr(kxParameterSet*)
{
    return edit<kxLightStateSet, kxLightStateAttr>(this, _container, _attr,
                                                   [](kxLightStateSet* set, kxLightStateAttr* state)
                                                   { set->removeLightStateAttr(state); });
}

kxSmartPointer<kxParameterSet> kxAttrEditForLightStateSet::addAttr(kxParameterSet*)
{
    return edit<kxLightStateSet, kxLightStateAttr>(this, _container, _attr,
                                                   [](kxLightStateSet* set, kxLightStateAttr* state)
                                                   { set->appendLightStateAttr(state); });
}

} // namespace Kel::Opt
