#include "opt/tracking/kxLockInterface.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxLockInterface)

void kxLockInterface::listFields(kxFields<kxLockInterface>& fields)
{
    fields.add(&kxLockInterface::_objectCacheNames, "_objectCacheNames", "names of the caches");
    fields.add(&kxLockInterface::_objectCacheValids, "_objectCacheValids", "for each cache, its list is current");
    fields.add(&kxLockInterface::_objectCacheLists, "_objectCacheLists", "for each cache, the locked objects");
}

bool kxLockInterface::getObjectCacheValid(const char* name) const
{
    const int index = _objectCacheNames->find(name);
    return index >= 0 && _objectCacheValids->get(static_cast<uint32_t>(index));
}

void kxLockInterface::setObjectCacheValid(const char* name, bool valid)
{
    const int index = _objectCacheNames->find(name);
    if (index >= 0)
        _objectCacheValids->set(static_cast<uint32_t>(index), valid);
}

kxObjectList* kxLockInterface::getObjectCache(const char* name)
{
    const int index = _objectCacheNames->find(name);
    if (index >= 0)
        return _objectCacheLists->get(static_cast<uint32_t>(index));
    _objectCacheNames->append(name);
    _objectCacheValids->append(false);
    _objectCacheLists->append(kxNew<kxObjectList>());
    return _objectCacheLists->getLast();
}

} // namespace Kel::Opt
