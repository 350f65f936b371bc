// Rules by which objects are locked.
#pragma once

#include "opt/framework/kxInterfaced.h"

namespace Kel::Opt
{

/// A rule. The lock interface makes one of each class for every question, so a rule keeps nothing for the next one;
/// what it has to look up goes into a cache of the lock interface.
class kxLockBase : public kxInterfaced
{
    KX_OBJECT(kxLockBase, kxInterfaced)

    /// `object` may be null.
    virtual bool isLocked(kxObject* object) = 0;
};

/// Locks by type.
class kxTypeLock : public kxLockBase
{
    KX_OBJECT(kxTypeLock, kxLockBase)

    bool isLocked(kxObject* object) override;
    virtual bool isTypeLocked(kxMetaObject* type) = 0;
};

/// Locks segments, which are loaded and dropped on their own. Types derived from them are not locked.
class kxSegmentLock : public kxTypeLock
{
    KX_OBJECT(kxSegmentLock, kxTypeLock)

    bool isTypeLocked(kxMetaObject* type) override;
    /// The rule itself, without an instance of it.
    static bool locksType(const kxMetaObject* type);
};

/// Locks by object.
class kxInstanceLock : public kxLockBase
{
    KX_OBJECT(kxInstanceLock, kxLockBase)

    bool isLocked(kxObject* object) override;
    virtual bool isInstanceLocked(kxObject* object) = 0;
};

/// Locks dynamic nodes.
class kxDynamicLock : public kxInstanceLock
{
    KX_OBJECT(kxDynamicLock, kxInstanceLock)

    bool isInstanceLocked(kxObject* object) override;
    /// The rule itself, without an instance of it; `object` may be null.
    static bool locksObject(const kxObject* object);
};

/// Locks the objects of a named cache of the lock interface.
class kxCachedInstanceLock : public kxInstanceLock
{
    KX_OBJECT(kxCachedInstanceLock, kxInstanceLock)

    bool isInstanceLocked(kxObject* object) override;
    /// Fills the cache and declares it valid. Called when it is not.
    virtual void updateObjectCache() = 0;
    virtual const char* getObjectCacheName() = 0;
};

/// Locks what data pumps of the loaded file drive. The pumps are looked up once; who changes them declares the cache
/// "datapump" invalid.
class kxDataPumpLock : public kxCachedInstanceLock
{
    KX_OBJECT(kxDataPumpLock, kxCachedInstanceLock)

    void updateObjectCache() override;
    const char* getObjectCacheName() override;

    static constexpr const char* kCacheName = "datapump";
};

} // namespace Kel::Opt
