// Which objects must be left alone.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// Keeps the named caches of locked objects: three parallel lists.
class kxLockInterface : public kxInterfaced
{
    KX_OBJECT(kxLockInterface, kxInterfaced)
    static void listFields(kxFields<kxLockInterface>& fields);

    kxSmartPointer<kxStringRefList> _objectCacheNames = kxNew<kxStringRefList>();
    kxSmartPointer<kxBoolList> _objectCacheValids = kxNew<kxBoolList>();
    kxSmartPointer<kxObjectListList> _objectCacheLists = kxNew<kxObjectListList>();

    /// False for a cache of an unknown name.
    bool getObjectCacheValid(const char* name) const;
    /// Does nothing for an unknown name.
    void setObjectCacheValid(const char* name, bool valid);
    /// List of the cache; an unknown name gets a new, empty one that is not valid yet.
    kxObjectList* getObjectCache(const char* name);
};

} // namespace Kel::Opt
