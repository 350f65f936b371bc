#include "opt/items/kxFieldUpdate.h"

#include "opt/items/kxItemNames.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxFieldUpdate)
KX_IMPLEMENT(kxFieldSource)

namespace
{

constexpr uint32_t kRequired = kxMetaField::PARAMETER | kxMetaField::REQUIRED;

const kxMetaField* findField(const kxObject* object, kxStringRef name, kxParameterSetWrapper& result)
{
    const kxMetaField* field = object ? object->getMetaObject()->findField(name) : nullptr;
    if (!field)
        result.formatErrorMessage("The object %s has no field %s\n", object ? object->getTypeName() : "", name.c_str());
    return field;
}

} // namespace

void kxFieldUpdate::listFields(kxFields<kxFieldUpdate>& fields)
{
    fields.add(&kxFieldUpdate::_object, "_object", "whose field is set").setFlags(kRequired);
    fields.add(&kxFieldUpdate::_fieldName, "_fieldName", "name of the field").setFlags(kRequired);
}

kxStringRef kxFieldUpdate::getInterfaceName()
{
    return kxItemNames::get().fieldUpdate;
}

kxMetaObject* kxFieldUpdate::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxFieldUpdate::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"updateField", &kxFieldUpdate::updateField}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

kxSmartPointer<kxParameterSet> kxFieldUpdate::updateField(kxParameterSet* input)
{
    kxParameterSetWrapper result;
    const kxMetaField* field = findField(_object, _fieldName, result);
    if (!field)
        return result;
    const kxParameterLayout::Slot* slot = input ? input->getLayout()->find(kxItemNames::get().valueField) : nullptr;
    const void* value = slot ? static_cast<const char*>(input->getValues()) + slot->offset : nullptr;
    const auto* reference = kxCast<kxObjectField>(field);
    if (!value || !slot->type->isDerivedFrom(field->getMetaObject()) ||
        (reference && !reference->accepts(reference->getObject(value))))
    {
        result.formatErrorMessage("The field %s of the object %s needs a value of its type\n", _fieldName.c_str(),
                                  _object->getTypeName());
        return result;
    }
    field->copyValue(field->getAddress(_object), value);
    result.success();
    return result;
}

void kxFieldSource::listFields(kxFields<kxFieldSource>& fields)
{
    fields.add(&kxFieldSource::_object, "_object", "whose field is read").setFlags(kRequired);
    fields.add(&kxFieldSource::_fieldName, "_fieldName", "name of the field").setFlags(kRequired);
}

kxStringRef kxFieldSource::getInterfaceName()
{
    return kxItemNames::get().fieldSource;
}

kxMetaObject* kxFieldSource::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxFieldSource::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"updateSource", &kxFieldSource::updateSource}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

kxSmartPointer<kxParameterSet> kxFieldSource::updateSource(kxParameterSet*)
{
    kxParameterSetWrapper result;
    const kxMetaField* field = findField(_object, _fieldName, result);
    if (!field)
        return result;
    // A field appended at run time has no value in an object that never used it: the result has its empty value then.
    const void* value = field->getAddress(static_cast<const kxObject*>(_object));
    if (value)
        result->setFieldValue(kxItemNames::get().valueField, value, field->getMetaObject());
    else
        result->createField(field->getMetaObject(), "_value");
    result.success();
    return result;
}

} // namespace Kel::Opt
