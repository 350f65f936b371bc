// One reflected field of a class: its name, its place and what can be done with its value.
#pragma once

#include "platform/core/kxObject.h"

#include <string>
#include <string_view>

namespace Kel::Core
{

/// Kinds of field values, as files name them; the numbers are part of the native format.
enum class kxFieldKind : uint32_t
{
    BOOL = 1,
    INT = 2,
    UNSIGNED = 3,
    LONG = 4,
    FLOAT = 5,
    DOUBLE = 6,
    STRING = 7,
    ENUM = 8,
    OBJECT = 9,
    VEC2F = 10,
    VEC3F = 11,
    VEC4F = 12,
    QUATF = 13,
    MATRIX44F = 14,
    AABOX = 15,
    MEMORY = 16
};

/// A reflected field. Values are passed by address: of the field in an object (`getAddress`), in a record or in a list.
class kxMetaField : public kxObject
{
    KX_OBJECT(kxMetaField, kxObject)
    static void listFields(kxFields<kxMetaField>& fields);

    enum Flag : uint32_t
    {
        NOT_SAVED = 1,    ///< derived from other fields: not written to files, rebuilt by `userLoaded`
        NOT_COMPARED = 2, ///< does not count in `isAlikeShallow`, nor in its hash
        LINK_BACK = 4,    ///< refers to an owner: not followed by traversal
        PARAMETER = 8,    ///< an item's input, copied from parameter sets
        REQUIRED = 16     ///< a parameter that must not be null
    };

    kxStringRef _fieldName; ///< with its leading underscore
    uint32_t _flags = 0;

    kxStringRef getName() const { return _fieldName; }
    const char* getHelp() const { return m_help; }
    bool hasFlag(Flag flag) const { return (_flags & flag) != 0; }
    kxMetaField& setFlags(uint32_t flags)
    {
        _flags |= flags;
        return *this;
    }
    /// Class that declares the field; null for a field of a record.
    const kxMetaObject* getOwner() const { return m_owner; }

    virtual kxFieldKind getKind() const = 0;
    virtual size_t getValueSize() const = 0;
    virtual size_t getValueAlignment() const = 0;
    virtual void constructValue(void* value) const = 0; ///< makes a zero, null or empty value
    virtual void destroyValue(void* value) const = 0;
    virtual void copyValue(void* target, const void* source) const = 0;
    virtual bool isValueAlike(const void* a, const void* b) const = 0;
    virtual uint64_t hashValue(const void* value) const = 0;
    /// Value as text and back, for help, scenes in text form and the starter script; numbers come back exactly.
    virtual std::string valueToText(const void* value) const = 0;
    virtual bool valueFromText(std::string_view text, void* value) const = 0;
    /// Type of what an object field refers to, null for other kinds.
    virtual const kxMetaObject* getReferencedType() const { return nullptr; }
    /// Names of an enumeration's values, null for other kinds.
    virtual const kxMetaEnum* getMetaEnum() const { return nullptr; }

    /// Place of the value in an object of the owning class or a derived one.
    void* getAddress(kxObject* object) const
    {
        return m_appended ? object->getSideValue(this, true) : reinterpret_cast<char*>(object) + m_offset;
    }
    /// The same for reading: null for a field appended at run time that this object never had.
    const void* getAddress(const kxObject* object) const
    {
        return m_appended ? object->getSideValue(this, false) : reinterpret_cast<const char*>(object) + m_offset;
    }
    bool isAppended() const { return m_appended; }
    uint32_t getOffset() const { return m_offset; }

protected:
    kxMetaField() { leaveLiveCount(); }

private:
    friend class kxMetaObject;
    const kxMetaObject* m_owner = nullptr;
    const char* m_help = "";
    uint32_t m_offset = 0;
    bool m_appended = false;
};

} // namespace Kel::Core
