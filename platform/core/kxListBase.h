// What every list has in common: files, copies and comparisons treat lists alike.
#pragma once

#include "platform/core/kxFields.h"

#include <cstring>
#include <vector>

namespace Kel::Core
{

/// Base of all lists. A list is an object of its own, but counts as part of the object that refers to it: shallow copies
/// copy it and shallow comparison looks at its elements.
class kxListBase : public kxObject
{
    KX_OBJECT(kxListBase, kxObject)

    virtual uint32_t getCount() const = 0;
    virtual void clear() = 0;
    /// Field that describes one element.
    virtual const kxMetaField* getElementField() const = 0;
    /// Address of an element, as its field takes it; valid until the list changes.
    virtual const void* getElementAddress(uint32_t index) const = 0;
    /// Adds an element at the end. For a list of objects the caller has asked whether it accepts the object.
    virtual void appendElement(const void* value) = 0;

    /// All elements of a list of values as one array, as its field takes them; null for other lists.
    virtual const void* getElementArray() const { return nullptr; }
    /// Adds the elements of such an array, which may lie at any address; false, with nothing done, for other lists.
    virtual bool appendElementArray(const void* values, uint32_t count);

    bool isEmpty() const { return getCount() == 0; }
    /// Element by element, as the element's field compares.
    bool isAlike(const kxListBase* other) const;
    uint64_t hash() const;
};

/// List of plain values.
template <class T>
class kxTValueList : public kxListBase
{
    using Stored = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;

public:
    uint32_t getCount() const override { return static_cast<uint32_t>(m_values.size()); }
    void clear() override { m_values.clear(); }
    const kxMetaField* getElementField() const override
    {
        static const kxMetaField* field = []
        {
            kxSmartPointer<kxMetaField> created = kxFieldFor<T>::create();
            created->addRef(); // lives as long as the process
            return created.get();
        }();
        return field;
    }
    const void* getElementAddress(uint32_t index) const override { return &m_values[index]; }
    void appendElement(const void* value) override { append(*static_cast<const T*>(value)); }
    const void* getElementArray() const override { return m_values.data(); }
    bool appendElementArray(const void* values, uint32_t count) override
    {
        if (count == 0)
            return true;
        const size_t before = m_values.size();
        m_values.resize(before + count);
        std::memcpy(static_cast<void*>(m_values.data() + before), values, count * sizeof(Stored));
        return true;
    }

    T get(uint32_t index) const { return static_cast<T>(m_values[index]); }
    T operator[](uint32_t index) const { return get(index); }
    void set(uint32_t index, T value) { m_values[index] = value; }
    void append(T value) { m_values.push_back(value); }
    void insert(uint32_t index, T value) { m_values.insert(m_values.begin() + index, value); }
    void removeAt(uint32_t index) { m_values.erase(m_values.begin() + index); }
    void removeLast() { m_values.pop_back(); }
    T getLast() const { return static_cast<T>(m_values.back()); }
    void reserve(size_t count) { m_values.reserve(count); }
    /// Index of the first element equal to `value`, -1 when there is none.
    int find(T value) const
    {
        for (size_t i = 0; i < m_values.size(); ++i)
            if (static_cast<T>(m_values[i]) == value)
                return static_cast<int>(i);
        return -1;
    }
    const Stored* getData() const { return m_values.data(); }

private:
    std::vector<Stored> m_values;
};

class kxIntList : public kxTValueList<int32_t>
{
    KX_OBJECT(kxIntList, kxListBase)
};
class kxUnsignedIntList : public kxTValueList<uint32_t>
{
    KX_OBJECT(kxUnsignedIntList, kxListBase)
};
class kxLongList : public kxTValueList<int64_t>
{
    KX_OBJECT(kxLongList, kxListBase)
};
class kxFloatList : public kxTValueList<float>
{
    KX_OBJECT(kxFloatList, kxListBase)
};
class kxDoubleList : public kxTValueList<double>
{
    KX_OBJECT(kxDoubleList, kxListBase)
};
class kxBoolList : public kxTValueList<bool>
{
    KX_OBJECT(kxBoolList, kxListBase)
};
class kxStringRefList : public kxTValueList<kxStringRef>
{
    KX_OBJECT(kxStringRefList, kxListBase)
};
class kxVec3fList : public kxTValueList<kxVec3f>
{
    KX_OBJECT(kxVec3fList, kxListBase)
};
class kxVec4fList : public kxTValueList<kxVec4f>
{
    KX_OBJECT(kxVec4fList, kxListBase)
};
class kxQuatfList : public kxTValueList<kxQuatf>
{
    KX_OBJECT(kxQuatfList, kxListBase)
};
class kxMatrix44fList : public kxTValueList<kxMatrix44f>
{
    KX_OBJECT(kxMatrix44fList, kxListBase)
};

} // namespace Kel::Core
