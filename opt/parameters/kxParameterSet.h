// Records whose fields are made as they are used: what items take and give.
#pragma once

#include "opt/parameters/kxParameterLayout.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/math/kxMath.h"

#include <concepts>

namespace Kel::Opt
{

class kxParameterSetList;

/// A record of named values of any reflected kind. Setting a value makes its field; fields are never taken away. A
/// field keeps the type that it was made with: setting or asking for another type fails.
///
/// A field can be linked to a field of another set (`setFieldSource`), which holds that set; `resolveFieldSource`
/// copies the values of all links.
///
/// Names given as `const char*` are looked up in the string pool; callers in inner loops pass a `kxStringRef` that they
/// keep.
class kxParameterSet : public kxObject
{
    KX_OBJECT(kxParameterSet, kxObject)
    static void listFields(kxFields<kxParameterSet>& fields);

    /// Field of every item's result: 1 for success, 0 for failure.
    static constexpr char succeed[] = "succeed";
    /// Field of a failed item's result that says why.
    static constexpr char errorMessage[] = "errorMessage";

    /// Class that lists the fields. Sets with the same fields may share it until somebody asks a set for a field to
    /// change (`getField`, `createField`); a caller who keeps it keeps the fields as they were.
    kxSmartPointer<kxMetaObject> _dynamicMeta;
    kxSmartPointer<kxMemoryBlock> _data; ///< the values; null until `getData` is asked
    // Links, parallel lists; null until there are any.
    kxSmartPointer<kxParameterSetList> _parameterSetList;
    kxSmartPointer<kxStringRefList> _fieldNameList; ///< sorted by identity
    kxSmartPointer<kxStringRefList> _sourceNameList;

    kxParameterSet();

    int getFieldCount() const { return static_cast<int>(m_layout->getSlots().size()); }
    /// Field at an index; null outside.
    kxMetaField* getField(int index);
    /// Null for a null or unknown name.
    kxMetaField* getField(const char* name);
    /// Field of that name, made when absent.
    kxMetaField* getField(const kxMetaObject* fieldType, const char* name);
    /// Adds a field. A field of that name and type that is there already is returned as it is; null for one of another
    /// type, for a null name, and for what is no concrete class of fields.
    kxSmartPointer<kxMetaField> createField(const kxMetaObject* fieldType, const char* name);

    /// The same look-ups for reading.
    const kxMetaField* findField(kxStringRef name) const;
    const kxMetaField* findField(int index) const;
    bool hasField(kxStringRef name) const { return m_layout->find(name) != nullptr; }

    /// Copies a value out when the field exists and is of `fieldType` or derived from it; otherwise `destination` is
    /// untouched. An object comes as a plain pointer, which the set keeps alive as long as the field holds it.
    kxResult getFieldValue(kxStringRef name, void* destination, const kxMetaObject* fieldType) const;
    kxResult getFieldValue(const char* name, void* destination, const kxMetaObject* fieldType) const;
    kxResult getFieldValue(const kxMetaField* field, void* destination) const;
    /// Stores a value, making the field when it is missing; fails and changes nothing when the field has another type.
    kxResult setFieldValue(kxStringRef name, const void* source, const kxMetaObject* fieldType);
    kxResult setFieldValue(const char* name, const void* source, const kxMetaObject* fieldType);

    // The same for the types that items use.

