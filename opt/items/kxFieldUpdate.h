// Items that pass values between parameter sets and fields of objects.
#pragma once

#include "opt/items/kxItemBase.h"

namespace Kel::Opt
{

/// Sets a reflected field of an object from the parameter "_value", which has the field's type.
class kxFieldUpdate : public kxItemBase
{
    KX_OBJECT(kxFieldUpdate, kxItemBase)
    static void listFields(kxFields<kxFieldUpdate>& fields);

    kxSmartPointer<kxObject> _object;
    kxStringRef _fieldName;

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> updateField(kxParameterSet* input);
};

/// Gives the value of a reflected field of an object as the result "_value": what a linked parameter takes its value
/// from.
class kxFieldSource : public kxItemBase
{
    KX_OBJECT(kxFieldSource, kxItemBase)
    static void listFields(kxFields<kxFieldSource>& fields);

    kxSmartPointer<kxObject> _object;
    kxStringRef _fieldName;

    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> updateSource(kxParameterSet* input);
};

} // namespace Kel::Opt
