#include "platform/core/kxKXBFile.h"

#include "platform/core/kxFileFormat.h"
#include "platform/core/kxReport.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxKXBFile)

void kxKXBFile::listFields(kxFields<kxKXBFile>& fields)
{
    fields.add(&kxKXBFile::_directory, "_directory", "what shall be in the file");
    fields.add(&kxKXBFile::_options, "_options", "how to write it");
}

bool kxKXBFile::hasObject(const kxObject* object)
{
    const uint32_t count = _directory->getEntryCount();
    if (m_entriesSeen > count)
    {
        m_has.clear();
        m_entriesSeen = 0;
    }
    for (; m_entriesSeen < count; ++m_entriesSeen)
        if (const kxObject* entered = _directory->getEntry(m_entriesSeen)->getObject())
            m_has[entered] = true;
    return m_has.get(object);
}

void kxKXBFile::addObject(kxObject* object, kxStringRef name)
{
    if (object && !hasObject(object))
        _directory->addEntry(object, name);
}

void kxKXBFile::addExternal(kxStringRef path, kxObject* object, kxStringRef name)
{
    _directory->addExternalEntry(path, object, name);
}

bool kxKXBFile::makeEntriesConcrete()
{
    bool all = true;
    kxDirEntryList& entries = *_directory->_entries;
    for (uint32_t i = 0; i < entries.getCount(); ++i)
    {
        const kxSmartPointer<kxDirEntry> entry = entries.get(i);
        if (!entry->isOfType(kxExternalDirEntry::staticMetaObject()))
            continue;
        if (!entry->getObject())
        {
            all = false;
            continue;
        }
        auto concrete = kxNew<kxObjectDirEntry>();
        concrete->_name = entry->getName();
        concrete->_object = entry->getObject();
        entries.set(i, concrete);
    }
    _directory->dropSharedEntries();
    return all;
}

uint64_t kxKXBFile::write(const char* path)
{
    // What was collected before may be older than the scene.
    _directory->dropSharedEntries();
    const uint32_t objectCount = _directory->getSharedEntryCount();
    if (objectCount == 0)
    {
        kxReport::error("%s: there is nothing to write", path);
        return 0;
    }
    const kxSmartPointer<kxFileFormat> format = kxFileFormat::findWriter(path);
    const kxSmartPointer<kxFileOptions> options = _options ? _options : kxNew<kxFileOptions>();
    return format && format->write(*_directory, path, *options) == kSuccess ? objectCount : 0;
}

} // namespace Kel::Core
