// The root of every class: counted, typed, reflected.
#pragma once

#include "platform/core/kxMemoryPool.h"
#include "platform/core/kxSmartPointer.h"
#include "platform/core/kxStringRef.h"

#include <cstdint>
#include <string>

/// Stands first in every reflected class: its names for itself and its base, and its type.
/// The class then declares `static void listFields(Kel::Core::kxFields<Class>& fields);` when it has fields of its own.
#define KX_OBJECT(Class, Base)                                                                                         \
public:                                                                                                                \
    using Self = Class;                                                                                                \
    using Super = Base;                                                                                                \
    static Kel::Core::kxMetaObject* staticMetaObject()                                                                 \
    {                                                                                                                  \
        return s_metaObject;                                                                                           \
    }                                                                                                                  \
    Kel::Core::kxMetaObject* getMetaObject() const override                                                            \
    {                                                                                                                  \
        return s_metaObject;                                                                                           \
    }                                                                                                                  \
    static Kel::Core::kxMetaObject* s_metaObject;

/// Stands once in the class's source file.
#define KX_IMPLEMENT(Class) Kel::Core::kxMetaObject* Class::s_metaObject = nullptr;

namespace Kel::Core
{

/// Called by `traverseFields` for each reference; what it answers is added up.
using kxTraverseCallback = int (*)(kxObject* referenced, const kxMetaField* field, void* context);

/// Base of every reflected class. Objects live on the heap and are held through `kxSmartPointer`; the last reference that
/// goes destroys the object. Destruction is iterative: objects that lose their last reference while another is being
/// destroyed wait in a list, so the depth of a structure costs no stack.
class kxObject
{
public:
    static kxMetaObject* staticMetaObject() { return s_metaObject; }
    virtual kxMetaObject* getMetaObject() const { return s_metaObject; }
    static kxMetaObject* s_metaObject;

    kxObject();
    kxObject(const kxObject&) = delete;
    kxObject& operator=(const kxObject&) = delete;

    void addRef() const { ++m_refCount; }
    void release() const
    {
        if (--m_refCount == 0)
            destroy();
    }
    uint32_t getRefCount() const { return m_refCount; }

    /// Number in order of creation, unlike that of any other living object; "sorted by identity" compares it.
    uint32_t getSerial() const { return m_serial; }

    /// True when the object's type is `type` or derived from it; false for a null type. O(1).
    bool isOfType(const kxMetaObject* type) const;
    bool isOfExactType(const kxMetaObject* type) const { return getMetaObject() == type; }
    const char* getTypeName() const;

    /// True when both have exactly the same type and equal reflected fields, references compared by identity and referenced
    /// lists element by element. Fields flagged `NOT_COMPARED` and fields appended at run time do not count.
    bool isAlikeShallow(const kxObject* other) const;
    /// Equal for objects that are alike.
    uint64_t hashShallow() const;

    /// New object of the same type with the same field values, references shared, referenced lists copied.
    kxSmartPointer<kxObject> copyShallow() const;
    /// Copies this object and all that it reaches through fields that do not link back; what several fields share is shared
    /// again in the copy. Elements of lists that do not count are those of the copy where it has them, else the same as
    /// before. Memory blocks are shared until one side writes.
    kxSmartPointer<kxObject> copyDeep() const;
    /// Gives this object the field values of `source`, as `copyShallow` does; `source` is of this type or a base of it.
    void copyFieldsFrom(const kxObject* source);
    /// Gives every field the value that a fresh object has, then calls `userResetFields`.
    void resetFields();

    /// Calls back for every non-null reference of the object's fields in field order, elements of referenced lists
    /// included (the list itself first), links back left out. Returns the sum of the answers.
    int traverseFields(kxTraverseCallback callback, void* context) const;

    /// Hooks: after `resetFields`; and after a file or a copy has set the fields of every object of one structure.
    virtual void userResetFields() {}
    virtual void userLoaded() {}
    /// Hook after `userLoaded` of all objects of a file: false, with one line that says why, refuses the file.
    virtual bool userCheckLoaded(std::string& fault) const;

    /// Objects now alive, classes and their fields left out; for tests.
    static size_t getLiveCount();

    static void* operator new(size_t byteCount) { return kxMemoryPool::getDefault().allocate(byteCount); }
    static void* operator new(size_t byteCount, kxMemoryPool& pool) { return pool.allocate(byteCount); }
    static void operator delete(void* block, size_t byteCount) { kxMemoryPool::release(block, byteCount); }
    static void operator delete(void*, kxMemoryPool&) {}

    /// Value of a field that was appended at run time; null when the object never had one and `create` is false.
    void* getSideValue(const kxMetaField* field, bool create) const;

protected:
    virtual ~kxObject();
    /// Takes the object out of the live count: classes and fields live as long as the process.
    void leaveLiveCount();

private:
    struct SideBlock;
    void destroy() const;

    mutable uint32_t m_refCount = 0;
    uint32_t m_serial;
    mutable SideBlock* m_side = nullptr;
};

} // namespace Kel::Core

// Asking for types is the commonest question there is, and is answered without a call.
#include "platform/core/kxMetaObject.h"

namespace Kel::Core
{

/// The object as a `T`, or null when it is of another type.
template <class T>
T* kxCast(kxObject* object)
{
    return object && object->isOfType(T::staticMetaObject()) ? static_cast<T*>(object) : nullptr;
}
template <class T>
const T* kxCast(const kxObject* object)
{
    return object && object->isOfType(T::staticMetaObject()) ? static_cast<const T*>(object) : nullptr;
}
template <class T, class U>
T* kxCast(const kxSmartPointer<U>& object)
{
    return kxCast<T>(static_cast<kxObject*>(object.get()));
}

/// A new object of class `T`.
template <class T, class... A>
kxSmartPointer<T> kxNew(A&&... arguments)
{
    return kxSmartPointer<T>(new T(std::forward<A>(arguments)...));
}

} // namespace Kel::Core
