// A file to be written: what shall be in it.
#pragma once

#include "platform/core/kxDirectory.h"
#include "platform/core/kxFileOptions.h"
#include "platform/core/kxTSerialMap.h"

namespace Kel::Core
{

/// Collects named objects and writes them, with all that they reach, in the format that the path's extension names.
class kxKXBFile : public kxObject
{
    KX_OBJECT(kxKXBFile, kxObject)
    static void listFields(kxFields<kxKXBFile>& fields);

    kxSmartPointer<kxDirectory> _directory = kxNew<kxDirectory>();
    kxSmartPointer<kxFileOptions> _options; ///< null: the defaults

    /// Adds an object under a name; one that the file has already, and null, are left out.
    void addObject(kxObject* object, kxStringRef name);
    /// Adds an object that stands for something in another file.
    void addExternal(kxStringRef path, kxObject* object, kxStringRef name);
    /// Turns entries that stand for something in another file into entries of this one. False when there are some whose
    /// object is not known; those stay.
    bool makeEntriesConcrete();

    /// Writes the file, as a whole or not at all. Gives the number of objects written; 0, with one error line, on failure,
    /// which an empty file is as well.
    uint64_t write(const char* path);

private:
    bool hasObject(const kxObject* object);

    kxTSerialMap<bool> m_has; // objects of the first so many entries
    uint32_t m_entriesSeen = 0;
};

} // namespace Kel::Core
