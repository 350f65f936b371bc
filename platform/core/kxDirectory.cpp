#include "platform/core/kxDirectory.h"

#include "platform/core/kxClassReferences.h"
#include "platform/core/kxPrefetch.h"
#include "platform/core/kxTSerialMap.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxDirectory)

namespace
{

// Finds what roots reach, breadth first. Lists are walked where they are met, nested ones through a stack of their own, so
// that neither the depth of the scene nor that of lists costs call depth.
class Collector
{
public:
    explicit Collector(std::vector<kxSmartPointer<kxObject>>& found) : m_found(found) {}

    void discover(kxObject* root)
    {
        meet(root);
        while (!m_lists.empty())
        {
            auto& [list, next] = m_lists.back();
            if (next == list->getCount())
            {
                m_lists.pop_back();
                continue;
            }
            if (next + kAhead < list->getCount())
                prefetchObject(list->get(next + kAhead));
            meet(list->get(next++));
        }
    }

    void follow()
    {
        for (; m_next < m_found.size(); ++m_next)
        {
            if (m_next + kAhead < m_found.size())
                prefetchObject(m_found[m_next + kAhead]);
            const kxObject* object = m_found[m_next];
            for (const kxObjectField* field : m_classes.of(object).fields)
                if (const void* value = field->getAddress(object))
                    discover(field->getObject(value));
        }
    }

private:
    static constexpr uint32_t kAhead = 6; // objects that are asked for before they are looked at

    void meet(kxObject* object)
    {
        if (!object)
            return;
        const kxClassReferences& type = m_classes.of(object);
        if (type.role == kxClassReferences::CLASS || type.role == kxClassReferences::MEMORY)
            return;
        bool& seen = m_seen[object];
        if (seen)
            return;
        seen = true;
        if (type.role == kxClassReferences::OBJECT_LIST)
            m_lists.emplace_back(static_cast<kxObjectList*>(object), 0);
        else if (type.role == kxClassReferences::OBJECT)
            m_found.emplace_back(object);
    }

    std::vector<kxSmartPointer<kxObject>>& m_found;
    size_t m_next = 0;
    std::vector<std::pair<const kxObjectList*, uint32_t>> m_lists;
    kxTSerialMap<bool> m_seen;
    kxClassReferencesTable m_classes;
};

} // namespace

void kxDirectory::listFields(kxFields<kxDirectory>& fields)
{
    fields.add(&kxDirectory::_entries, "_entries", "the named roots of the file");
}

kxObjectDirEntry* kxDirectory::addEntry(kxObject* object, kxStringRef name)
{
    if (!object)
        return nullptr;
    auto entry = kxNew<kxObjectDirEntry>();
    entry->_name = name;
    entry->_object = object;
    _entries->append(entry);
    dropSharedEntries();
    return entry;
}

kxExternalDirEntry* kxDirectory::addExternalEntry(kxStringRef path, kxObject* object, kxStringRef name)
{
    auto entry = kxNew<kxExternalDirEntry>();
    entry->_name = name;
    entry->_path = path;
    entry->_object = object;
    _entries->append(entry);
    m_infosAreRoots = false;
    dropSharedEntries();
    return entry;
}

kxDirEntry* kxDirectory::findEntry(kxStringRef name) const
{
    for (kxDirEntry* entry : *_entries)
        if (entry->_name == name)
            return entry;
    return nullptr;
}

void kxDirectory::clear()
{
    _entries->clear();
    dropSharedEntries();
    m_loaded = false;
}

void kxDirectory::dropSharedEntries()
{
    m_collected = false;
    m_infosAreRoots = false;
    m_sharedEntries.clear();
    m_sharedObjects.clear();
}

void kxDirectory::collect() const
{
    if (m_collected)
        return;
    m_collected = true;
    Collector collector(m_sharedObjects);
    for (const kxDirEntry* entry : *_entries)
        collector.discover(entry->getObject());
    collector.follow();
    m_sharedEntries.resize(m_sharedObjects.size());
    // Roots keep their own entries; of two entries for one object the first counts.
    kxTSerialMap<uint32_t> numberOfRoot;
    for (uint32_t i = getEntryCount(); i-- > 0;)
        if (const kxObject* root = getEntry(i)->getObject())
            numberOfRoot[root] = i + 1;
    for (size_t i = 0; i < m_sharedObjects.size(); ++i)
        if (const uint32_t number = numberOfRoot.get(m_sharedObjects[i]))
            m_sharedEntries[i] = getEntry(number - 1);
}

uint32_t kxDirectory::getSharedEntryCount() const
{
    collect();
    return static_cast<uint32_t>(m_sharedObjects.size());
}

kxObject* kxDirectory::getSharedObject(uint32_t index) const
{
    collect();
    return m_sharedObjects[index];
}

kxDirEntry* kxDirectory::getSharedEntry(uint32_t index) const
{
    collect();
    kxSmartPointer<kxDirEntry>& entry = m_sharedEntries[index];
    if (!entry)
    {
        auto created = kxNew<kxObjectDirEntry>();
        created->_object = m_sharedObjects[index];
        created->_name = getObjectName(created->_object);
        entry = created;
    }
    return entry;
}

kxStringRef getObjectName(const kxObject* object)
{
    static const kxStringRef nameOfField("_name");
    const kxMetaField* field = object ? object->getMetaObject()->findField(nameOfField) : nullptr;
    const void* value = field && field->getKind() == kxFieldKind::STRING ? field->getAddress(object) : nullptr;
    return value ? *static_cast<const kxStringRef*>(value) : kxStringRef();
}

} // namespace Kel::Core
