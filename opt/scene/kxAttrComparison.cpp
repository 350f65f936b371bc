#include "opt/scene/kxAttrComparison.h"

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

bool kxAttrComparison::isAlikeByItem(kxInterfaced& user, kxAttr* a, kxAttr* b)
{
    if (!a || !b)
        return false;
    if (a == b)
        return true;
    if (a->getUnit() != b->getUnit() || !a->isOfExactType(b->getMetaObject()))
        return false;
    const kxItemClient::Names& names = kxItemClient::names();
    const auto result =
        kxItemClient(user).call(names.compareAttr, names.compareFunction, a,
                                {{names.attributeOne, a}, {names.attributeTwo, b}}, kxItemClient::kNoComparison);
    bool alike = false;
    if (result && result->getFieldValue(names.compare, alike) != kSuccess)
        user.printf("%s", kxParameterSetWrapper(result).getErrorMessage());
    return alike;
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
        const uint64_t parts[3] = {attr->getMetaObject()->getIndex(), attr->getUnit(),
                                   isHashed(attr) ? attr->hashShallow() : 0};
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
        const auto chain = m_chains.find(key);
        at = chain == m_chains.end() ? kNone : chain->second.first;
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
        for (uint32_t i = 0; i < m_entries.size(); ++i)
            link(i);
    else if (m_entries.size() > kScanned)
        link(getCount() - 1);
}

void kxAttrIndex::link(uint32_t index)
{
    const auto [at, isNew] = m_chains.try_emplace(m_entries[index].key, Chain{index, index});
    if (isNew)
        return;
    m_entries[at->second.last].next = index;
    at->second.last = index;
}

} // namespace Kel::Opt
