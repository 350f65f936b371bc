// What an item asks of its input.
#pragma once

#include "opt/parameters/kxParameterSet.h"

namespace Kel::Opt
{

/// One requirement on a parameter set. A failed check may leave a message, which lies in the constraint until the next
/// one.
class kxParameterSetConstraint : public kxObject
{
    KX_OBJECT(kxParameterSetConstraint, kxObject)
    static void listFields(kxFields<kxParameterSetConstraint>& fields);

    kxStringRef _errorMessage;

    void setErrorMessage(const char* message) { _errorMessage = message; }
    kxStringRef getErrorMessage() const { return _errorMessage; }

    virtual kxResult checkParameter(kxParameterSet* set) = 0;
    /// Takes from an item's field what the constraint asks of the parameter of that name. Failure says that the
    /// constraint asks nothing of such a field. A derived class that does not care is asked for every field.
    virtual kxResult setupDefaultConstraint(kxMetaField* field);

protected:
    /// Stores the message; always the failure.
    [[gnu::format(printf, 2, 3)]] kxResult fail(const char* format, ...);
};

KX_OBJECT_LIST(kxParameterSetConstraintList, kxParameterSetConstraint)

/// The parameter exists, with a kind of value and a type of object where they are given.
class kxParameterExist : public kxParameterSetConstraint
{
    KX_OBJECT(kxParameterExist, kxParameterSetConstraint)
    static void listFields(kxFields<kxParameterExist>& fields);

    kxStringRef _fieldName;
    kxSmartPointer<kxMetaObject> _fieldType;
    kxSmartPointer<kxMetaObject> _referenceType;

    kxParameterExist() = default;
    /// Asks for an object parameter.
    kxParameterExist(kxStringRef fieldName, kxMetaObject* referenceType);

    void setFieldName(kxStringRef name) { _fieldName = name; }
    kxStringRef getFieldName() const { return _fieldName; }
    void setFieldType(kxMetaObject* type) { _fieldType = type; }
    void setReferenceType(kxMetaObject* type) { _referenceType = type; }

    kxResult checkParameter(kxParameterSet* set) override;
    /// Takes name and types of any field.
    kxResult setupDefaultConstraint(kxMetaField* field) override;
};

/// Two parameters have the same kind of value, or are the same, or are both missing.
class kxParameterMatch : public kxParameterSetConstraint
{
    KX_OBJECT(kxParameterMatch, kxParameterSetConstraint)
    static void listFields(kxFields<kxParameterMatch>& fields);

    kxStringRef _fieldOneName;
    kxStringRef _fieldTwoName;

    void setFieldOneName(kxStringRef name) { _fieldOneName = name; }
    kxStringRef getFieldOneName() const { return _fieldOneName; }
    void setFieldTwoName(kxStringRef name) { _fieldTwoName = name; }
    kxStringRef getFieldTwoName() const { return _fieldTwoName; }

    kxResult checkParameter(kxParameterSet* set) override;
    /// Always fails: a single field says nothing about a second one.
    kxResult setupDefaultConstraint(kxMetaField* field) override;
};

/// The parameter exists and, if it is an object or a string, is not null.
class kxParameterNonNull : public kxParameterSetConstraint
{
    KX_OBJECT(kxParameterNonNull, kxParameterSetConstraint)
    static void listFields(kxFields<kxParameterNonNull>& fields);

    kxStringRef _fieldName;

    void setFieldName(kxStringRef name) { _fieldName = name; }
    kxStringRef getFieldName() const { return _fieldName; }

    kxResult checkParameter(kxParameterSet* set) override;
    /// Succeeds for required objects and strings.
    kxResult setupDefaultConstraint(kxMetaField* field) override;
};

} // namespace Kel::Opt
