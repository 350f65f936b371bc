#include "opt/scene/kxAttrFinder.h"

#include "platform/core/kxPrefetch.h"

namespace Kel::Opt
{

using Attrs::kxAttr;

namespace
{

// True for the declared type of a field whose values may be attributes or lists that lead to some.
bool mayHoldAttrs(const kxMetaObject* type)
{
    const auto isRelated = [type](const kxMetaObject* other)
    { return type->isDerivedFrom(other) || other->isDerivedFrom(type); };
    if (!type || isRelated(kxAttr::staticMetaObject()))
        return true;
    if (!isRelated(kxObjectList::staticMetaObject()))
        return false;
    for (const kxMetaObject* derived : type->getDerived())
    {
        const auto list = derived->createInstanceRef<kxObjectList>();
        if (list && (list->getElementType()->isDerivedFrom(kxAttr::staticMetaObject()) ||
                     list->getElementType()->isDerivedFrom(kxObjectList::staticMetaObject())))
            return true;
    }
    return false;
}

} // namespace

// Most fields refer to parents, children and volumes, which are not even looked at.
const std::vector<const kxObjectField*>& kxAttrFinder::fieldsOf(const kxMetaObject* type)
{
    if (type->getIndex() >= m_types.size())
        m_types.resize(type->getIndex() + 1);
    Type& known = m_types[type->getIndex()];
    if (!known.isKnown)
    {
        known.isKnown = true;
        for (const kxMetaField* field : type->getFields())
            if (field->getKind() == kxFieldKind::OBJECT && mayHoldAttrs(field->getReferencedType()))
                known.fields.push_back(static_cast<const kxObjectField*>(field));
    }
    return known.fields;
}

void kxAttrFinder::find(const Sg::kxNode* node, int depth)
{
    for (const kxObjectField* field : fieldsOf(node->getMetaObject()))
    {
        const void* address = field->getAddress(node);
        const kxObject* value = address ? field->getObject(address) : nullptr;
        if (!value)
            continue;
        prefetchObject(value);
        m_values.push({value, depth}, [this](const Stop& stop) { open(stop); });
    }
}

void kxAttrFinder::finish()
{
    m_values.flush([this](const Stop& stop) { open(stop); });
    m_attrs.flush([this](const Stop& stop) { arrive(stop); });
}

void kxAttrFinder::open(const Stop& value)
{
    if (value.object->isOfType(kxAttr::staticMetaObject()))
        approachAttr(value.object, value.depth);
    else if (const auto* list = kxCast<kxObjectList>(value.object))
        openList(*list, value.depth);
}

void kxAttrFinder::openList(const kxObjectList& list, int depth)
{
    const kxMetaObject* elementType = list.getElementType();
    const bool isOfAttrs = elementType->isDerivedFrom(kxAttr::staticMetaObject());
    if (!isOfAttrs && !elementType->isDerivedFrom(kxObjectList::staticMetaObject()))
        return;
    for (const kxObject* element : list)
        if (element && isOfAttrs)
            approachAttr(element, depth);
        else if (element)
            openList(static_cast<const kxObjectList&>(*element), depth);
}

void kxAttrFinder::approachAttr(const kxObject* attr, int depth)
{
    prefetchObject(attr);
    m_attrs.push({attr, depth}, [this](const Stop& stop) { arrive(stop); });
}

} // namespace Kel::Opt
