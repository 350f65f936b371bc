#include "tests/opt/framework/testOptimizations.h"

#include "opt/libKXOpt.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxTestSettings)
KX_IMPLEMENT(kxTestStep)
KX_IMPLEMENT(kxTestConfiguration)
KX_IMPLEMENT(kxTestService)

void kxTestSettings::listFields(kxFields<kxTestSettings>& fields)
{
    fields.add(&kxTestSettings::_count, "_count", "an integer");
    fields.add(&kxTestSettings::_level, "_level", "an enumeration");
    fields.add(&kxTestSettings::_size, "_size", "an unsigned integer");
    fields.add(&kxTestSettings::_ratio, "_ratio", "a float");
    fields.add(&kxTestSettings::_flag, "_flag", "a truth value");
    fields.add(&kxTestSettings::_text, "_text", "a string");
    fields.add(&kxTestSettings::_type, "_type", "a class");
    fields.add(&kxTestSettings::plain, "plain", "an integer without underscore");
    fields.add(&kxTestSettings::_wide, "_wide", "an integer of 64 bits");
    fields.add(&kxTestSettings::_vector, "_vector", "a vector");
    fields.add(&kxTestSettings::_object, "_object", "an object");
}

bool kxTestSettings::apply(kxSmartPointer<kxNode>&)
{
    return true;
}

bool kxTestSettings::configure(int)
{
    return true;
}

void kxTestStep::listFields(kxFields<kxTestStep>& fields)
{
    fields.add(&kxTestStep::_configures, "_configures", "accept the settings");
    fields.add(&kxTestStep::_succeeds, "_succeeds", "succeed");
    fields.add(&kxTestStep::_cancels, "_cancels", "ask the run to stop");
    fields.add(&kxTestStep::_newRoot, "_newRoot", "name of a new root");
}

bool kxTestStep::configure(int)
{
    printf("\t\tconfiguring\n");
    return _configures;
}

bool kxTestStep::apply(kxSmartPointer<kxNode>& root)
{
    printf("\t\tapplied to %s\n", root ? root->getName().c_str() : "nothing");
    count("graphs seen");
    refuse("left alone", root);
    if (_newRoot == kxStringRef("null"))
        root = nullptr;
    else if (_newRoot)
    {
        root = kxNew<kxGroup>();
        root->setName(_newRoot);
    }
    if (_cancels)
        _optInterface->setOptCancelState(true);
    return _succeeds;
}

void registerTestOptimizations()
{
    libKXOpt_arkRegister();
    kxRegisterClass<kxTestSettings>("kxTestSettings", "one setting of each kind");
    kxRegisterClass<kxTestStep>("kxTestStep", "does as it is told");
    kxRegisterClass<kxTestConfiguration>("kxTestConfiguration", "a policy of its own");
    kxRegisterClass<kxTestService>("kxTestService", "service of a host that can cancel");
}

} // namespace Kel::Opt
