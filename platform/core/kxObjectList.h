// Lists of objects.
#pragma once

#include "platform/core/kxListBase.h"

namespace Kel::Core
{

/// Ordered list of object references, counted unless the class says otherwise. Null entries are allowed.
///
/// Edits one after another at neighbouring places, and at the end, cost no more in a list of a million than in one of ten:
/// the storage keeps a gap where the list was last edited. So do removals of elements by value in any order, as long as
/// nothing reads the list by index between them. `find` in a long list goes through an index once scans have cost as much
/// as building it.
///
/// A list can also be kept sorted by identity: `insertSorted` adds an object at most once, `findSorted` finds it, and the
/// order is made good when the list is next read, so that building a list of n objects in any order costs n log n.
class kxObjectList : public kxListBase
{
    KX_OBJECT(kxObjectList, kxListBase)

    kxObjectList() : kxObjectList(true) {}

    /// Type that elements must have.
    virtual kxMetaObject* getElementType() const { return kxObject::staticMetaObject(); }
    bool accepts(const kxObject* object) const { return !object || object->isOfType(getElementType()); }
    bool isCounted() const { return m_counted; }

    uint32_t getCount() const override { return m_count; }
    kxObject* get(uint32_t index) const
    {
        settle();
        return m_data[slotOf(index)];
    }
    kxObject* getLast() const { return get(m_count - 1); }
    /// The elements side by side; valid until the list changes.
    kxObject* const* begin() const
    {
        settle();
        if (m_gapLength)
            closeGap();
        return m_data;
    }
    kxObject* const* end() const { return begin() + m_count; }

    void append(kxObject* object);
    void insert(uint32_t index, kxObject* object);
    void set(uint32_t index, kxObject* object);
    void removeAt(uint32_t index);
    /// Removes the last element; the list must not be empty.
    void removeLast() { removeAt(m_count - 1); }
    /// Removes the first element that is `object`; false when there is none.
    bool remove(const kxObject* object);
    void clear() override;
    void reserve(uint32_t count);
    void append(const kxObjectList& other);

    /// Index of the first element that is `object` at or after `start`, -1 when there is none.
    int find(const kxObject* object, uint32_t start = 0) const;
    bool contains(const kxObject* object) const;

    using Alike = bool (*)(kxObject* element, kxObject* object, void* context);
    /// Index of the first element that the callback calls equal to `object`; appends the object and gives its index when
    /// there is none. The callback is asked for the elements in order.
    uint32_t appendUnique(kxObject* object, Alike alike, void* context);

    /// First element whose field of that name has an alike value; null when there is none.
    kxObject* findByField(kxStringRef fieldName, const void* value) const;

    /// Adds an object to a list kept sorted by identity; false when it is there already.
    bool insertSorted(kxObject* object);
    /// The same for an object that the list is known not to hold: costs no search.
    void insertSortedNew(kxObject* object);
    /// Index in a list kept sorted by identity, -1 when absent.
    int findSorted(const kxObject* object) const;
    /// The same without an index: keeps a list that is being built from being put in order for the question.
    bool containsSorted(const kxObject* object) const;

    const kxMetaField* getElementField() const override;
    const void* getElementAddress(uint32_t index) const override
    {
        settle();
        return &m_data[slotOf(index)];
    }
    void appendElement(const void* value) override;

protected:
    explicit kxObjectList(bool counted) : m_counted(counted) {}
    ~kxObjectList() override;

private:
    struct Index;

    uint32_t slotOf(uint32_t index) const { return index < m_gapStart ? index : index + m_gapLength; }
    uint32_t indexOf(uint32_t slot) const { return slot < m_gapStart ? slot : slot - m_gapLength; }
    void settle() const
    {
        if (m_unsorted || m_holes)
            tidy();
    }
    void tidy() const;
    void sort() const;
    void closeHoles() const;
    uint32_t usedSlots() const { return m_count + m_gapLength + m_holes; }
    void closeGap() const;
    void moveGap(uint32_t index);
    void reallocate(uint32_t capacity, uint32_t gapStart, uint32_t gapLength);
    void placeInGap(kxObject* object);
    int findByScan(const kxObject* object, uint32_t start, uint32_t& scanned) const;
    void noteAdded(const kxObject* object, uint32_t slot);
    void dropIndex() const;

    static constexpr uint32_t kInline = 1; // most nodes have one parent

    kxObject** m_data = m_inline; // the storage: elements, within them a gap, behind them room to grow
    uint32_t m_count = 0;
    uint32_t m_capacity = kInline;
    mutable uint32_t m_gapStart = 0; // elements before the gap; without meaning while the gap is empty
    mutable uint32_t m_gapLength = 0;
    bool m_counted;
    mutable bool m_unsorted = false;
    mutable uint32_t m_holes = 0; // slots that removals far from the gap have left, closed when the list is next read
    kxObject* m_inline[kInline];
    mutable Index* m_index = nullptr; // see the source file
};

/// Typed view of an object list.
template <class T, class B = kxObjectList>
class kxTObjectList : public B
{
public:
    T* get(uint32_t index) const { return static_cast<T*>(kxObjectList::get(index)); }
    T* operator[](uint32_t index) const { return get(index); }
    T* getLast() const { return get(this->getCount() - 1); }

    class iterator
    {
    public:
        explicit iterator(kxObject* const* at) : m_at(at) {}
        T* operator*() const { return static_cast<T*>(*m_at); }
        iterator& operator++()
        {
            ++m_at;
            return *this;
        }
        bool operator!=(const iterator& other) const { return m_at != other.m_at; }

    private:
        kxObject* const* m_at;
    };
    iterator begin() const { return iterator(kxObjectList::begin()); }
    iterator end() const { return iterator(kxObjectList::end()); }

protected:
    using B::B;
};

/// Declares a list class of elements of one type; KX_IMPLEMENT stands in a source file as for every class.
#define KX_OBJECT_LIST(Class, Element)                                                                                 \
    class Class : public Kel::Core::kxTObjectList<Element>                                                             \
    {                                                                                                                  \
        KX_OBJECT(Class, Kel::Core::kxObjectList)                                                                      \
        Class() : kxTObjectList(true) {}                                                                               \
        Kel::Core::kxMetaObject* getElementType() const override { return Element::staticMetaObject(); }               \
                                                                                                                       \
    protected:                                                                                                         \
        explicit Class(bool counted) : kxTObjectList(counted) {}                                                       \
    };

/// Declares the form of a list class that holds no references: its owner sees to it that the elements outlive it.
#define KX_NON_COUNTED_LIST(Class, Counted)                                                                            \
    class Class : public Counted                                                                                       \
    {                                                                                                                  \
        KX_OBJECT(Class, Counted)                                                                                      \
        Class() : Counted(false) {}                                                                                    \
    };

KX_OBJECT_LIST(kxObjectListList, kxObjectList)
KX_OBJECT_LIST(kxMetaObjectList, kxMetaObject)
KX_OBJECT_LIST(kxMetaObjectListList, kxMetaObjectList)
KX_OBJECT_LIST(kxMetaFieldList, kxMetaField)
KX_OBJECT_LIST(kxStringRefListList, kxStringRefList)
KX_OBJECT_LIST(kxIntListList, kxIntList)

} // namespace Kel::Core
