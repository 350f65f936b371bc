#include "platform/core/kxFileInfo.h"

#include "platform/core/kxKXBFile.h"
#include "platform/core/kxTSerialMap.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxFileInfo)

void kxFileInfo::listFields(kxFields<kxFileInfo>& fields)
{
    fields.add(&kxFileInfo::_infoList, "_infoList", "every info that the file holds, in order");
    fields.add(&kxFileInfo::_externalEntries, "_externalEntries", "what stands for objects in other files");
    fields.add(&kxFileInfo::_directory, "_directory", "the loaded file");
    fields.add(&kxFileInfo::_path, "_path", "path of the loaded file");
}

void kxFileInfo::reset()
{
    _infoList->clear();
    _externalEntries->clear();
    _directory = nullptr;
    _path = kxStringRef();
}

void kxFileInfo::registerFile(kxDirectory* directory)
{
    _infoList->clear();
    _externalEntries->clear();
    _directory = directory;
    if (!directory)
        return;
    const auto add = [this](kxObject* object)
    {
        auto* info = kxCast<kxInfo>(object);
        if (info && !_infoList->contains(info))
            _infoList->append(info);
    };
    if (directory->areInfosRoots())
        for (const kxDirEntry* entry : *directory->_entries)
            add(entry->getObject());
    else
        for (uint32_t i = 0; i < directory->getSharedEntryCount(); ++i)
            add(directory->getSharedObject(i));
    for (kxDirEntry* entry : *directory->_entries)
        if (auto* external = kxCast<kxExternalDirEntry>(entry))
            _externalEntries->append(external);
    // The directory keeps its roots; the objects that were collected only to find the infos are free to go.
    directory->dropSharedEntries();
}

bool kxFileInfo::setupFile(kxObject* object, kxKXBFile* file, bool withAllInfos)
{
    const uint32_t before = file->_directory->getEntryCount();
    // What the file called its infos, and which of them stand for something in another file.
    kxTSerialMap<kxStringRef> names;
    kxTSerialMap<bool> isExternal;
    if (_directory)
        for (const kxDirEntry* entry : *_directory->_entries)
            if (entry->getObject() && names.get(entry->getObject()).isNull())
                names[entry->getObject()] = entry->getName();
    for (const kxExternalDirEntry* external : *_externalEntries)
        if (external->getObject())
            isExternal[external->getObject()] = true;
    auto nameOf = [&names](const kxObject* added)
    {
        const kxStringRef name = names.get(added);
        return name.isNull() ? getObjectName(added) : name;
    };
    // An object that the file has no name for is named by whoever writes it.
    if (object && !names.get(object).isNull())
        file->addObject(object, names.get(object));
    if (!object || withAllInfos)
    {
        for (kxInfo* info : *_infoList)
            if (info != object && !isExternal.get(info))
                file->addObject(info, nameOf(info));
        for (const kxExternalDirEntry* external : *_externalEntries)
            file->addExternal(external->getPath(), external->getObject(), external->getName());
    }
    return file->_directory->getEntryCount() > before;
}

void kxFileInfo::addInfo(kxInfo* info)
{
    if (info && !_infoList->contains(info))
        _infoList->append(info);
}

kxExternalDirEntry* kxFileInfo::addExternalReference(kxStringRef path, kxObject* object)
{
    if (kxExternalDirEntry* known = getExternalEntry(object))
    {
        known->_path = path;
        return known;
    }
    auto entry = kxNew<kxExternalDirEntry>();
    entry->_name = getObjectName(object);
    entry->_path = path;
    entry->_object = object;
    _externalEntries->append(entry);
    return entry;
}

void kxFileInfo::addExternalReference(kxExternalDirEntry* entry)
{
    if (!entry || _externalEntries->contains(entry))
        return;
    removeExternalEntry(entry->getObject());
    _externalEntries->append(entry);
}

kxExternalDirEntry* kxFileInfo::getExternalEntry(const kxObject* object) const
{
    for (kxExternalDirEntry* entry : *_externalEntries)
        if (object && entry->getObject() == object)
            return entry;
    return nullptr;
}

bool kxFileInfo::removeExternalEntry(const kxObject* object)
{
    kxExternalDirEntry* entry = getExternalEntry(object);
    return entry && _externalEntries->remove(entry);
}

void kxFileInfo::removeAllExternalEntry()
{
    _externalEntries->clear();
}

} // namespace Kel::Core
