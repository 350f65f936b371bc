// Item classes of the tests, and what the tests ask the registry.
#pragma once

#include "opt/items/kxItemCall.h"
#include "platform/sg/kxGroup.h"
#include "tests/opt/testRun.h"

namespace Kel::Opt
{

/// Item with a parameter of each kind and functions that show what happens to them.
class kxTestItem : public kxItemBase
{
    KX_OBJECT(kxTestItem, kxItemBase)
    static void listFields(kxFields<kxTestItem>& fields);

    kxSmartPointer<kxGroup> _group;   // required
    kxSmartPointer<kxObject> _object; // optional
    int32_t _number = 7;
    kxStringRef _text{"default"};
    int32_t _working = 1; // no parameter

    std::string m_trace;

    void userSetupInput(kxParameterSet* input) override;
    void userSetupOutput(kxParameterSet* result) override;
    kxSmartPointer<kxParameterSetConstraintList> getConstraints() override;
    kxMetaObject* getInterfacedType() override;
    kxStringRef getInterfaceName() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;
    bool getRegisterInterface() override { return false; }

    kxSmartPointer<kxParameterSet> report(kxParameterSet* input);
    kxSmartPointer<kxParameterSet> other(kxParameterSet* input);
    kxSmartPointer<kxParameterSet> nothing(kxParameterSet* input);
    kxSmartPointer<kxParameterSet> unmarked(kxParameterSet* input);
    kxSmartPointer<kxParameterSet> two(kxParameterSet* input);

    using kxItemBase::concatenateConstraints;
    using kxItemBase::concatenateDeclarations;
    using kxItemBase::getFunctionsFromArray;
};

/// Registers the test's classes once, and the library's before.
void registerTestItems();

} // namespace Kel::Opt
