// Which fields a parameter set has and where their values lie.
#pragma once

#include "opt/framework/kxOptNames.h"

#include <span>
#include <vector>

namespace Kel::Opt
{

/// Fields of a parameter set in order of creation, each with its place in the set's values.
///
/// Sets with the same fields in the same order share one layout, so that a set costs no more than its values. Shared
/// layouts form a tree that starts at `getEmpty`, are never changed and live as long as the process. A layout of a
/// set's own comes from `makeOwn`, grows in place and belongs to that set.
class kxParameterLayout
{
public:
    struct Slot
    {
        kxMetaField* field;
        const kxMetaObject* type; ///< class of the field
        kxStringRef name;
        uint32_t offset;
        uint32_t size;
    };

    static const kxParameterLayout* getEmpty();

    kxMetaObject* getMetaObject() const { return m_metaObject; }
    std::span<const Slot> getSlots() const { return m_slots; }
    uint32_t getByteCount() const { return m_byteCount; }
    bool isShared() const { return m_shared; }

    /// Null when there is no field of that name.
    const Slot* find(kxStringRef name) const
    {
        for (const Slot& slot : m_slots)
            if (slot.name == name)
                return &slot;
        return nullptr;
    }

    /// The shared layout with one more field; null when no set has had one.
    const kxParameterLayout* findExtended(const kxMetaObject* fieldType, kxStringRef name) const;
    /// Makes that layout. Null when sets of so many fields, or so many sorts of sets, do not share: then the set needs
    /// a layout of its own. `fieldType` is a concrete class of fields, `name` is new.
    const kxParameterLayout* extend(const kxMetaObject* fieldType, kxStringRef name) const;

    /// A layout with the same fields at the same places, for the caller to delete.
    kxParameterLayout* makeOwn() const;
    void addField(const kxMetaObject* fieldType, kxStringRef name);

    /// Takes over fields that were added to the record type behind the layout's back.
    void adoptNewFields();

private:
    kxParameterLayout();

    kxSmartPointer<kxMetaObject> m_metaObject;
    std::vector<Slot> m_slots;
    uint32_t m_byteCount = 0;
    bool m_shared = false;

    // Layouts with one more field, by that field: open addressing, a power of two slots.
    mutable std::vector<const kxParameterLayout*> m_next;
    mutable uint32_t m_nextCount = 0;
};

} // namespace Kel::Opt
