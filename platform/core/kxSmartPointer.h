// Counted reference to an object.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <type_traits>
#include <utility>

namespace Kel::Core
{

/// Counted reference to a `kxObject` or nothing. Not atomic: one run uses one thread.
template <class T>
class kxSmartPointer
{
public:
    kxSmartPointer() = default;
    kxSmartPointer(std::nullptr_t) {}
    kxSmartPointer(T* object) : m_object(object) { acquire(); }
    kxSmartPointer(const kxSmartPointer& other) : m_object(other.m_object) { acquire(); }
    kxSmartPointer(kxSmartPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    kxSmartPointer(const kxSmartPointer<U>& other) : m_object(other.get())
    {
        acquire();
    }
    ~kxSmartPointer()
    {
        if (m_object)
            m_object->release();
    }

    kxSmartPointer& operator=(const kxSmartPointer& other) { return *this = other.m_object; }
    kxSmartPointer& operator=(kxSmartPointer&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    kxSmartPointer& operator=(T* object)
    {
        // The new object is held before the old one goes: the old one may be all that keeps it.
        T* old = std::exchange(m_object, object);
        acquire();
        if (old)
            old->release();
        return *this;
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    kxSmartPointer& operator=(const kxSmartPointer<U>& other)
    {
        return *this = static_cast<T*>(other.get());
    }
    kxSmartPointer& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    operator T*() const { return m_object; }

private:
    void acquire()
    {
        if (m_object)
            m_object->addRef();
    }
    T* m_object = nullptr;
};

} // namespace Kel::Core
