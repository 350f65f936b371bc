// The type of an object: name, base, fields, and how to make one.
#pragma once

#include "platform/core/kxMetaField.h"

#include <span>
#include <vector>

namespace Kel::Core
{

/// A class as an object. Classes are registered once, bases first, and live as long as the process. A class may also be made
/// for one record alone (`createRecordType`); such a type is not registered and dies with its last reference.
class kxMetaObject : public kxObject
{
    KX_OBJECT(kxMetaObject, kxObject)
    static void listFields(kxFields<kxMetaObject>& fields);

    using Factory = kxObject* (*)(kxMemoryPool& pool);

    kxMetaObject();

    kxStringRef _name;

    kxStringRef getName() const { return _name; }
    const char* getHelp() const { return m_help; }
    kxMetaObject* getBase() const { return m_base; }
    bool isAbstract() const { return m_factory == nullptr; }
    /// Place in the order of registration, from 0; the identity by which sorted lists compare types.
    uint32_t getIndex() const { return m_index; }

    /// True when this is `base` or derived from it; false for null. O(1).
    bool isDerivedFrom(const kxMetaObject* base) const
    {
        return base && base->m_depth < m_ancestors.size() && m_ancestors[base->m_depth] == base;
    }

    /// Every field, inherited ones first.
    std::span<kxMetaField* const> getFields() const { return m_fields; }
    /// Field of exactly that name; null when there is none.
    kxMetaField* findField(kxStringRef name) const;

    /// This type and every type derived from it, bases before derived ones, in order of registration.
    std::span<kxMetaObject* const> getDerived() const { return m_derived; }
    /// Number of types derived from this one, itself included.
    uint32_t getDerivedCount() const { return static_cast<uint32_t>(m_derived.size()); }

    /// A new object of this type; null for an abstract type.
    kxSmartPointer<kxObject> createInstance(kxMemoryPool& pool = kxMemoryPool::getDefault()) const;
    template <class T>
    kxSmartPointer<T> createInstanceRef(kxMemoryPool& pool = kxMemoryPool::getDefault()) const
    {
        kxSmartPointer<kxObject> object = createInstance(pool);
        return kxSmartPointer<T>(kxCast<T>(object));
    }

    /// Adds a field to a registered class at run time; its values live beside the objects that use it. Every derived class
    /// has it as well. Returns the existing field when the class already has one of that name.
    /// `help` must live as long as the process.
    kxMetaField* appendField(const kxMetaObject* fieldType, kxStringRef name, const char* help);

    /// An unregistered type without fields, for records whose fields are made one by one with `addRecordField`.
    static kxSmartPointer<kxMetaObject> createRecordType(kxStringRef name);
    /// Adds a field to a record type at the next free offset (`getRecordSize` grows). `fieldType` is a concrete field class.
    kxMetaField* addRecordField(const kxMetaObject* fieldType, kxStringRef name);
    size_t getRecordSize() const { return m_recordSize; }

    /// Registered class of that name (exact); null when there is none.
    static kxMetaObject* find(kxStringRef name);
    /// Every registered class in order of registration.
    static std::span<kxMetaObject* const> getAll();

    /// Number that changes with every class registered and every field appended: key of what is derived from classes.
    static uint32_t getGeneration();

    /// Registers a class; used through `kxRegisterClass`.
    static kxMetaObject* registerType(kxMetaObject* base, const char* name, const char* help, Factory factory);
    /// Adds a field that lies in the objects of this class; used through `kxFields`.
    void addField(kxSmartPointer<kxMetaField> field, const char* name, const char* help, uint32_t offset);
    void finishFields();

private:
    ~kxMetaObject() override;

    const char* m_help = "";
    kxMetaObject* m_base = nullptr;
    Factory m_factory = nullptr;
    uint32_t m_index = 0;
    uint32_t m_depth = 0;
    size_t m_recordSize = 0;
    std::vector<const kxMetaObject*> m_ancestors; // by depth, this type last
    std::vector<kxMetaField*> m_ownFields;        // held
    std::vector<kxMetaField*> m_fields;           // inherited and own
    std::vector<kxMetaObject*> m_derived;
};

inline bool kxObject::isOfType(const kxMetaObject* type) const
{
    return getMetaObject()->isDerivedFrom(type);
}

} // namespace Kel::Core