    template <class Name>
    kxResult getFieldValue(Name name, bool& value) const
    {
        return getFieldValue(name, &value, kxBoolField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, int32_t& value) const
    {
        return getFieldValue(name, &value, kxIntField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, float& value) const
    {
        return getFieldValue(name, &value, kxFloatField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, kxVec3f& value) const
    {
        return getFieldValue(name, &value, kxVec3fField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, kxVec4f& value) const
    {
        return getFieldValue(name, &value, kxVec4fField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, kxStringRef& value) const
    {
        return getFieldValue(name, static_cast<void*>(&value), kxStringField::staticMetaObject());
    }
    template <class Name>
    kxResult getFieldValue(Name name, kxObject*& value) const
    {
        return getFieldValue(name, &value, kxObjectField::staticMetaObject());
    }
    /// The object as a `T`, null when it is of another type; that is a success.
    template <class Name, class T>
    kxResult getFieldValue(Name name, kxSmartPointer<T>& value) const
    {
        kxObject* object = nullptr;
        if (getFieldValue(name, object) != kSuccess)
            return kFailure;
        value = kxCast<T>(object);
        return kSuccess;
    }

    // Not for what merely converts to bool: pointers of other kinds would slip in.
    template <class Name, std::same_as<bool> Bool>
    kxResult setFieldValue(Name name, Bool value)
    {
        return setFieldValue(name, &value, kxBoolField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, int32_t value)
    {
        return setFieldValue(name, &value, kxIntField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, float value)
    {
        return setFieldValue(name, &value, kxFloatField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, const kxVec3f& value)
    {
        return setFieldValue(name, &value, kxVec3fField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, const kxVec4f& value)
    {
        return setFieldValue(name, &value, kxVec4fField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, kxStringRef value)
    {
        return setFieldValue(name, static_cast<const void*>(&value), kxStringField::staticMetaObject());
    }
    template <class Name>
    kxResult setFieldValue(Name name, const char* value)
    {
        return setFieldValue(name, kxStringRef(value));
    }
    template <class Name>
    kxResult setFieldValue(Name name, kxObject* value)
    {
        return setFieldValue(name, static_cast<const void*>(&value), kxObjectField::staticMetaObject());
    }

    /// Links a field to one of another set; fails, and keeps the first link, when the field has a source already.
    kxResult setFieldSource(const char* fieldName, const char* sourceFieldName, kxParameterSet* sourceSet);
    /// Copies the values of all links, in the order of `_fieldNameList`, making fields that are missing. Stops at the
    /// first link whose source has no such field or whose field has another type; links before it have been copied
    /// then.
    kxResult resolveFieldSource();

    /// The values as one block, which the set goes on using.
    kxMemoryBlock* getData();
    /// Takes over fields that were added to `_dynamicMeta` itself.
    void userResetFields() override;

    const kxParameterLayout* getLayout() const { return m_layout; }
    const void* getValues() const { return values(); }

protected:
    ~kxParameterSet() override;

private:
    void* values() const { return _data ? m_blockValues : m_values; }
    void useLayout(const kxParameterLayout* layout);
    kxParameterLayout* ownLayout();
    const kxParameterLayout::Slot* addSlot(const kxMetaObject* fieldType, kxStringRef name);
    void grow(uint32_t byteCount);
    void constructFrom(size_t firstSlot);

    static constexpr uint32_t kInlineBytes = 64; // eight references: no item's set has had more

    const kxParameterLayout* m_layout;
    void* m_values = m_inline;
    void* m_blockValues = nullptr; // those of `_data`
    uint32_t m_capacity = kInlineBytes;
    alignas(8) unsigned char m_inline[kInlineBytes];
};

KX_OBJECT_LIST(kxParameterSetList, kxParameterSet)

/// A counted parameter set as item calls hand it over, with what every result has.
class kxParameterSetWrapper
{
public:
    /// A new, empty set.
    kxParameterSetWrapper() : m_set(kxNew<kxParameterSet>()) {}
    /// Holds `set`, which may be null: a null set is one that failed without a message.
    kxParameterSetWrapper(kxParameterSet* set) : m_set(set) {}

    kxParameterSet* operator->() const { return m_set; }
    kxSmartPointer<kxParameterSet> getValue() const { return m_set; }
    operator kxSmartPointer<kxParameterSet>() const { return m_set; }

    void success() { setSucceed(1); }
    void failure() { setSucceed(0); }
    /// True when the result says so.
    bool hasSucceeded() const;

    void setErrorMessage(kxStringRef message);
    [[gnu::format(printf, 2, 3)]] void formatErrorMessage(const char* format, ...);
    /// The empty string when there is no message.
    const char* getErrorMessage() const;

private:
    void setSucceed(int32_t value);

    kxSmartPointer<kxParameterSet> m_set;
};

} // namespace Kel::Opt
