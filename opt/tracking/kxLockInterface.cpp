#include "opt/tracking/kxLockInterface.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemInterface.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockBase.h"
#include "opt/tracking/kxMessageInterface.h"

#include <unordered_set>

namespace Kel::Opt
{

KX_IMPLEMENT(kxLockInterface)

/// The objects of one cache, for look-ups. The lists are fields that others may edit: their count says whether they
/// did.
struct kxLockInterface::Members
{
    const kxObjectList* list = nullptr;
    uint32_t count = 0;
    std::unordered_set<const kxObject*> objects;
};

void kxLockInterface::listFields(kxFields<kxLockInterface>& fields)
{
    fields.add(&kxLockInterface::_objectCacheNames, "_objectCacheNames", "names of the caches");
    fields.add(&kxLockInterface::_objectCacheValids, "_objectCacheValids", "for each cache, its list is current");
    fields.add(&kxLockInterface::_objectCacheLists, "_objectCacheLists", "for each cache, the locked objects");
}

kxLockInterface::kxLockInterface() = default;
kxLockInterface::~kxLockInterface() = default;

bool kxLockInterface::isLocked(kxObject* object)
{
    const kxMetaObject* base = kxLockBase::staticMetaObject();
    if (m_knownRuleCount != base->getDerivedCount())
    {
        m_knownRuleCount = base->getDerivedCount();
        m_ruleClasses.clear();
        for (const kxMetaObject* type : base->getDerived())
            if (!type->isAbstract())
                m_ruleClasses.push_back(type);
    }
    static const kxStringRef pumpCache(kxDataPumpLock::kCacheName);
    for (size_t i = 0; i < m_ruleClasses.size(); ++i)
    {
        // The library's own rules are asked for every object of a scene, and need not be made for an answer. The cache of
        // driven objects is filled by its rule.
        const kxMetaObject* ruleClass = m_ruleClasses[i];
        const bool isSegmentLock = ruleClass == kxSegmentLock::staticMetaObject();
        const bool isDynamicLock = ruleClass == kxDynamicLock::staticMetaObject();
        const bool isPumpLock = ruleClass == kxDataPumpLock::staticMetaObject() && isCacheValid(pumpCache);
        if (isSegmentLock || isDynamicLock || isPumpLock)
        {
            if (object && (isSegmentLock   ? kxSegmentLock::locksType(object->getMetaObject())
                           : isDynamicLock ? kxDynamicLock::locksObject(object)
                                           : isInCache(pumpCache, object)))
                return true;
            continue;
        }
        const auto rule = ruleClass->createInstanceRef<kxLockBase>();
        // As `setupInterfaced` does, without a look at the fields.
        rule->_optInterface = _optInterface;
        rule->_itemInterface = _itemInterface;
        rule->_listenerInterface = _listenerInterface;
        rule->_messageInterface = _messageInterface;
        rule->_lockInterface = this;
        rule->_logInterface = _logInterface;
        if (rule->isLocked(object))
            return true;
    }
    return false;
}

bool kxLockInterface::isCacheValid(kxStringRef name) const
{
    const int index = _objectCacheNames->find(name);
    return index >= 0 && _objectCacheValids->get(static_cast<uint32_t>(index));
}

void kxLockInterface::setObjectCacheValid(const char* name, bool valid)
{
    const int index = _objectCacheNames->find(name);
    if (index < 0)
        return;
    _objectCacheValids->set(static_cast<uint32_t>(index), valid);
    if (static_cast<size_t>(index) < m_members.size())
        m_members[static_cast<size_t>(index)] = nullptr;
}

void kxLockInterface::forgetCaches()
{
    for (uint32_t i = 0; i < _objectCacheNames->getCount(); ++i)
    {
        _objectCacheLists->get(i)->clear();
        _objectCacheValids->set(i, false);
    }
    m_members.clear();
}

kxObjectList* kxLockInterface::getCache(kxStringRef name)
{
    const int index = _objectCacheNames->find(name);
    if (index >= 0)
        return _objectCacheLists->get(static_cast<uint32_t>(index));
    _objectCacheNames->append(name);
    _objectCacheValids->append(false);
    _objectCacheLists->append(kxNew<kxObjectList>());
    return _objectCacheLists->getLast();
}

bool kxLockInterface::isInCache(kxStringRef name, const kxObject* object)
{
    const kxObjectList* list = getCache(name);
    if (list->isEmpty())
        return false;
    const auto index = static_cast<size_t>(_objectCacheNames->find(name));
    if (index >= m_members.size())
        m_members.resize(index + 1);
    std::unique_ptr<Members>& members = m_members[index];
    if (!members || members->list != list || members->count != list->getCount())
    {
        members = std::make_unique<Members>();
        members->list = list;
        members->count = list->getCount();
        members->objects.insert(list->begin(), list->end());
    }
    return members->objects.contains(object);
}

} // namespace Kel::Opt
