// The one list of the utility library's classes.
#include "platform/utils/libKXUtils.h"

#include "platform/core/libKXCore.h"
#include "platform/utils/kxIntHistogram.h"
#include "platform/utils/kxMatrixObjectList.h"

namespace Kel
{

using namespace Kel::Utils;

void libKXUtils_arkRegister()
{
    libKXCore_arkRegister();
    kxRegisterClass<kxIntHistogram>("kxIntHistogram", "counts of integer values");
    kxRegisterClass<kxMatrixObjectList>("kxMatrixObjectList", "objects with a matrix for each");
}

} // namespace Kel
