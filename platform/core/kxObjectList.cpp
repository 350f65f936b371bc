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

// An index from elements to their places serves `find` in long lists, and membership while a sorted list is being built out
// of order. It knows slots of the storage, which do not change when other elements come and go; only elements that the
// gap passes over are entered anew. Of an object that stands in the list several times it knows only how often: a search
// for it scans.
struct kxObjectList::Index
{
    static constexpr uint32_t kFree = 0; // serials start at 1
    static constexpr uint32_t kUnknown = UINT32_MAX;

    struct Entry
    {
        uint32_t serial;
        uint32_t slot; // kUnknown for an object that stands, or stood, there several times
        uint32_t times;
    };
    std::vector<Entry> entries;
    size_t count = 0;
    uint64_t scanned = 0; // elements that searches have looked at since the index was dropped
    bool active = false;

    // Mixed twice: serials rise in even steps, and a single product of those falls into runs that probing has to cross.
    static size_t hash(uint32_t serial)
    {
        uint64_t mixed = serial * 0x9E3779B97F4A7C15ull;
        mixed ^= mixed >> 29;
        return (mixed * 0xBF58476D1CE4E5B9ull) >> 32;
    }
    size_t mask() const { return entries.size() - 1; }

    Entry* find(uint32_t serial)
    {
        for (size_t i = hash(serial) & mask(); entries[i].serial != kFree; i = (i + 1) & mask())
            if (entries[i].serial == serial)
                return &entries[i];
        return nullptr;
    }
    void start(size_t expected)
    {
        size_t size = 64;
        while (size < expected * 2)
            size *= 2;
        entries.assign(size, Entry{kFree, 0, 0});
        count = 0;
        active = true;
    }
    void add(uint32_t serial, uint32_t slot)
    {
        if (Entry* known = find(serial))
        {
            ++known->times;
            known->slot = kUnknown;
            return;
        }
        if (count * 2 >= entries.size())
        {
            std::vector<Entry> old(entries.size() * 2, Entry{kFree, 0, 0});
            old.swap(entries);
            for (const Entry& entry : old)
                if (entry.serial != kFree)
                    place(entry);
        }
        place({serial, slot, 1});
        ++count;
    }
    /// One of the object's places is gone.
    void remove(uint32_t serial)
    {
        Entry* entry = find(serial);
        if (!entry || --entry->times > 0)
            return;
        // Entries behind the hole that were pushed past it move up, so that searches need no marks of removal.
        size_t hole = static_cast<size_t>(entry - entries.data());
        for (size_t i = (hole + 1) & mask(); entries[i].serial != kFree; i = (i + 1) & mask())
        {
            const size_t home = hash(entries[i].serial) & mask();
            if (((i - home) & mask()) >= ((i - hole) & mask()))
            {
                entries[hole] = entries[i];
                hole = i;
            }
        }
        entries[hole].serial = kFree;
        --count;
    }

private:
    void place(Entry entry)
    {
        size_t i = hash(entry.serial) & mask();
        while (entries[i].serial != kFree)
            i = (i + 1) & mask();
        entries[i] = entry;
    }
};

namespace
{

constexpr uint32_t kMaxMoved = 4096; // entering more elements anew costs as much as searching a while without the index
constexpr uint32_t kShortList = 64;  // up to here moving and scanning everything is cheapest

// What stands in an empty slot; no object has this address.
kxObject* hole()
{
    static char place;
    return reinterpret_cast<kxObject*>(&place);
}

// Most lists are short, and stand beside the objects that they belong to.
kxObject** allocateSlots(uint32_t capacity)
{
    return static_cast<kxObject**>(kxMemoryPool::getDefault().allocate(capacity * sizeof(kxObject*)));
}

void releaseSlots(kxObject** slots, uint32_t capacity)
{
    kxMemoryPool::release(slots, capacity * sizeof(kxObject*));
}

} // namespace

kxObjectList::~kxObjectList()
{
    clear();
}

void kxObjectList::dropIndex() const
{
    if (!m_index)
        return;
    delete m_index;
    m_index = nullptr;
}

