#include "platform/core/kxFieldTypes.h"

#include "platform/core/kxFields.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxObjectList.h"
#include "platform/core/kxStringObj.h"

#include <bit>
#include <charconv>
#include <cstring>

namespace Kel::Core
{

KX_IMPLEMENT(kxBoolField)
KX_IMPLEMENT(kxIntField)
KX_IMPLEMENT(kxUnsignedIntField)
KX_IMPLEMENT(kxLongField)
KX_IMPLEMENT(kxFloatField)
KX_IMPLEMENT(kxDoubleField)
KX_IMPLEMENT(kxStringField)
KX_IMPLEMENT(kxEnumField)
KX_IMPLEMENT(kxObjectField)
KX_IMPLEMENT(kxMemoryField)
KX_IMPLEMENT(kxVec2fField)
KX_IMPLEMENT(kxVec3fField)
KX_IMPLEMENT(kxVec4fField)
KX_IMPLEMENT(kxQuatfField)
KX_IMPLEMENT(kxMatrix44fField)
KX_IMPLEMENT(kxAABoxField)

namespace
{

// Number of scalars in a value and their type: a vector is compared, hashed and printed scalar by scalar.
template <class T>
struct Scalars
{
    using Type = T;
    static constexpr size_t kCount = 1;
};
template <>
struct Scalars<kxVec2f>
{
    using Type = float;
    static constexpr size_t kCount = 2;
};
template <>
struct Scalars<kxVec3f>
{
    using Type = float;
    static constexpr size_t kCount = 3;
};
template <>
struct Scalars<kxVec4f>
{
    using Type = float;
    static constexpr size_t kCount = 4;
};
template <>
struct Scalars<kxQuatf>
{
    using Type = float;
    static constexpr size_t kCount = 4;
};
template <>
struct Scalars<kxMatrix44f>
{
    using Type = float;
    static constexpr size_t kCount = 16;
};
template <>
struct Scalars<kxAABox>
{
    using Type = float;
    static constexpr size_t kCount = 6;
};

// Bits of a scalar such that equal bits mean alike: both zeros are one value, a NaN is alike to itself.
template <class S>
uint64_t scalarBits(S scalar)
{
    if constexpr (std::is_same_v<S, float>)
        return scalar == 0 ? 0 : std::bit_cast<uint32_t>(scalar);
    else if constexpr (std::is_same_v<S, double>)
        return scalar == 0 ? 0 : std::bit_cast<uint64_t>(scalar);
    else if constexpr (std::is_same_v<S, kxStringRef>)
        return scalar.getNumber();
    else
        return static_cast<uint64_t>(scalar);
}

template <class T>
typename Scalars<T>::Type scalarAt(const void* value, size_t index)
{
    using S = typename Scalars<T>::Type;
    S scalar;
    std::memcpy(static_cast<void*>(&scalar), static_cast<const char*>(value) + index * sizeof(S), sizeof(S));
    return scalar;
}

template <class S>
void appendScalar(std::string& text, S scalar)
{
    if constexpr (std::is_same_v<S, bool>)
        text += scalar ? "true" : "false";
    else if constexpr (std::is_same_v<S, kxStringRef>)
        text += scalar.view();
    else
    {
        char digits[40];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, scalar).ptr);
    }
}

template <class S>
bool parseScalar(std::string_view text, S& scalar)
{
    if constexpr (std::is_same_v<S, bool>)
    {
        scalar = text == "true";
        return scalar || text == "false";
    }
    else if constexpr (std::is_same_v<S, kxStringRef>)
    {
        scalar = kxStringRef(text);
        return true;
    }
    else
    {
        const auto result = std::from_chars(text.data(), text.data() + text.size(), scalar);
        return result.ec == std::errc() && result.ptr == text.data() + text.size();
    }
}

} // namespace

template <class T, kxFieldKind K>
void kxPlainField<T, K>::constructValue(void* value) const
{
    if constexpr (std::is_same_v<T, kxAABox>)
        new (value) kxAABox;
    else
        std::memset(value, 0, sizeof(T));
}

template <class T, kxFieldKind K>
void kxPlainField<T, K>::copyValue(void* target, const void* source) const
{
    std::memmove(target, source, sizeof(T));
}

template <class T, kxFieldKind K>
bool kxPlainField<T, K>::isValueAlike(const void* a, const void* b) const
{
    for (size_t i = 0; i < Scalars<T>::kCount; ++i)
        if (scalarBits(scalarAt<T>(a, i)) != scalarBits(scalarAt<T>(b, i)))
            return false;
    return true;
}

template <class T, kxFieldKind K>
uint64_t kxPlainField<T, K>::hashValue(const void* value) const
{
    uint64_t bits[Scalars<T>::kCount];
    for (size_t i = 0; i < Scalars<T>::kCount; ++i)
        bits[i] = scalarBits(scalarAt<T>(value, i));
    return hashBytes(bits, sizeof bits);
}

template <class T, kxFieldKind K>
std::string kxPlainField<T, K>::valueToText(const void* value) const
{
    std::string text;
    for (size_t i = 0; i < Scalars<T>::kCount; ++i)
    {
        if (i)
            text += ' ';
        appendScalar(text, scalarAt<T>(value, i));
    }
    return text;
}

