#include "opt/scene/kxLinkIndex.h"

#include <algorithm>

namespace Kel::Opt
{

bool kxLinkIndex::contains(const kxObjectList* list, const kxObject* object)
{
    if (!list)
        return false;
    if (isShort(list))
        return list->contains(object);
    if (m_indexed.insert(list->getSerial()).second)
        for (const kxObject* element : *list)
            if (element)
                ++countOf(list, element);
    return countOf(list, object) > 0;
}

void kxLinkIndex::noteAppended(const kxObjectList* list, const kxObject* object)
{
    if (m_indexed.contains(list->getSerial()))
        ++countOf(list, object);
}

void kxLinkIndex::noteRemoved(const kxObjectList* list, const kxObject* object)
{
    if (m_indexed.contains(list->getSerial()))
        --countOf(list, object);
}

uint32_t& kxLinkIndex::countOf(const kxObjectList* list, const kxObject* object)
{
    if (m_used * 2 >= m_slots.size())
        grow();
    const uint64_t link = uint64_t(list->getSerial()) << 32 | object->getSerial();
    Slot& slot = find(link);
    if (!slot.link)
    {
        slot.link = link;
        ++m_used;
    }
    return slot.count;
}

kxLinkIndex::Slot& kxLinkIndex::find(uint64_t link)
{
    size_t at = (link * 0x9E3779B97F4A7C15ull) >> 20;
    for (;; ++at)
    {
        Slot& slot = m_slots[at & (m_slots.size() - 1)];
        if (slot.link == link || !slot.link)
            return slot;
    }
}

void kxLinkIndex::grow()
{
    std::vector<Slot> old(std::max<size_t>(1024, m_slots.size() * 2));
    old.swap(m_slots);
    for (const Slot& slot : old)
        if (slot.link)
            find(slot.link) = slot;
}

} // namespace Kel::Opt
