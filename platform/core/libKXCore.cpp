// The one list of the core library's classes.
#include "platform/core/libKXCore.h"

#include "platform/core/kxDirectory.h"
#include "platform/core/kxFileInfo.h"
#include "platform/core/kxKXBFile.h"
#include "platform/core/kxKXBFormat.h"
#include "platform/core/kxFileFormat.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxObjectList.h"
#include "platform/core/kxRegistry.h"
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
    kxRegisterClass<kxMappedFile>("kxMappedFile", "bytes of a file");

    kxRegisterClass<kxUserData>("kxUserData", "what a file says about an object for its own use");
    kxRegisterClass<kxInfo>("kxInfo", "something that a file holds as a whole");
    kxRegisterClass<kxInfoList>("kxInfoList", "list of infos");
    kxRegisterClass<kxDirEntry>("kxDirEntry", "entry of a directory");
    kxRegisterClass<kxObjectDirEntry>("kxObjectDirEntry", "entry of an object of the file itself");
    kxRegisterClass<kxExternalDirEntry>("kxExternalDirEntry", "entry of an object in another file");
    kxRegisterClass<kxDirEntryList>("kxDirEntryList", "list of entries of a directory");
    kxRegisterClass<kxExternalDirEntryList>("kxExternalDirEntryList", "list of entries of objects in other files");
    kxRegisterClass<kxDirectory>("kxDirectory", "what a file holds");
    kxRegisterClass<kxFileOptions>("kxFileOptions", "settings for reading and writing files");
    kxRegisterClass<kxFileFormat>("kxFileFormat", "a format of scene files");
    kxRegisterClass<kxKXBFormat>("kxKXBFormat", "the native file format");
    kxRegisterClass<kxKXBFile>("kxKXBFile", "a file to be written");
    kxRegisterClass<kxFileInfo>("kxFileInfo", "the file that a run works on");
    kxRegisterClass<kxRegistry>("kxRegistry", "settings from a script");
}

} // namespace Kel
