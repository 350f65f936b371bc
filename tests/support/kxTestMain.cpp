// The start of every test program that links the support library.
#include "opt/libKXOpt.h"
#include "platform/core/kxTimer.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    Kel::libKXOpt_arkRegister();
    Kel::Core::kxTimer::setFrozen(true); // reports of equal runs are equal
    return RUN_ALL_TESTS();
}
