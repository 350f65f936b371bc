// Names of the core layer for headers that need no more than a name, and the result type of its operations.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kel::Math
{
}

namespace Kel::Core
{

using namespace Kel::Math;

class kxObject;
class kxMetaObject;
class kxMetaField;
class kxMetaEnum;
class kxMemoryPool;
class kxMemoryBlock;
class kxStringRef;
class kxListBase;
class kxObjectList;
class kxDirectory;
class kxDirEntry;
class kxFileFormat;
class kxFileInfo;
class kxFileOptions;
class kxInfo;
class kxKXBFile;
class kxMappedFile;
class kxRegistry;
class kxUserData;
template <class T>
class kxSmartPointer;
template <class T>
class kxFields;

/// What an operation that can fail answers.
enum kxResult
{
    kSuccess = 0,
    kFailure = 1
};

} // namespace Kel::Core