template <class T, kxFieldKind K>
bool kxPlainField<T, K>::valueFromText(std::string_view text, void* value) const
{
    using S = typename Scalars<T>::Type;
    S scalars[Scalars<T>::kCount];
    if constexpr (Scalars<T>::kCount == 1)
    {
        if (!parseScalar(text, scalars[0]))
            return false;
    }
    else
        for (S& scalar : scalars)
        {
            const size_t start = text.find_first_not_of(' ');
            if (start == std::string_view::npos)
                return false;
            text.remove_prefix(start);
            const size_t end = std::min(text.find(' '), text.size());
            if (!parseScalar(text.substr(0, end), scalar))
                return false;
            text.remove_prefix(end);
        }
    if (Scalars<T>::kCount > 1 && text.find_first_not_of(' ') != std::string_view::npos)
        return false;
    std::memcpy(value, static_cast<const void*>(scalars), sizeof scalars);
    return true;
}

template class kxPlainField<bool, kxFieldKind::BOOL>;
template class kxPlainField<int32_t, kxFieldKind::INT>;
template class kxPlainField<uint32_t, kxFieldKind::UNSIGNED>;
template class kxPlainField<int64_t, kxFieldKind::LONG>;
template class kxPlainField<float, kxFieldKind::FLOAT>;
template class kxPlainField<double, kxFieldKind::DOUBLE>;
template class kxPlainField<kxStringRef, kxFieldKind::STRING>;
template class kxPlainField<int32_t, kxFieldKind::ENUM>;
template class kxPlainField<kxVec2f, kxFieldKind::VEC2F>;
template class kxPlainField<kxVec3f, kxFieldKind::VEC3F>;
template class kxPlainField<kxVec4f, kxFieldKind::VEC4F>;
template class kxPlainField<kxQuatf, kxFieldKind::QUATF>;
template class kxPlainField<kxMatrix44f, kxFieldKind::MATRIX44F>;
template class kxPlainField<kxAABox, kxFieldKind::AABOX>;

std::string kxEnumField::valueToText(const void* value) const
{
    const char* name = m_enum ? m_enum->getValueName(scalarAt<int32_t>(value, 0)) : nullptr;
    return name ? std::string(name) : kxPlainField::valueToText(value);
}

bool kxEnumField::valueFromText(std::string_view text, void* value) const
{
    int32_t number;
    if (!m_enum || !m_enum->findValue(text, number))
        return kxPlainField::valueFromText(text, value);
    std::memcpy(value, &number, sizeof number);
    return true;
}

// --- object references ---

bool kxObjectField::accepts(const kxObject* object) const
{
    const kxMetaObject* type = getReferencedType();
    return !object || !type || object->isOfType(type);
}

kxObject* kxObjectField::getObject(const void* value) const
{
    // Through memcpy: the field's own pointer type is a derived one.
    kxObject* object;
    std::memcpy(&object, value, sizeof object);
    return object;
}

void kxObjectField::setObject(void* value, kxObject* object) const
{
    kxObject* old = getObject(value);
    if (object)
        object->addRef();
    std::memcpy(value, &object, sizeof object);
    if (old)
        old->release();
}

void kxObjectField::constructValue(void* value) const
{
    std::memset(value, 0, sizeof(kxObject*));
}

void kxObjectField::destroyValue(void* value) const
{
    setObject(value, nullptr);
}

void kxObjectField::copyValue(void* target, const void* source) const
{
    setObject(target, getObject(source));
}

bool kxObjectField::isValueAlike(const void* a, const void* b) const
{
    const kxObject* first = getObject(a);
    const kxObject* second = getObject(b);
    if (first == second)
        return true;
    const auto* list = kxCast<kxListBase>(first);
    return list && second && second->isOfExactType(list->getMetaObject()) &&
           list->isAlike(static_cast<const kxListBase*>(second));
}

uint64_t kxObjectField::hashValue(const void* value) const
{
    const kxObject* object = getObject(value);
    if (const auto* list = kxCast<kxListBase>(object))
        return list->hash();
    return object ? hashBytes("object", 6, object->getSerial()) : 0;
}

std::string kxObjectField::valueToText(const void* value) const
{
    const kxObject* object = getObject(value);
    if (!object)
        return "null";
    if (const auto* type = kxCast<kxMetaObject>(object))
        return type->getName().str();
    if (const auto* string = kxCast<kxStringObj>(object))
        return string->str();
    return object->getTypeName();
}

bool kxObjectField::valueFromText(std::string_view text, void* value) const
{
    if (text == "null")
    {
        setObject(value, nullptr);
        return true;
    }
    const kxMetaObject* type = getReferencedType();
    if (type && type->isDerivedFrom(kxMetaObject::staticMetaObject()))
    {
        kxMetaObject* named = kxMetaObject::find(kxStringRef(text));
        if (named)
            setObject(value, named);
        return named != nullptr;
    }
    if (type && type->isDerivedFrom(kxStringObj::staticMetaObject()))
    {
        setObject(value, kxNew<kxStringObj>(text));
        return true;
    }
    return false;
}

// --- memory blocks ---

kxMemoryField::kxMemoryField() : kxObjectField(&kxMemoryBlock::staticMetaObject) {}

bool kxMemoryField::isValueAlike(const void* a, const void* b) const
{
    const auto* first = static_cast<const kxMemoryBlock*>(getObject(a));
    const auto* second = static_cast<const kxMemoryBlock*>(getObject(b));
    if (first == second || !first || !second)
        return first == second;
    return first->getSize() == second->getSize() &&
           (first->getSize() == 0 || std::memcmp(first->getData(), second->getData(), first->getSize()) == 0);
}

uint64_t kxMemoryField::hashValue(const void* value) const
{
    const auto* block = static_cast<const kxMemoryBlock*>(getObject(value));
    return block ? block->getContentHash() : 0;
}

std::string kxMemoryField::valueToText(const void* value) const
{
    const auto* block = static_cast<const kxMemoryBlock*>(getObject(value));
    return block ? std::to_string(block->getSize()) + " bytes" : std::string("null");
}

} // namespace Kel::Core
