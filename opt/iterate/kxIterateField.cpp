#include "opt/iterate/kxIterateField.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxIterateField)

void kxIterateField::listFields(kxFields<kxIterateField>& fields)
{
    fields.add(&kxIterateField::_metaObject, "_metaObject", "class whose fields are walked");
    fields.add(&kxIterateField::_index, "_index", "index of the current field");
}

kxMetaField* kxIterateField::begin(const kxMetaObject* metaObject)
{
    _metaObject = const_cast<kxMetaObject*>(metaObject);
    _index = 0;
    return getCurrent();
}

kxMetaField* kxIterateField::getCurrent() const
{
    const bool inside = _metaObject && _index >= 0 && static_cast<size_t>(_index) < _metaObject->getFields().size();
    return inside ? _metaObject->getFields()[static_cast<size_t>(_index)] : nullptr;
}

kxMetaField* kxIterateField::getNext()
{
    if (getCurrent() || _index < 0)
        ++_index;
    return getCurrent();
}

kxMetaField* kxIterateField::getPrevious()
{
    if (_index >= 0)
        --_index;
    return getCurrent();
}

kxMetaField* kxIterateField::beginOfType(const kxMetaObject* metaObject, const kxMetaObject* fieldType)
{
    kxMetaField* field = begin(metaObject);
    return !field || field->isOfType(fieldType) ? field : getNextOfType(fieldType);
}

kxMetaField* kxIterateField::beginOfExactType(const kxMetaObject* metaObject, const kxMetaObject* fieldType)
{
    kxMetaField* field = begin(metaObject);
    return !field || field->isOfExactType(fieldType) ? field : getNextOfExactType(fieldType);
}

kxMetaField* kxIterateField::getNextOfType(const kxMetaObject* fieldType)
{
    kxMetaField* field = getNext();
    while (field && !field->isOfType(fieldType))
        field = getNext();
    return field;
}

kxMetaField* kxIterateField::getNextOfExactType(const kxMetaObject* fieldType)
{
    kxMetaField* field = getNext();
    while (field && !field->isOfExactType(fieldType))
        field = getNext();
    return field;
}

kxMetaField* kxIterateField::getPreviousOfType(const kxMetaObject* fieldType)
{
    kxMetaField* field = getPrevious();
    while (field && !field->isOfType(fieldType))
        field = getPrevious();
    return field;
}

} // namespace Kel::Opt
