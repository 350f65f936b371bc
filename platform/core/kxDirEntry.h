// Entries of a directory.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Core
{

/// One entry of a directory: a name and, as derived classes have it, an object.
class kxDirEntry : public kxObject
{
    KX_OBJECT(kxDirEntry, kxObject)
    static void listFields(kxFields<kxDirEntry>& fields);

    kxStringRef _name;

    kxStringRef getName() const { return _name; }
    virtual kxObject* getObject() const { return nullptr; }
};

/// Entry of an object that belongs to the file itself.
class kxObjectDirEntry : public kxDirEntry
{
    KX_OBJECT(kxObjectDirEntry, kxDirEntry)
    static void listFields(kxFields<kxObjectDirEntry>& fields);

    kxSmartPointer<kxObject> _object;

    kxObject* getObject() const override { return _object; }
};

/// Entry of an object that stands for something in another file.
class kxExternalDirEntry : public kxDirEntry
{
    KX_OBJECT(kxExternalDirEntry, kxDirEntry)
    static void listFields(kxFields<kxExternalDirEntry>& fields);

    kxStringRef _path; ///< of the other file, as the file that refers to it has it
    kxSmartPointer<kxObject> _object;

    kxStringRef getPath() const { return _path; }
    kxObject* getObject() const override { return _object; }
};

KX_OBJECT_LIST(kxDirEntryList, kxDirEntry)
KX_OBJECT_LIST(kxExternalDirEntryList, kxExternalDirEntry)

} // namespace Kel::Core
