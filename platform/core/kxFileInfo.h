// What was loaded from one file.
#pragma once

#include "platform/core/kxDirectory.h"
#include "platform/core/kxInfo.h"

namespace Kel::Core
{

/// The file that a run works on: where it came from, its infos, and what it refers to in other files.
class kxFileInfo : public kxObject
{
    KX_OBJECT(kxFileInfo, kxObject)
    static void listFields(kxFields<kxFileInfo>& fields);

    kxSmartPointer<kxInfoList> _infoList = kxNew<kxInfoList>(); ///< every info of the directory, in order
    kxSmartPointer<kxExternalDirEntryList> _externalEntries = kxNew<kxExternalDirEntryList>();
    kxSmartPointer<kxDirectory> _directory;
    kxStringRef _path;

    /// Forgets everything.
    void reset();
    /// Takes over a loaded directory: its infos, wherever its roots reach them, and its external entries.
    void registerFile(kxDirectory* directory);
    /// Adds to `file` what shall be written: `object` when the loaded file had a name for it, and, when there is no object or
    /// `withAllInfos` is set, every other info of the loaded file and its external entries. False when nothing was added.
    bool setupFile(kxObject* object, kxKXBFile* file, bool withAllInfos);

    /// Adds an info unless it is there already.
    void addInfo(kxInfo* info);

    /// Notes that `object` stands for something in the file at `path`; an entry that the object has is changed.
    kxExternalDirEntry* addExternalReference(kxStringRef path, kxObject* object);
    /// Keeps an entry, in place of one for the same object.
    void addExternalReference(kxExternalDirEntry* entry);
    /// Entry of an object, null when it belongs to this file.
    kxExternalDirEntry* getExternalEntry(const kxObject* object) const;
    /// False when the object has no entry.
    bool removeExternalEntry(const kxObject* object);
    void removeAllExternalEntry();
};

} // namespace Kel::Core