void kxObjectList::noteAdded(const kxObject* object, uint32_t slot)
{
    if (m_index && m_index->active && object)
        m_index->add(object->getSerial(), slot);
}

void kxObjectList::reallocate(uint32_t capacity, uint32_t gapStart, uint32_t gapLength)
{
    const bool slotsStay = m_gapLength == 0 && gapLength == 0;
    kxObject** grown = allocateSlots(capacity);
    for (uint32_t i = 0; i < m_count; ++i)
        grown[i < gapStart ? i : i + gapLength] = m_data[slotOf(i)];
    if (m_data != m_inline)
        releaseSlots(m_data, m_capacity);
    m_data = grown;
    m_capacity = capacity;
    m_gapStart = gapStart;
    m_gapLength = gapLength;
    if (!slotsStay)
        dropIndex();
}

void kxObjectList::reserve(uint32_t count)
{
    settle();
    if (count + m_gapLength > m_capacity)
        reallocate(count, 0, 0);
}

void kxObjectList::closeGap() const
{
    const uint32_t tail = m_count - m_gapStart;
    if (tail > 0)
    {
        std::memmove(m_data + m_gapStart, m_data + m_gapStart + m_gapLength, tail * sizeof(kxObject*));
        dropIndex();
    }
    m_gapLength = 0;
}

void kxObjectList::moveGap(uint32_t index)
{
    if (index == m_gapStart || m_gapLength == 0)
    {
        m_gapStart = index;
        return;
    }
    const bool back = index < m_gapStart;
    const uint32_t moved = back ? m_gapStart - index : index - m_gapStart;
    const uint32_t from = back ? index : m_gapStart + m_gapLength;
    const uint32_t to = back ? index + m_gapLength : m_gapStart;
    std::memmove(m_data + to, m_data + from, moved * sizeof(kxObject*));
    m_gapStart = index;
    if (!m_index || !m_index->active)
        return;
    if (moved > kMaxMoved)
        return dropIndex();
    for (uint32_t i = 0; i < moved; ++i)
        if (kxObject* object = m_data[to + i])
        {
            Index::Entry* entry = m_index->find(object->getSerial());
            entry->slot = entry->times == 1 ? to + i : Index::kUnknown;
        }
}

void kxObjectList::append(kxObject* object)
{
    if (m_unsorted)
        settle();
    if (usedSlots() == m_capacity)
    {
        if (m_holes)
            closeHoles();
        // A wide gap is room enough; closing it costs less than growing.
        if (m_gapLength > m_capacity / 4)
            closeGap();
        else
            reallocate(std::max<uint32_t>(4, m_count * 2), 0, 0);
    }
    const uint32_t slot = usedSlots();
    m_data[slot] = object;
    ++m_count;
    noteAdded(object, slot);
    if (m_counted && object)
        object->addRef();
}

void kxObjectList::append(const kxObjectList& other)
{
    settle();
    const uint32_t count = other.getCount();
    if (m_count + m_gapLength + count > m_capacity)
        reallocate(std::max(m_count + count, m_count * 2), 0, 0);
    for (uint32_t i = 0; i < count; ++i)
        append(other.get(i));
}

void kxObjectList::insert(uint32_t index, kxObject* object)
{
    if (index == m_count)
        return append(object);
    settle();
    if (m_gapLength == 0)
    {
        if (m_count < m_capacity && m_count <= kShortList)
        {
            std::memmove(m_data + index + 1, m_data + index, (m_count - index) * sizeof(kxObject*));
            dropIndex();
            m_data[index] = object;
            ++m_count;
            if (m_counted && object)
                object->addRef();
            return;
        }
        const uint32_t gap = m_count <= kShortList ? 1 : m_count / 4;
        reallocate(m_count + gap + std::max<uint32_t>(4, m_count / 2), index, gap);
    }
    moveGap(index);
    placeInGap(object);
    if (m_counted && object)
        object->addRef();
}

void kxObjectList::placeInGap(kxObject* object)
{
    const uint32_t slot = m_gapStart++;
    --m_gapLength;
    m_data[slot] = object;
    ++m_count;
    noteAdded(object, slot);
}

