#include "opt/scene/kxAttrComparison.h"

#include "opt/items/kxCompareAttr.h"
#include "opt/items/kxDirectItems.h"
#include "opt/items/kxItemCall.h"
#include "opt/tracking/kxLockInterface.h"

namespace Kel::Opt
{

bool isShareableAttrType(const kxMetaObject* type)
{
    static const kxStringRef fixedTypes[] = {"kxLightStateAttr", "kxLightAttr", "kxGeometryAttr", "kxGeometrySetAttr",
                                             "kxParticleAttr"};
    for (const kxStringRef name : fixedTypes)
        if (const kxMetaObject* fixed = kxMetaObject::find(name); fixed && type->isDerivedFrom(fixed))
            return false;
    return true;
}

bool holdsAttrOfType(kxInterfaced& user, kxObject* object, const kxMetaObject* type)
{
    const kxSmartPointer<kxAttrList> attrs = askAttrList(user, object, kxItemCall::SILENT);
    if (!attrs)
        return false;
    for (const kxObject* attr : *attrs)
        if (attr && attr->isOfType(type))
            return true;
    return false;
}

bool kxAttrComparison::isAlikeByItem(kxInterfaced& user, kxAttr* a, kxAttr* b)
{
    if (!a || !b)
        return false;
    if (a == b)
        return true;
    if (a->getUnit() != b->getUnit() || !a->isOfExactType(b->getMetaObject()))
        return false;
    if (bool alike; kxDirectItems(user).compare(a, b, alike))
        return alike;
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(&user, names.compareAttr, a, kxItemCall::COMPARISON);
    if (!call)
        return false;
    call.set(names.attributeOneField, static_cast<kxObject*>(a))
        .set(names.attributeTwoField, static_cast<kxObject*>(b));
    bool alike = false;
    if (call.run(names.compare) && !call.get(names.compareField, alike))
        user.printf("%s", call.getErrorMessage());
    return alike;
}

// A comparison of a host's own may call alike what differs in its fields.
bool kxAttrComparison::isHashed(const kxAttr* attr)
{
    const uint32_t index = attr->getMetaObject()->getIndex();
    if (index >= m_hashed.size())
        m_hashed.resize(index + 1, -1);
    int8_t& hashed = m_hashed[index];
    if (hashed < 0)
        hashed = m_user._itemInterface &&
                 m_user._itemInterface->getRegisteredItemBase(kxItemNames::get().compareAttr, attr->getMetaObject()) ==
                     kxCompareAttr::staticMetaObject();
    return hashed > 0;
}

bool kxAttrComparison::isAlike(kxAttr* a, kxAttr* b)
{
    if (!a || !b)
        return false;
    return a == b || (getKey(a) == getKey(b) && isAlikeByItem(m_user, a, b));
}

uint64_t kxAttrComparison::getKey(kxAttr* attr)
{
    uint64_t& key = m_keys[attr];
    if (key == 0)
    {
        // A locked attribute is like none but itself; by its value it would be compared with all that look like it.
        const bool isLocked = isHashed(attr) && m_user._lockInterface && m_user._lockInterface->isLocked(attr);
        const uint64_t parts[3] = {attr->getMetaObject()->getIndex(), attr->getUnit(),
                                   isLocked         ? ~uint64_t(attr->getSerial())
                                   : isHashed(attr) ? attr->hashShallow()
                                                    : 0};
        key = hashBytes(parts, sizeof parts) | 1;
    }
    return key;
}

int kxAttrIndex::find(kxAttr* attr) const
{
    const uint64_t key = m_comparison->getKey(attr);
    uint32_t at = 0;
    if (m_entries.size() > kScanned)
    {
        const auto chain = m_chains->find(key);
        at = chain == m_chains->end() ? kNone : chain->second.first;
        for (; at != kNone; at = m_entries[at].next)
            if (m_comparison->isAlike(m_entries[at].attr, attr))
                return static_cast<int>(at);
        return -1;
    }
    for (; at < m_entries.size(); ++at)
        if (m_entries[at].key == key && m_comparison->isAlike(m_entries[at].attr, attr))
            return static_cast<int>(at);
    return -1;
}

void kxAttrIndex::append(kxAttr* attr)
{
    m_entries.push_back({attr, m_comparison->getKey(attr), kNone});
    if (m_entries.size() == kScanned + 1)
    {
        m_chains = std::make_unique<std::unordered_map<uint64_t, Chain>>();
        for (uint32_t i = 0; i < m_entries.size(); ++i)
            link(i);
    }
    else if (m_entries.size() > kScanned)
        link(getCount() - 1);
}

void kxAttrIndex::link(uint32_t index)
{
    const auto [at, isNew] = m_chains->try_emplace(m_entries[index].key, Chain{index, index});
    if (isNew)
        return;
    m_entries[at->second.last].next = index;
    at->second.last = index;
}

} // namespace Kel::Opt
