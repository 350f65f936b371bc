#include "opt/scene/kxAttrComparison.h"

#include "opt/items/kxCompareAttr.h"
#include "opt/items/kxDirectItems.h"
#include "opt/items/kxItemCall.h"
#include "opt/tracking/kxLockInterface.h"

#include <bit>

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

uint32_t kxAttrIndex::findOrAppend(kxAttr* attr)
{
    const uint64_t key = m_comparison->getKey(attr);
    const uint32_t found = find(attr, key);
    if (found != kNone)
        return found;
    append(attr, key);
    return getCount() - 1;
}

// Number of the first attribute that is alike, or none.
uint32_t kxAttrIndex::find(kxAttr* attr, uint64_t key)
{
    if (!m_slots.empty())
    {
        uint32_t at = slotOf(key).first;
        while (at != kNone && !m_comparison->isAlike(m_entries[at].attr, attr))
            at = m_entries[at].next;
        return at;
    }
    for (uint32_t at = 0; at < m_entries.size(); ++at)
        if (m_entries[at].key == key && m_comparison->isAlike(m_entries[at].attr, attr))
            return at;
    return kNone;
}

void kxAttrIndex::append(kxAttr* attr, uint64_t key)
{
    const uint32_t index = getCount();
    m_entries.push_back({attr, key, kNone, index});
    if (m_entries.size() <= kScanned)
        return;
    if (m_slots.size() < 2 * m_entries.size())
        growSlots();
    else
        link(index);
}

// The slot of a key, or the empty one where it would be.
kxAttrIndex::Slot& kxAttrIndex::slotOf(uint64_t key)
{
    const auto tag = static_cast<uint32_t>(key >> 32);
    const size_t mask = m_slots.size() - 1; // the lowest bit of a key is always set
    for (size_t at = (key >> 1) & mask;; at = (at + 1) & mask)
    {
        Slot& slot = m_slots[at];
        if (slot.first == kNone || (slot.tag == tag && m_entries[slot.first].key == key))
            return slot;
    }
}

void kxAttrIndex::link(uint32_t index)
{
    Entry& entry = m_entries[index];
    Slot& slot = slotOf(entry.key);
    if (slot.first == kNone)
    {
        slot = {static_cast<uint32_t>(entry.key >> 32), index};
        return;
    }
    Entry& first = m_entries[slot.first];
    m_entries[first.last].next = index;
    first.last = index;
}

void kxAttrIndex::growSlots()
{
    m_slots.assign(std::bit_ceil(4 * m_entries.size()), {});
    for (uint32_t i = 0; i < getCount(); ++i)
    {
        m_entries[i].next = kNone;
        m_entries[i].last = i;
        link(i);
    }
}

} // namespace Kel::Opt
