#include "opt/parameters/kxParameterSetConstraint.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace Kel::Opt
{

KX_IMPLEMENT(kxParameterSetConstraint)
KX_IMPLEMENT(kxParameterSetConstraintList)
KX_IMPLEMENT(kxParameterExist)
KX_IMPLEMENT(kxParameterMatch)
KX_IMPLEMENT(kxParameterNonNull)

void kxParameterSetConstraint::listFields(kxFields<kxParameterSetConstraint>& fields)
{
    fields.add(&kxParameterSetConstraint::_errorMessage, "_errorMessage", "why the last check failed");
}

void kxParameterExist::listFields(kxFields<kxParameterExist>& fields)
{
    fields.add(&kxParameterExist::_fieldName, "_fieldName", "name of the parameter");
    fields.add(&kxParameterExist::_fieldType, "_fieldType", "class of fields that it must have; null for any");
    fields.add(&kxParameterExist::_referenceType, "_referenceType",
               "type that an object must be declared as; null for any");
}

void kxParameterMatch::listFields(kxFields<kxParameterMatch>& fields)
{
    fields.add(&kxParameterMatch::_fieldOneName, "_fieldOneName", "name of one parameter");
    fields.add(&kxParameterMatch::_fieldTwoName, "_fieldTwoName", "name of the other parameter");
}

void kxParameterNonNull::listFields(kxFields<kxParameterNonNull>& fields)
{
    fields.add(&kxParameterNonNull::_fieldName, "_fieldName", "name of the parameter");
}

kxResult kxParameterSetConstraint::setupDefaultConstraint(kxMetaField*)
{
    return kSuccess;
}

kxResult kxParameterSetConstraint::fail(const char* format, ...)
{
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(std::max(0, std::vsnprintf(nullptr, 0, format, arguments))), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    setErrorMessage(text.c_str());
    return kFailure;
}

kxParameterExist::kxParameterExist(kxStringRef fieldName, kxMetaObject* referenceType)
    : _fieldName(fieldName), _fieldType(kxObjectField::staticMetaObject()), _referenceType(referenceType)
{
}

kxResult kxParameterExist::checkParameter(kxParameterSet* set)
{
    if (_fieldName.isNull())
        return fail("the kxParameterExist constraint has a null field name as input");
    if (_fieldType && !_fieldType->isDerivedFrom(kxMetaField::staticMetaObject()))
        return fail("the kxParameterExist constraint has a field type which is not an kxMetaField but a %s\n",
                    _fieldType->getName().c_str());
    const kxMetaField* field = set ? set->findField(_fieldName) : nullptr;
    if (!field)
        return fail("the field %s is not defined\n", _fieldName.c_str());
    const kxMetaObject* type = field->getMetaObject();
    if (_fieldType && type != _fieldType && !type->isDerivedFrom(_fieldType))
        return fail("the field %s should be defined as %s and not as %s\n", _fieldName.c_str(),
                    _fieldType->getName().c_str(), type->getName().c_str());
    if (_referenceType)
    {
        const kxMetaObject* referenced = field->getReferencedType();
        if (referenced && !referenced->isDerivedFrom(_referenceType))
            return fail("the field %s should be of type %s and not of type %s\n", _fieldName.c_str(),
                        _referenceType->getName().c_str(), referenced->getName().c_str());
    }
    return kSuccess;
}

kxResult kxParameterExist::setupDefaultConstraint(kxMetaField* field)
{
    _fieldName = field->getName();
    _fieldType = field->getMetaObject();
    _referenceType = const_cast<kxMetaObject*>(field->getReferencedType());
    return kSuccess;
}

kxResult kxParameterMatch::checkParameter(kxParameterSet* set)
{
    if (_fieldTwoName.isNull())
        return fail("the kxParameterMatch constraint should have two non empty field names as input");
    const kxMetaField* one = set ? set->findField(_fieldOneName) : nullptr;
    const kxMetaField* two = set ? set->findField(_fieldTwoName) : nullptr;
    if (one == two)
        return kSuccess;
    return one && two && one->getMetaObject() == two->getMetaObject() ? kSuccess : kFailure;
}

kxResult kxParameterMatch::setupDefaultConstraint(kxMetaField*)
{
    return kFailure;
}

kxResult kxParameterNonNull::checkParameter(kxParameterSet* set)
{
    const kxMetaField* field = set ? set->findField(_fieldName) : nullptr;
    if (!field)
        return kFailure;
    kxObject* object = nullptr;
    if (set->getFieldValue(_fieldName, object) == kSuccess)
        return object ? kSuccess : kFailure;
    kxStringRef string;
    if (set->getFieldValue(_fieldName, string) == kSuccess)
        return string.isNull() ? kFailure : kSuccess;
    return kSuccess;
}

kxResult kxParameterNonNull::setupDefaultConstraint(kxMetaField* field)
{
    const kxMetaObject* type = field->getMetaObject();
    const bool nullable = type->isDerivedFrom(kxObjectField::staticMetaObject()) ||
                          type->isDerivedFrom(kxStringField::staticMetaObject());
    if (!nullable || !field->hasFlag(kxMetaField::REQUIRED))
        return kFailure;
    _fieldName = field->getName();
    return kSuccess;
}

} // namespace Kel::Opt
