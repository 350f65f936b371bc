// Which objects must be left alone.
#pragma once

#include "opt/framework/kxInterfaced.h"

#include <memory>
#include <vector>

namespace Kel::Opt
{

/// Answers whether an object may be changed or removed, by asking every lock rule there is: the classes derived from
/// `kxLockBase`, plug-ins' ones included. Rules keep what they have to look up in named caches: three parallel lists.
class kxLockInterface : public kxInterfaced
{
    KX_OBJECT(kxLockInterface, kxInterfaced)
    static void listFields(kxFields<kxLockInterface>& fields);

    kxSmartPointer<kxStringRefList> _objectCacheNames = kxNew<kxStringRefList>();
    kxSmartPointer<kxBoolList> _objectCacheValids = kxNew<kxBoolList>();
    kxSmartPointer<kxObjectListList> _objectCacheLists = kxNew<kxObjectListList>();

    kxLockInterface();

    /// True when some rule says so. `object` may be null.
    virtual bool isLocked(kxObject* object);

    /// False for a cache of an unknown name.
    bool getObjectCacheValid(const char* name) const { return isCacheValid(name); }
    /// Does nothing for an unknown name. Whoever changes what a rule has looked up calls this with false.
    void setObjectCacheValid(const char* name, bool valid);
    /// List of the cache; an unknown name gets a new, empty one that is not valid yet.
    kxObjectList* getObjectCache(const char* name) { return getCache(name); }

    /// Empties every cache: another file is loaded.
    void forgetCaches();

    /// The same by pooled name.
    bool isCacheValid(kxStringRef name) const;
    kxObjectList* getCache(kxStringRef name);
    /// True when the cache's list holds the object. In a list that is edited only at its end, or after which the cache
    /// was declared valid or invalid, this costs no scan.
    bool isInCache(kxStringRef name, const kxObject* object);

protected:
    ~kxLockInterface() override;

private:
    struct Members;

    std::vector<const kxMetaObject*> m_ruleClasses; // those that can be made
    uint32_t m_knownRuleCount = 0;
    std::vector<std::unique_ptr<Members>> m_members; // parallel to the caches as far as it goes
};

} // namespace Kel::Opt
