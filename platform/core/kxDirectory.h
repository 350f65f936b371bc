// What a file holds: named entries, and every object that they reach.
#pragma once

#include "platform/core/kxDirEntry.h"

#include <vector>

namespace Kel::Core
{

/// The contents of one file, loaded or to be written. Added entries are the file's roots; shared entries are all objects that
/// the roots reach.
class kxDirectory : public kxObject
{
    KX_OBJECT(kxDirectory, kxObject)
    static void listFields(kxFields<kxDirectory>& fields);

    kxSmartPointer<kxDirEntryList> _entries = kxNew<kxDirEntryList>();

    /// Adds a root; null objects are refused and give null.
    kxObjectDirEntry* addEntry(kxObject* object, kxStringRef name);
    /// Adds a root that stands for something in another file; `object` may be null.
    kxExternalDirEntry* addExternalEntry(kxStringRef path, kxObject* object, kxStringRef name);

    uint32_t getEntryCount() const { return _entries->getCount(); }
    kxDirEntry* getEntry(uint32_t index) const { return _entries->get(index); }
    /// First root of that name, null when there is none.
    kxDirEntry* findEntry(kxStringRef name) const;
    /// Removes every entry; the directory counts as not loaded.
    void clear();

    /// Objects that the roots reach through fields that do not link back, each once: the roots in their order first, then
    /// breadth first, fields and list elements in order. Classes, fields, lists and memory blocks are walked through and do
    /// not count. Collected when first asked for, and again after an entry was added; the directory holds the objects.
    uint32_t getSharedEntryCount() const;
    kxObject* getSharedObject(uint32_t index) const;
    /// Entry of one of them: the root's own, or one with the object's `_name` where it has such a field. Valid until the
    /// next collection.
    kxDirEntry* getSharedEntry(uint32_t index) const;
    /// Lets go of the collected objects after the scene was edited; the next question collects again.
    void dropSharedEntries();

    /// Said by a reader behind its last entry: no info lies below a root. Spares those who want the infos the collection of all
    /// objects. Adding an entry and `dropSharedEntries` take it back.
    void setInfosAreRoots() { m_infosAreRoots = true; }
    bool areInfosRoots() const { return m_infosAreRoots; }

    bool isLoaded() const { return m_loaded; }
    void setLoaded(bool loaded) { m_loaded = loaded; }
    /// Loading is over when `kxResource::load` returns, so this only answers whether it succeeded.
    bool waitUntilLoaded() const { return m_loaded; }

private:
    void collect() const;

    bool m_loaded = false;
    bool m_infosAreRoots = false;
    mutable bool m_collected = false;
    mutable std::vector<kxSmartPointer<kxObject>> m_sharedObjects;
    mutable std::vector<kxSmartPointer<kxDirEntry>> m_sharedEntries; // made when asked for
};

/// Name of an object: the value of its string field `_name`, null when it has no such field.
kxStringRef getObjectName(const kxObject* object);

} // namespace Kel::Core
