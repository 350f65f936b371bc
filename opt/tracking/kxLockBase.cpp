#include "opt/tracking/kxLockBase.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxSegment.h"

#include <unordered_set>

namespace Kel::Opt
{

KX_IMPLEMENT(kxLockBase)
KX_IMPLEMENT(kxTypeLock)
KX_IMPLEMENT(kxSegmentLock)
KX_IMPLEMENT(kxInstanceLock)
KX_IMPLEMENT(kxDynamicLock)
KX_IMPLEMENT(kxCachedInstanceLock)
KX_IMPLEMENT(kxDataPumpLock)

bool kxTypeLock::isLocked(kxObject* object)
{
    return object && isTypeLocked(object->getMetaObject());
}

bool kxSegmentLock::isTypeLocked(kxMetaObject* type)
{
    return locksType(type);
}

bool kxSegmentLock::locksType(const kxMetaObject* type)
{
    return type == kxSegment::staticMetaObject();
}

bool kxInstanceLock::isLocked(kxObject* object)
{
    return isInstanceLocked(object);
}

bool kxDynamicLock::isInstanceLocked(kxObject* object)
{
    return locksObject(object);
}

bool kxDynamicLock::locksObject(const kxObject* object)
{
    const auto* node = kxCast<kxNode>(object);
    return node && node->isDynamic();
}

bool kxCachedInstanceLock::isInstanceLocked(kxObject* object)
{
    if (!_lockInterface)
        return false;
    const kxStringRef name = getObjectCacheName();
    if (!_lockInterface->isCacheValid(name))
        updateObjectCache();
    return object && _lockInterface->isInCache(name, object);
}

const char* kxDataPumpLock::getObjectCacheName()
{
    return kCacheName;
}

void kxDataPumpLock::updateObjectCache()
{
    // Without a file there is nothing to know yet: the question is asked again.
    if (!_lockInterface || !_optInterface || !_optInterface->getInfos())
        return;
    const kxStringRef name = getObjectCacheName();
    if (_lockInterface->isCacheValid(name))
        return;
    kxObjectList* locked = _lockInterface->getCache(name);
    std::unordered_set<const kxObject*> known(locked->begin(), locked->end());
    for (const kxInfo* info : *_optInterface->getInfos())
        if (const auto* pumps = kxCast<kxDataPumpInfo>(info))
            for (const kxDataPump* pump : *pumps->getList())
                if (pump && pump->getDestObj() && known.insert(pump->getDestObj()).second)
                    locked->append(pump->getDestObj());
    _lockInterface->setObjectCacheValid(name.c_str(), true);
}

} // namespace Kel::Opt
