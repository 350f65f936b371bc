#include "platform/core/kxResource.h"

#include "platform/core/kxFileFormat.h"
#include "platform/core/kxInfo.h"
#include "platform/core/kxListBase.h"
#include "platform/core/kxMemoryBlock.h"

namespace Kel::Core
{

namespace
{

template <class Accept>
kxObject* findShared(const kxDirectory* directory, kxStringRef typeName, const kxMetaObject* base, Accept accept)
{
    const kxMetaObject* type = kxMetaObject::find(typeName);
    if (!directory || !type)
        return nullptr;
    const auto isWanted = [&](const kxObject* object)
    { return object && object->isOfType(type) && object->isOfType(base) && accept(object); };
    // Roots are the first of the shared objects, up to the first that is walked through, and mostly one of them is wanted.
    for (const kxDirEntry* entry : *directory->_entries)
    {
        const kxObject* root = entry->getObject();
        if (kxCast<kxListBase>(root) || kxCast<kxMemoryBlock>(root) || kxCast<kxMetaObject>(root) ||
            kxCast<kxMetaField>(root))
            break;
        if (isWanted(root))
            return entry->getObject();
    }
    if (directory->areInfosRoots() && type->isDerivedFrom(kxInfo::staticMetaObject()))
        return nullptr;
    const uint32_t count = directory->getSharedEntryCount();
    for (uint32_t i = 0; i < count; ++i)
        if (isWanted(directory->getSharedObject(i)))
            return directory->getSharedObject(i);
    return nullptr;
}

} // namespace

kxSmartPointer<kxDirectory> kxResource::load(const char* path, const kxFileOptions* options)
{
    auto directory = kxNew<kxDirectory>();
    const auto defaults = kxNew<kxFileOptions>();
    const kxSmartPointer<kxFileFormat> format = kxFileFormat::findReader(path);
    directory->setLoaded(format && format->read(path, options ? *options : *defaults, *directory) == kSuccess);
    return directory;
}

kxInfo* kxResource::getInfoByType(const kxDirectory* directory, kxStringRef typeName)
{
    return static_cast<kxInfo*>(
        findShared(directory, typeName, kxInfo::staticMetaObject(), [](const kxObject*) { return true; }));
}

kxObject* kxResource::getByType(const kxDirectory* directory, kxStringRef typeName, kxStringRef objectName)
{
    const kxMetaObject* any = kxObject::staticMetaObject();
    if (objectName.isNull())
        return findShared(directory, typeName, any, [](const kxObject*) { return true; });
    const kxMetaObject* type = kxMetaObject::find(typeName);
    if (!directory || !type)
        return nullptr;
    // Names given in the file come before names that objects bring along.
    for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
    {
        const kxDirEntry* entry = directory->getEntry(i);
        if (entry->getName() == objectName && entry->getObject() && entry->getObject()->isOfType(type))
            return entry->getObject();
    }
    return findShared(directory, typeName, any,
                      [&](const kxObject* object) { return getObjectName(object) == objectName; });
}

void kxResource::unload(kxDirectory* directory)
{
    if (directory)
        directory->clear();
}

} // namespace Kel::Core
