// How a class lists its reflected fields and registers itself.
#pragma once

#include "platform/core/kxFieldTypes.h"
#include "platform/core/kxMetaObject.h"

#include <bit>
#include <type_traits>

namespace Kel::Core
{

/// Field class for a member of type `M`.
template <class M, class = void>
struct kxFieldFor;

#define KX_FIELD_FOR(Type, Field)                                                                                      \
    template <>                                                                                                        \
    struct kxFieldFor<Type>                                                                                            \
    {                                                                                                                  \
        static kxSmartPointer<kxMetaField> create() { return kxNew<Field>(); }                                         \
    };
KX_FIELD_FOR(bool, kxBoolField)
KX_FIELD_FOR(int32_t, kxIntField)
KX_FIELD_FOR(uint32_t, kxUnsignedIntField)
KX_FIELD_FOR(int64_t, kxLongField)
KX_FIELD_FOR(float, kxFloatField)
KX_FIELD_FOR(double, kxDoubleField)
KX_FIELD_FOR(kxStringRef, kxStringField)
KX_FIELD_FOR(kxVec2f, kxVec2fField)
KX_FIELD_FOR(kxVec3f, kxVec3fField)
KX_FIELD_FOR(kxVec4f, kxVec4fField)
KX_FIELD_FOR(kxQuatf, kxQuatfField)
KX_FIELD_FOR(kxMatrix44f, kxMatrix44fField)
KX_FIELD_FOR(kxAABox, kxAABoxField)
KX_FIELD_FOR(kxSmartPointer<kxMemoryBlock>, kxMemoryField)
#undef KX_FIELD_FOR

template <class T>
struct kxFieldFor<kxSmartPointer<T>>
{
    static kxSmartPointer<kxMetaField> create() { return kxNew<kxObjectField>(&T::staticMetaObject); }
};
template <class E>
struct kxFieldFor<E, std::enable_if_t<std::is_enum_v<E>>>
{
    static_assert(sizeof(E) == 4, "reflected enumerations have 32 bits");
    static kxSmartPointer<kxMetaField> create() { return kxNew<kxEnumField>(kxMetaEnumOf(E())); }
};

/// The list of fields of class `T`, filled in by `T::listFields` in order.
template <class T>
class kxFields
{
public:
    explicit kxFields(kxMetaObject* type) : m_type(type) {}

    /// Lists one member: its name (with the leading underscore) and one line of help. The meta-field's class follows from
    /// the member's type, the default is the member's initialiser. Returns the field, for its flags.
    template <class C, class M>
    kxMetaField& add(M C::*member, const char* name, const char* help)
    {
        static_assert(std::is_base_of_v<C, T>);
        static_assert(sizeof(member) == sizeof(ptrdiff_t), "a member pointer is the member's offset");
        kxSmartPointer<kxMetaField> field = kxFieldFor<M>::create();
        m_type->addField(field, name, help, static_cast<uint32_t>(std::bit_cast<ptrdiff_t>(member)));
        return *field;
    }

private:
    kxMetaObject* m_type;
};

/// Registers class `T` under its name with one line of help; its base must be registered. Does nothing the second time.
/// Calls `T::userRegister()` when the class itself has such a function.
template <class T>
kxMetaObject* kxRegisterClass(const char* name, const char* help)
{
    if (T::s_metaObject)
        return T::s_metaObject;
    kxMetaObject::Factory factory = nullptr;
    // Not is_default_constructible: that would ask for a public destructor as well.
    if constexpr (requires(kxMemoryPool & pool) { new (pool) T; })
        factory = [](kxMemoryPool& pool) -> kxObject* { return new (pool) T; };
    kxMetaObject* base = nullptr;
    if constexpr (!std::is_same_v<T, kxObject>)
        base = T::Super::staticMetaObject();
    kxMetaObject* type = kxMetaObject::registerType(base, name, help, factory);
    T::s_metaObject = type;
    kxFields<T> fields(type);
    if constexpr (requires { T::listFields(fields); })
        T::listFields(fields);
    type->finishFields();
    if constexpr (requires { T::userRegister(); })
    {
        if constexpr (requires { T::Super::userRegister(); })
        {
            if (&T::userRegister != &T::Super::userRegister)
                T::userRegister();
        }
        else
            T::userRegister();
    }
    return type;
}

} // namespace Kel::Core