void kxObjectList::set(uint32_t index, kxObject* object)
{
    settle();
    const uint32_t slot = slotOf(index);
    kxObject* old = m_data[slot];
    if (old == object)
        return;
    m_data[slot] = object;
    if (m_index && m_index->active && old)
        m_index->remove(old->getSerial());
    noteAdded(object, slot);
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
    kxObject* old = m_data[slotOf(index)];
    if (m_count <= kShortList && m_gapLength == 0)
    {
        std::memmove(m_data + index, m_data + index + 1, (m_count - index - 1) * sizeof(kxObject*));
        dropIndex();
    }
    else
    {
        if (m_index && m_index->active && old)
            m_index->remove(old->getSerial());
        if (index + 1 < m_count) // else the place becomes room to grow
        {
            // The gap takes the element in from the side on which it lies.
            if (m_gapLength && index < m_gapStart)
            {
                moveGap(index + 1);
                --m_gapStart;
            }
            else
                moveGap(index);
            ++m_gapLength;
        }
    }
    --m_count;
    if (m_gapLength && m_gapStart >= m_count)
        m_gapLength = 0; // a gap behind the last element is room to grow
    if (m_counted && old)
        old->release();
}

bool kxObjectList::remove(const kxObject* object)
{
    if (!m_index || !m_index->active || !object)
    {
        const int index = find(object);
        if (index < 0)
            return false;
        if (!m_index || !m_index->active || !object) // else the search has just built the index
        {
            removeAt(static_cast<uint32_t>(index));
            return true;
        }
    }
    const Index::Entry* entry = m_index->find(object->getSerial());
    if (!entry)
        return false;
    if (entry->slot == Index::kUnknown)
    {
        removeAt(static_cast<uint32_t>(find(object)));
        return true;
    }
    const uint32_t slot = entry->slot;
    const uint32_t distance = slot < m_gapStart ? m_gapStart - slot : slot - m_gapStart - m_gapLength;
    if (!m_holes && !m_unsorted && (m_gapLength == 0 || distance < kShortList))
    {
        removeAt(indexOf(slot));
        return true;
    }
    // Far from the last edit: the slot is left empty, and all such slots are closed at once.
    kxObject* old = m_data[slot];
    m_index->remove(old->getSerial());
    m_data[slot] = hole();
    ++m_holes;
    --m_count;
    if (m_counted)
        old->release();
    return true;
}

void kxObjectList::tidy() const
{
    if (m_holes)
        closeHoles();
    if (m_unsorted)
        sort();
}

void kxObjectList::closeHoles() const
{
    const uint32_t used = usedSlots();
    auto* list = const_cast<kxObjectList*>(this); // the elements stay what they are
    uint32_t target = 0;
    for (uint32_t slot = 0; slot < used; ++slot)
        if (m_data[slot] != hole() && (slot < m_gapStart || slot >= m_gapStart + m_gapLength))
            list->m_data[target++] = m_data[slot];
    m_gapLength = 0;
    m_holes = 0;
    dropIndex();
}

void kxObjectList::clear()
{
    // Emptied before anything is released: what a release destroys may look at the list.
    if (m_holes)
        closeHoles();
    if (m_gapLength)
        closeGap();
    kxObject** storage = m_data;
    const uint32_t count = m_count;
    const uint32_t capacity = m_capacity;
    kxObject* kept[kInline] = {};
    if (storage == m_inline)
    {
        std::copy(m_inline, m_inline + count, kept);
        storage = kept;
    }
    m_data = m_inline;
    m_count = 0;
    m_capacity = kInline;
    m_unsorted = false;
    dropIndex();
    if (m_counted)
        for (uint32_t i = 0; i < count; ++i)
            if (storage[i])
                storage[i]->release();
    if (storage != kept)
        releaseSlots(storage, capacity);
}

