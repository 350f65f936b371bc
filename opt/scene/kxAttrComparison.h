// Which attributes are alike.
#pragma once

#include "opt/framework/kxInterfaced.h"
#include "platform/attrs/kxAttr.h"
#include "platform/core/kxTHugeAllocator.h"
#include "platform/core/kxTSerialMap.h"

#include <vector>

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// True for a type whose attributes can move from one attribute set to another: not light sources, light states, vertex
/// data and particles, which belong to the node that holds them.
bool isShareableAttrType(const kxMetaObject* type);

/// True when an object holds an attribute of a type or of one derived from it; asks in silence.
bool holdsAttrOfType(kxInterfaced& user, kxObject* object, const kxMetaObject* type);

/// Tells whether one attribute may stand for another, for one application of an optimization: as long as it lives,
/// attributes must keep their values.
///
/// Alike are an attribute and itself, and attributes of one type and unit that the comparison item of the type calls
/// alike.
class kxAttrComparison
{
public:
    explicit kxAttrComparison(kxInterfaced& user) : m_user(user) {}

    /// False when either is null. Asks the comparison item only when the attributes' hashes agree.
    bool isAlike(kxAttr* a, kxAttr* b);
    /// The same, without hashes: the comparison item is always asked.
    static bool isAlikeByItem(kxInterfaced& user, kxAttr* a, kxAttr* b);

    /// Number that alike attributes have in common; the same for all of one type and unit when their comparison has no
    /// hash.
    uint64_t getKey(kxAttr* attr);

private:
    bool isHashed(const kxAttr* attr);

    kxInterfaced& m_user;
    kxTSerialMap<uint64_t> m_keys; // 0: not known
    std::vector<int8_t> m_hashed;  // by index of the type: whether its comparison has a hash; -1 not known
};

/// Attributes of different values, in order, found by value. Finding costs one look-up, and one comparison for each
/// attribute that has the same key.
class kxAttrIndex
{
public:
    explicit kxAttrIndex(kxAttrComparison& comparison) : m_comparison(&comparison) {}

    uint32_t getCount() const { return static_cast<uint32_t>(m_entries.size()); }
    kxAttr* get(uint32_t index) const { return m_entries[index].attr; }
    /// Adds an attribute behind the others, whether it is alike to one of them or not. The index does not hold it.
    void append(kxAttr* attr) { append(attr, m_comparison->getKey(attr)); }
    /// Number of the first attribute that is alike, `attr` itself when it had to be added.
    uint32_t findOrAppend(kxAttr* attr);

private:
    static constexpr uint32_t kNone = UINT32_MAX;
    static constexpr size_t kScanned = 8; // so many are scanned rather than looked up

    struct Entry
    {
        kxAttr* attr;
        uint64_t key;
        uint32_t next; // entry with the same key
        uint32_t last; // of the entries with the same key, known to the first of them
    };
    // Part of the key stands beside the number, so that most of what is not there is not looked at.
    struct Slot
    {
        uint32_t tag;
        uint32_t first = kNone; // entry
    };

    uint32_t find(kxAttr* attr, uint64_t key);
    void append(kxAttr* attr, uint64_t key);
    Slot& slotOf(uint64_t key);
    void link(uint32_t index);
    void growSlots();

    kxAttrComparison* m_comparison;
    std::vector<Entry, kxTHugeAllocator<Entry>> m_entries;
    std::vector<Slot, kxTHugeAllocator<Slot>>
        m_slots; // by key, a power of two once there are more entries than are scanned
};

} // namespace Kel::Opt
