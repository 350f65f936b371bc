// Reading of native files.
#pragma once

#include "platform/core/kxDirectory.h"
#include "platform/core/kxKXBLayout.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace Kel::Core
{

/// Makes the objects of one file. Every number that the file gives is checked before it is used. What allocates is bounded by
/// the size of the file: whatever is counted stands in it.
class kxKXBReader
{
public:
    /// `name` stands for the file in messages.
    kxKXBReader(kxMemoryBlock* bytes, const char* name);
    ~kxKXBReader();

    /// Adds the entries of the file to the directory. On failure reports one line, and adds nothing.
    bool read(kxDirectory& directory);

private:
    struct Type;
    struct Operation;

    [[gnu::format(printf, 2, 3)]] bool fail(const char* format, ...);
    [[gnu::format(printf, 2, 3)]] void warn(const char* format, ...);

    bool readHeader();
    bool readStrings();
    bool readTypes();
    bool bindType(const KXB::Type& header, std::vector<KXB::Field>& fields);
    void bindFields(Type& type, const std::vector<KXB::Field>& fields);
    Operation bindField(const Type& type, const KXB::Field& field, std::unordered_set<const kxMetaField*>& bound);
    bool createObjects();
    bool findLeaf(uint32_t slot, const KXB::Leaf& leaf);
    bool readRecords();
    bool readFields(kxObject* object, Type& type);
    bool readValue(const Type& type, Operation& operation, const uint8_t* source, void* value);
    bool readReference(const Type& type, Operation& operation, uint32_t number, void* value);
    bool readValueList(kxListBase* list, const Type& type);
    bool readObjectList(uint32_t slot, kxObjectList* list, Type& type);
    bool checkListDepth();
    bool areAllHeld();
    void dropUnheldObjects();
    bool callLoaded();
    bool areInfosRoots() const;
    bool readEntries();
    void dropReferences(uint32_t slot);

    const uint8_t* take(uint64_t byteCount)
    {
        if (byteCount > m_recordsLeft)
            return nullptr;
        const uint8_t* at = m_record;
        m_record += byteCount;
        m_recordsLeft -= byteCount;
        return at;
    }
    bool takeNumber(uint32_t& number)
    {
        const uint8_t* at = take(sizeof number);
        if (at)
            std::memcpy(&number, at, sizeof number);
        return at != nullptr;
    }
    bool getString(uint32_t number, kxStringRef& string) const
    {
        if (number > m_strings.size())
            return false;
        string = number ? m_strings[number - 1] : kxStringRef();
        return true;
    }
    const KXB::Section& section(KXB::SectionId id) const { return m_sections[id - 1]; }
    const uint8_t* bytesOf(KXB::SectionId id) const { return m_data + section(id).offset; }
    bool slotAccepts(uint32_t slot, const kxMetaObject* type) const;
    void noteHeld(uint32_t slot)
    {
        if (m_holders[slot] == kNoHolder)
            m_holders[slot] = m_slot;
    }

    kxMemoryBlock* m_bytes;
    const uint8_t* m_data;
    uint64_t m_size;
    const char* m_name;
    KXB::Section m_sections[KXB::kSectionCount] = {};
    std::vector<kxStringRef> m_strings;
    std::vector<Type> m_types;
    std::vector<uint32_t> m_slots; // number of the type of each object
    std::vector<kxSmartPointer<kxObject>> m_objects;
    uint32_t m_slot = 0;             // whose record is being read
    std::vector<uint32_t> m_holders; // for each slot, one that holds it, or one of the following
    static constexpr uint32_t kNoHolder = UINT32_MAX;
    static constexpr uint32_t kHeldByRoot = UINT32_MAX - 1;
    static constexpr uint32_t kBeingFollowed = UINT32_MAX - 2;
    const uint8_t* m_record = nullptr;
    uint64_t m_recordsLeft = 0;
    std::vector<std::pair<uint32_t, uint32_t>> m_listsInLists; // slots of the outer and the inner list
    std::vector<uint32_t> m_uncountedLists;                    // slots
    struct Root
    {
        kxStringRef name;
        kxStringRef path;
        kxObject* object;
        bool external;
    };
    std::vector<Root> m_roots;
    bool m_done = false;
};

/// What is done with the bytes of one field, or of several that lie side by side in the record as in memory.
struct kxKXBReader::Operation
{
    enum Code
    {
        SKIP,
        COPY,
        BOOLEAN,
        STRING,
        ENUMERATION,
        REFERENCE
    };
    Code code = SKIP;
    bool appendedInFile = false; // a byte stands in front of the value: is it there?
    bool appended = false;       // the value does not lie in the object itself
    bool warned = false;
    uint32_t byteCount = 0; // in the record
    uint32_t offset = 0;    // in the object
    const kxMetaField* field = nullptr;
    const kxMetaObject* referenced = nullptr;
    std::vector<int32_t> values; // of an enumeration, sorted; empty when any will do
};

struct kxKXBReader::Type
{
    kxStringRef name;
    KXB::Form form = KXB::OBJECT;
    const kxMetaObject* type = nullptr; // null: its objects are left out
    uint64_t fixedBytes = 0;            // of a record without appended fields
    bool hasAppended = false;
    std::vector<Operation> operations;
    // Lists:
    uint32_t elementBytes = 0;
    kxFieldKind elementKind = kxFieldKind::OBJECT;
    bool skipElements = false;
    const kxMetaObject* elementType = nullptr;
    bool warned = false;
};

} // namespace Kel::Core