int kxObjectList::findByScan(const kxObject* object, uint32_t start, uint32_t& scanned) const
{
    // From both ends at once, so that undoing or repeating a series of additions costs little. A hit from the back is the
    // answer only when no earlier element is the same object.
    uint32_t low = start, high = m_count;
    int fromBack = -1;
    while (low < high)
    {
        if (m_data[slotOf(low)] == object)
        {
            scanned = low - start + m_count - high + 1;
            return static_cast<int>(low);
        }
        ++low;
        if (fromBack < 0 && low < high && m_data[slotOf(--high)] == object)
            fromBack = static_cast<int>(high);
    }
    scanned = m_count - start;
    return fromBack;
}

bool kxObjectList::contains(const kxObject* object) const
{
    return m_index && m_index->active && object ? m_index->find(object->getSerial()) != nullptr : find(object) >= 0;
}

int kxObjectList::find(const kxObject* object, uint32_t start) const
{
    settle();
    if (start >= m_count)
        return -1;
    uint32_t scanned;
    if (m_count <= kShortList || start > 0 || !object)
        return findByScan(object, start, scanned);
    if (!m_index)
        m_index = new Index;
    if (m_index->active)
    {
        Index::Entry* entry = m_index->find(object->getSerial());
        if (!entry)
            return -1;
        if (entry->slot != Index::kUnknown)
            return static_cast<int>(indexOf(entry->slot));
        const int first = findByScan(object, 0, scanned);
        if (entry->times == 1)
            entry->slot = slotOf(static_cast<uint32_t>(first));
        return first;
    }
    const int found = findByScan(object, 0, scanned);
    m_index->scanned += scanned;
    if (m_index->scanned > uint64_t(m_count) * 4)
    {
        m_index->start(m_count);
        for (uint32_t i = 0; i < m_count; ++i)
        {
            const uint32_t slot = slotOf(i);
            if (m_data[slot])
                m_index->add(m_data[slot]->getSerial(), slot);
        }
    }
    return found;
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
    if (m_holes)
        closeHoles();
    if (m_gapLength)
        closeGap();
    const bool behindLast = !m_unsorted && (m_count == 0 || m_data[m_count - 1]->getSerial() < object->getSerial());
    if (!behindLast)
    {
        if (containsSorted(object))
            return false;
        if (!m_index || !m_index->active)
        {
            dropIndex();
            m_index = new Index;
            m_index->start(m_count);
            for (uint32_t i = 0; i < m_count; ++i)
                m_index->add(m_data[i]->getSerial(), i);
        }
    }
    // Put in order when next read; until then the index answers.
    const bool unsorted = m_unsorted || !behindLast;
    m_unsorted = false;
    append(object);
    m_unsorted = unsorted;
    return true;
}

void kxObjectList::insertSortedNew(kxObject* object)
{
    if (m_holes)
        closeHoles();
    if (m_gapLength)
        closeGap();
    // An index without this object would answer for an unsorted list; who asks one has it sorted instead.
    const bool unsorted = m_unsorted || (m_count > 0 && m_data[m_count - 1]->getSerial() > object->getSerial());
    if (!m_index || !m_index->active)
        dropIndex();
    m_unsorted = false;
    append(object);
    m_unsorted = unsorted;
}

int kxObjectList::findSorted(const kxObject* object) const
{
    kxObject* const* first = begin();
    kxObject* const* at = std::lower_bound(first, first + m_count, object->getSerial(),
                                           [](const kxObject* o, uint32_t serial) { return o->getSerial() < serial; });
    return at != first + m_count && *at == object ? static_cast<int>(at - first) : -1;
}

bool kxObjectList::containsSorted(const kxObject* object) const
{
    if (m_index && m_index->active)
        return m_index->find(object->getSerial()) != nullptr;
    return findSorted(object) >= 0;
}

void kxObjectList::sort() const
{
    m_unsorted = false;
    std::sort(m_data, m_data + m_count,
              [](const kxObject* a, const kxObject* b) { return a->getSerial() < b->getSerial(); });
    // Membership still holds, places do not.
    dropIndex();
}

const kxMetaField* kxObjectList::getElementField() const
{
    static const kxObjectField* field = []
    {
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
