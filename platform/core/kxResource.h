// Loading of scene files.
#pragma once

#include "platform/core/kxDirectory.h"
#include "platform/core/kxFileOptions.h"
#include "platform/core/kxInfo.h"

namespace Kel::Core
{

/// The resource service: loads files of any known format and finds objects in what was loaded.
class kxResource
{
public:
    /// Loads a file. Never null: `isLoaded` of the directory says whether it worked, and when it did not, one error line
    /// has gone out. Done when it returns. Null options are the defaults.
    static kxSmartPointer<kxDirectory> load(const char* path, const kxFileOptions* options = nullptr);

    /// First info of the named type or one derived from it, among the shared entries; null when there is none.
    static kxInfo* getInfoByType(const kxDirectory* directory, kxStringRef typeName);
    /// First object of the named type or one derived from it that has this name: its root entry's, or its own `_name`. A
    /// null name finds the first of the type.
    static kxObject* getByType(const kxDirectory* directory, kxStringRef typeName, kxStringRef objectName);

    /// Empties the directory; objects that nobody else holds go.
    static void unload(kxDirectory* directory);
};

} // namespace Kel::Core
