// The kinds of fields: one class for each kind of value.
#pragma once

#include "platform/core/kxMetaField.h"
#include "platform/core/kxMetaEnum.h"
#include "platform/math/kxMath.h"

namespace Kel::Core
{

/// Common body of the fields whose values are plain data (`T` is copied byte by byte).
template <class T, kxFieldKind Kind>
class kxPlainField : public kxMetaField
{
public:
    kxFieldKind getKind() const override { return Kind; }
    size_t getValueSize() const override { return sizeof(T); }
    size_t getValueAlignment() const override { return alignof(T); }
    void constructValue(void* value) const override;
    void destroyValue(void*) const override {}
    void copyValue(void* target, const void* source) const override;
    bool isValueAlike(const void* a, const void* b) const override;
    uint64_t hashValue(const void* value) const override;
    std::string valueToText(const void* value) const override;
    bool valueFromText(std::string_view text, void* value) const override;
};

class kxBoolField : public kxPlainField<bool, kxFieldKind::BOOL>
{
    KX_OBJECT(kxBoolField, kxMetaField)
};
class kxIntField : public kxPlainField<int32_t, kxFieldKind::INT>
{
    KX_OBJECT(kxIntField, kxMetaField)
};
class kxUnsignedIntField : public kxPlainField<uint32_t, kxFieldKind::UNSIGNED>
{
    KX_OBJECT(kxUnsignedIntField, kxMetaField)
};
class kxLongField : public kxPlainField<int64_t, kxFieldKind::LONG>
{
    KX_OBJECT(kxLongField, kxMetaField)
};
class kxFloatField : public kxPlainField<float, kxFieldKind::FLOAT>
{
    KX_OBJECT(kxFloatField, kxMetaField)
};
class kxDoubleField : public kxPlainField<double, kxFieldKind::DOUBLE>
{
    KX_OBJECT(kxDoubleField, kxMetaField)
};
class kxStringField : public kxPlainField<kxStringRef, kxFieldKind::STRING>
{
    KX_OBJECT(kxStringField, kxMetaField)
};
class kxVec2fField : public kxPlainField<kxVec2f, kxFieldKind::VEC2F>
{
    KX_OBJECT(kxVec2fField, kxMetaField)
};
class kxVec3fField : public kxPlainField<kxVec3f, kxFieldKind::VEC3F>
{
    KX_OBJECT(kxVec3fField, kxMetaField)
};
class kxVec4fField : public kxPlainField<kxVec4f, kxFieldKind::VEC4F>
{
    KX_OBJECT(kxVec4fField, kxMetaField)
};
class kxQuatfField : public kxPlainField<kxQuatf, kxFieldKind::QUATF>
{
    KX_OBJECT(kxQuatfField, kxMetaField)
};
class kxMatrix44fField : public kxPlainField<kxMatrix44f, kxFieldKind::MATRIX44F>
{
    KX_OBJECT(kxMatrix44fField, kxMetaField)
};
class kxAABoxField : public kxPlainField<kxAABox, kxFieldKind::AABOX>
{
    KX_OBJECT(kxAABoxField, kxMetaField)
};

/// Value of an enumeration of 32 bits. Its text is the value's name, or the number for a value without one.
class kxEnumField : public kxPlainField<int32_t, kxFieldKind::ENUM>
{
    KX_OBJECT(kxEnumField, kxMetaField)

    kxEnumField() = default;
    explicit kxEnumField(const kxMetaEnum& metaEnum) : m_enum(&metaEnum) {}
    const kxMetaEnum* getMetaEnum() const override { return m_enum; }
    std::string valueToText(const void* value) const override;
    bool valueFromText(std::string_view text, void* value) const override;

private:
    const kxMetaEnum* m_enum = nullptr;
};

/// Counted reference to an object. Two references are alike when they are identical, or when both refer to lists of one
/// type with identical elements: a list is part of the object that refers to it.
class kxObjectField : public kxMetaField
{
    KX_OBJECT(kxObjectField, kxMetaField)
    using TypeFunction = kxMetaObject* (*)();

    kxObjectField() = default;
    explicit kxObjectField(TypeFunction type) : m_typeFunction(type) {}

    const kxMetaObject* getReferencedType() const override
    {
        return m_typeFunction ? m_typeFunction() : m_referencedType;
    }
    void setReferencedType(const kxMetaObject* type) { m_referencedType = type; }
    /// True when an object may be stored: null, or of the referenced type where there is one.
    bool accepts(const kxObject* object) const;

    kxObject* getObject(const void* value) const;
    /// Stores a reference and releases the old one. The caller has asked `accepts`.
    void setObject(void* value, kxObject* object) const;

    kxFieldKind getKind() const override { return kxFieldKind::OBJECT; }
    size_t getValueSize() const override { return sizeof(void*); }
    size_t getValueAlignment() const override { return alignof(void*); }
    void constructValue(void* value) const override;
    void destroyValue(void* value) const override;
    void copyValue(void* target, const void* source) const override;
    bool isValueAlike(const void* a, const void* b) const override;
    uint64_t hashValue(const void* value) const override;
    /// "null", the name of a type, the text of a string object, or the type of what is referred to.
    std::string valueToText(const void* value) const override;
    /// Finds types by name and sets string objects; other references cannot be given as text.
    bool valueFromText(std::string_view text, void* value) const override;

private:
    TypeFunction m_typeFunction = nullptr;
    const kxMetaObject* m_referencedType = nullptr;
};

/// Reference to a memory block; alike when the bytes are equal.
class kxMemoryField : public kxObjectField
{
    KX_OBJECT(kxMemoryField, kxObjectField)

    kxMemoryField();
    kxFieldKind getKind() const override { return kxFieldKind::MEMORY; }
    bool isValueAlike(const void* a, const void* b) const override;
    uint64_t hashValue(const void* value) const override;
    std::string valueToText(const void* value) const override;
    bool valueFromText(std::string_view, void*) const override { return false; }
};

} // namespace Kel::Core
