#include "platform/core/kxObjectList.h"

#include <algorithm>
#include <cstring>

namespace Kel::Core
{

KX_IMPLEMENT(kxObjectList)
KX_IMPLEMENT(kxObjectListList)
KX_IMPLEMENT(kxMetaObjectList)
KX_IMPLEMENT(kxMetaObjectListList)
KX_IMPLEMENT(kxMetaFieldList)
KX_IMPLEMENT(kxStringRefListList)
KX_IMPLEMENT(kxIntListList)

/// Serials of the members: open addressing, serial 0 never given out.
struct kxObjectList::IdentitySet
{
    std::vector<uint32_t> slots = std::vector<uint32_t>(64, 0);
    size_t count = 0;

    static size_t hash(uint32_t serial) { return (serial * 0x9E3779B97F4A7C15ull) >> 32; }
    bool contains(uint32_t serial) const
    {
        for (size_t i = hash(serial) & (slots.size() - 1); slots[i]; i = (i + 1) & (slots.size() - 1))
            if (slots[i] == serial)
                return true;
        return false;
    }
    void add(uint32_t serial)
    {
        if (count * 2 >= slots.size())
        {
            std::vector<uint32_t> old(slots.size() * 2, 0);
            old.swap(slots);
            for (uint32_t s : old)
                if (s)
                    place(s);
        }
        place(serial);
        ++count;
    }
    void place(uint32_t serial)
    {
        size_t i = hash(serial) & (slots.size() - 1);
        while (slots[i])
            i = (i + 1) & (slots.size() - 1);
        slots[i] = serial;
    }
};

kxObjectList::~kxObjectList()
{
    clear();
}

void kxObjectList::deleteIndex()
{
    delete m_members;
    m_members = nullptr;
}

void kxObjectList::makeRoom()
{
    if (m_front + m_count < m_capacity)
        return;
    // Room before the first element that removals left is used before the storage grows, when it is worth the move.
    kxObject** storage = m_data - m_front;
    if (m_front > m_capacity / 2)
    {
        std::memmove(storage, m_data, m_count * sizeof(kxObject*));
        m_data = storage;
        m_front = 0;
        return;
    }
    const uint32_t capacity = std::max<uint32_t>(4, m_count * 2);
    auto* grown = new kxObject*[capacity];
    std::memcpy(grown, m_data, m_count * sizeof(kxObject*));
    if (storage != m_inline)
        delete[] storage;
    m_data = grown;
    m_capacity = capacity;
    m_front = 0;
}

void kxObjectList::reserve(uint32_t count)
{
    if (m_front + count <= m_capacity)
        return;
    auto* grown = new kxObject*[count];
    std::memcpy(grown, m_data, m_count * sizeof(kxObject*));
    if (m_data - m_front != m_inline)
        delete[] (m_data - m_front);
    m_data = grown;
    m_capacity = count;
    m_front = 0;
}

void kxObjectList::append(kxObject* object)
{
    settle();
    dropIndex();
    makeRoom();
    m_data[m_count++] = object;
    if (m_counted && object)
        object->addRef();
}

void kxObjectList::append(const kxObjectList& other)
{
    const uint32_t count = other.getCount();
    for (uint32_t i = 0; i < count; ++i)
        append(other.get(i));
}

void kxObjectList::insert(uint32_t index, kxObject* object)
{
    settle();
    dropIndex();
    if (index < m_count / 2 && m_front > 0)
    {
        std::memmove(m_data - 1, m_data, index * sizeof(kxObject*));
        --m_data;
        --m_front;
    }
    else
    {
        makeRoom();
        std::memmove(m_data + index + 1, m_data + index, (m_count - index) * sizeof(kxObject*));
    }
    m_data[index] = object;
    ++m_count;
    if (m_counted && object)
        object->addRef();
}

void kxObjectList::set(uint32_t index, kxObject* object)
{
    settle();
    dropIndex();
    kxObject* old = m_data[index];
    m_data[index] = object;
    if (m_counted)
    {
        if (object)
            object->addRef();
        if (old)
            old->release();
    }
}

void kxObjectList::removeAt(uint32_t index)
{
    settle();
    dropIndex();
    kxObject* old = m_data[index];
    // The shorter side moves: taking from either end costs nothing.
    if (index < m_count / 2)
    {
        std::memmove(m_data + 1, m_data, index * sizeof(kxObject*));
        ++m_data;
        ++m_front;
    }
    else
        std::memmove(m_data + index, m_data + index + 1, (m_count - index - 1) * sizeof(kxObject*));
    --m_count;
    if (m_counted && old)
        old->release();
}

bool kxObjectList::remove(const kxObject* object)
{
    const int index = find(object);
    if (index < 0)
        return false;
    removeAt(static_cast<uint32_t>(index));
    return true;
}

void kxObjectList::clear()
{
    kxObject** storage = m_data - m_front;
    kxObject** data = m_data;
    const uint32_t count = m_count;
    kxObject* kept[kInline];
    std::copy(m_inline, m_inline + kInline, kept);
    if (storage == m_inline)
        data = kept + m_front;
    m_data = m_inline;
    m_count = 0;
    m_front = 0;
    m_capacity = kInline;
    m_unsorted = false;
    dropIndex();
    if (m_counted)
        for (uint32_t i = 0; i < count; ++i)
            if (data[i])
                data[i]->release();
    if (storage != m_inline)
        delete[] storage;
}

int kxObjectList::find(const kxObject* object, uint32_t start) const
{
    settle();
    if (start >= m_count)
        return -1;
    uint32_t low = start, high = m_count;
    int foundHigh = -1;
    // A hit from the back is the answer only when no earlier element is the same object.
    while (low < high)
    {
        if (m_data[low] == object)
            return static_cast<int>(low);
        ++low;
        if (low < high && m_data[--high] == object)
        {
            foundHigh = static_cast<int>(high);
            break;
        }
    }
    if (foundHigh < 0)
        return -1;
    for (; low < high; ++low)
        if (m_data[low] == object)
            return static_cast<int>(low);
    return foundHigh;
}

uint32_t kxObjectList::appendUnique(kxObject* object, Alike alike, void* context)
{
    for (uint32_t i = 0; i < m_count; ++i)
        if (alike(get(i), object, context))
            return i;
    append(object);
    return m_count - 1;
}

kxObject* kxObjectList::findByField(kxStringRef fieldName, const void* value) const
{
    for (kxObject* object : *this)
    {
        const kxMetaField* field = object ? object->getMetaObject()->findField(fieldName) : nullptr;
        const void* address = field ? field->getAddress(static_cast<const kxObject*>(object)) : nullptr;
        if (address && field->isValueAlike(address, value))
            return object;
    }
    return nullptr;
}

bool kxObjectList::insertSorted(kxObject* object)
{
    const bool behindLast = !m_unsorted && (m_count == 0 || m_data[m_count - 1]->getSerial() < object->getSerial());
    if (!behindLast)
    {
        if (containsSorted(object))
            return false;
        if (!m_members)
        {
            m_members = new IdentitySet;
            for (uint32_t i = 0; i < m_count; ++i)
                m_members->add(m_data[i]->getSerial());
        }
        m_unsorted = true;
    }
    if (m_members)
        m_members->add(object->getSerial());
    makeRoom();
    m_data[m_count++] = object;
    if (m_counted)
        object->addRef();
    return true;
}

int kxObjectList::findSorted(const kxObject* object) const
{
    settle();
    kxObject* const* at = std::lower_bound(m_data, m_data + m_count, object->getSerial(),
                                           [](const kxObject* o, uint32_t serial) { return o->getSerial() < serial; });
    return at != m_data + m_count && *at == object ? static_cast<int>(at - m_data) : -1;
}

bool kxObjectList::containsSorted(const kxObject* object) const
{
    return m_members ? m_members->contains(object->getSerial()) : findSorted(object) >= 0;
}

void kxObjectList::sort() const
{
    m_unsorted = false;
    std::sort(m_data, m_data + m_count,
              [](const kxObject* a, const kxObject* b) { return a->getSerial() < b->getSerial(); });
}

const kxMetaField* kxObjectList::getElementField() const
{
    static const kxObjectField* field = [] {
        auto* created = new kxObjectField(&kxObject::staticMetaObject);
        created->addRef();
        return created;
    }();
    return field;
}

void kxObjectList::appendElement(const void* value)
{
    kxObject* object;
    std::memcpy(&object, value, sizeof object);
    append(object);
}

} // namespace Kel::Core
