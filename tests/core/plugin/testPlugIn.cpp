// A plug-in in the forms that its loader has to tell apart; which one is for CMakeLists.txt to say.
#include "platform/core/kxPlugIn.h"

#include <stdexcept>

#ifdef KX_TEST_FITS
class kxTestPlugInThing : public Kel::Core::kxObject
{
    KX_OBJECT(kxTestPlugInThing, Kel::Core::kxObject)
};
KX_IMPLEMENT(kxTestPlugInThing)

static void registerClasses()
{
    Kel::Core::kxRegisterClass<kxTestPlugInThing>("kxTestPlugInThing", "a class that a plug-in brings");
}

KX_PLUGIN("Test", registerClasses)
#endif

#ifdef KX_TEST_OLD
class kxTestOldThing : public Kel::Core::kxObject
{
    KX_OBJECT(kxTestOldThing, Kel::Core::kxObject)
};
KX_IMPLEMENT(kxTestOldThing)

extern "C" const Kel::Core::kxPlugInInfo* kxPlugInRegister()
{
    static const Kel::Core::kxPlugInInfo info = {
        999, "Old", [] { Kel::Core::kxRegisterClass<kxTestOldThing>("kxTestOldThing", "a class of another time"); }};
    return &info;
}
#endif

#ifdef KX_TEST_FAILS
static void registerClasses()
{
    throw std::runtime_error("no licence");
}

KX_PLUGIN("Fails", registerClasses)
#endif
