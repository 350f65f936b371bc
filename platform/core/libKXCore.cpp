// The one list of the core library's classes.
#include "platform/core/libKXCore.h"

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxObjectList.h"
#include "platform/core/kxStringObj.h"

namespace Kel
{

using namespace Kel::Core;

void libKXCore_arkRegister()
{
    kxRegisterClass<kxObject>("kxObject", "base of every class");
    kxRegisterClass<kxMetaField>("kxMetaField", "a reflected field of a class");
    kxRegisterClass<kxBoolField>("kxBoolField", "field that is true or false");
    kxRegisterClass<kxIntField>("kxIntField", "field of a signed 32-bit integer");
    kxRegisterClass<kxUnsignedIntField>("kxUnsignedIntField", "field of an unsigned 32-bit integer");
    kxRegisterClass<kxLongField>("kxLongField", "field of a signed 64-bit integer");
    kxRegisterClass<kxFloatField>("kxFloatField", "field of a 32-bit floating-point number");
    kxRegisterClass<kxDoubleField>("kxDoubleField", "field of a 64-bit floating-point number");
    kxRegisterClass<kxStringField>("kxStringField", "field of a pooled string");
    kxRegisterClass<kxEnumField>("kxEnumField", "field of an enumeration");
    kxRegisterClass<kxObjectField>("kxObjectField", "field that refers to an object");
    kxRegisterClass<kxMemoryField>("kxMemoryField", "field that refers to a memory block");
    kxRegisterClass<kxVec2fField>("kxVec2fField", "field of a vector of 2");
    kxRegisterClass<kxVec3fField>("kxVec3fField", "field of a vector of 3");
    kxRegisterClass<kxVec4fField>("kxVec4fField", "field of a vector of 4");
    kxRegisterClass<kxQuatfField>("kxQuatfField", "field of a quaternion");
    kxRegisterClass<kxMatrix44fField>("kxMatrix44fField", "field of a 4 x 4 matrix");
    kxRegisterClass<kxAABoxField>("kxAABoxField", "field of an axis-aligned box");
    kxRegisterClass<kxMetaObject>("kxMetaObject", "a class");

    kxRegisterClass<kxListBase>("kxListBase", "base of every list");
    kxRegisterClass<kxIntList>("kxIntList", "list of integers");
    kxRegisterClass<kxUnsignedIntList>("kxUnsignedIntList", "list of unsigned integers");
    kxRegisterClass<kxLongList>("kxLongList", "list of 64-bit integers");
    kxRegisterClass<kxFloatList>("kxFloatList", "list of 32-bit floating-point numbers");
    kxRegisterClass<kxDoubleList>("kxDoubleList", "list of 64-bit floating-point numbers");
    kxRegisterClass<kxBoolList>("kxBoolList", "list of truth values");
    kxRegisterClass<kxStringRefList>("kxStringRefList", "list of pooled strings");
    kxRegisterClass<kxVec3fList>("kxVec3fList", "list of vectors of 3");
    kxRegisterClass<kxVec4fList>("kxVec4fList", "list of vectors of 4");
    kxRegisterClass<kxQuatfList>("kxQuatfList", "list of quaternions");
    kxRegisterClass<kxMatrix44fList>("kxMatrix44fList", "list of 4 x 4 matrices");
    kxRegisterClass<kxObjectList>("kxObjectList", "list of objects");
    kxRegisterClass<kxObjectListList>("kxObjectListList", "list of lists of objects");
    kxRegisterClass<kxMetaObjectList>("kxMetaObjectList", "list of classes");
    kxRegisterClass<kxMetaObjectListList>("kxMetaObjectListList", "list of lists of classes");
    kxRegisterClass<kxMetaFieldList>("kxMetaFieldList", "list of fields");
    kxRegisterClass<kxStringRefListList>("kxStringRefListList", "list of lists of pooled strings");
    kxRegisterClass<kxIntListList>("kxIntListList", "list of lists of integers");

    kxRegisterClass<kxStringObj>("kxStringObj", "text as an object");
    kxRegisterClass<kxStringObjList>("kxStringObjList", "list of texts");
    kxRegisterClass<kxMemoryBlock>("kxMemoryBlock", "run of bytes");
}

} // namespace Kel
