// Writing of native files.
#pragma once

#include "platform/core/kxClassReferences.h"
#include "platform/core/kxDelayLine.h"
#include "platform/core/kxDirectory.h"
#include "platform/core/kxKXBLayout.h"
#include "platform/core/kxTSerialMap.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Kel::Core
{

/// Makes the bytes of one file. Everything but the contents of memory blocks is gathered first, since the header says where
/// it will stand; the blocks go from where they are to the file.
class kxKXBWriter
{
public:
    /// Takes bytes in order; false when it can take no more.
    using Output = std::function<bool(const void* bytes, uint64_t byteCount)>;

    /// `name` stands for the file in warnings. Both must outlive the writer, and the objects must stay as they are.
    kxKXBWriter(const kxDirectory& directory, const char* name);
    ~kxKXBWriter();

    uint64_t getFileBytes() const { return m_fileBytes; }
    bool write(const Output& output) const;

private:
    struct Type;
    struct State
    {
        const kxObject* object; // null: not in the file
        uint32_t number;        // in the file, from 1
        bool followed;          // what it refers to is in the file
    };

    /// A reference on its way: the object that it leads to may lie anywhere, and so may its state.
    struct Reference
    {
        const kxObject* object;
        State* state;
        uint8_t* target; // where its number goes
        bool follow;     // what the object refers to belongs in the file as well
        bool isCounted;  // the reference owns the object
    };

    void collect();
    void meet(const kxObject* object, bool follow);
    void settle(const Reference& reference);
    void putNumberLater(const kxObject* object, bool isCounted);
    void putNumber(const Reference& reference);
    template <class F>
    void approach(const Reference& reference, F arrive);
    template <class F>
    void approachState(Reference near, F arrive);
    template <class F>
    void arriveAll(F arrive);
    void followReferences(const kxObject* object);
    void numberObjects();
    void writeRecords();
    void writeTypes();
    void writeEntries();
    void writeStrings();
    void layOut();

    Type& typeOf(const kxObject* object);
    void describeType(Type& type);
    bool canBeSaved(const kxObject* object, const Type& type);
    void listOperations(Type& type);
    uint64_t recordBytes(const kxObject* object, const Type& type);
    KXB::Leaf makeLeaf(const kxObject* object, const Type& type);
    void writeFields(const kxObject* object, const Type& type);
    void writeValueList(const kxListBase* list, kxFieldKind kind);
    void writeObjectList(const kxObjectList* list);
    void writeValue(kxFieldKind kind, const void* value);
    void put(const void* bytes, size_t byteCount);
    void put(uint32_t number) { put(&number, sizeof number); }

    uint32_t numberOf(const kxObject* object) const { return object ? m_states.get(object).number : 0; }
    uint32_t numberOf(kxStringRef string);
    uint64_t offsetOf(const kxMemoryBlock* block);

    const kxDirectory& m_directory;
    const char* m_name;
    kxTSerialMap<State> m_states;
    kxDelayLine<Reference, 8> m_nearObjects; // of these the object is asked for
    kxDelayLine<Reference, 8> m_nearStates;  // and of these the state
    std::vector<const kxObject*> m_toFollow;
    std::vector<const kxObject*> m_objects; // in the order of the file
    uint64_t m_leftOut = 0;                 // references to objects that nothing in the file owns
    std::unordered_map<const kxMetaObject*, std::unique_ptr<Type>> m_types;
    std::vector<Type*> m_typeByIndex; // of registered classes
    std::vector<Type*> m_typesInFile;

    std::vector<kxStringRef> m_strings;
    std::vector<uint32_t> m_stringNumbers; // by number in the pool

    struct Bytes
    {
        const uint8_t* data;
        size_t byteCount;
        bool operator==(const Bytes&) const = default;
    };
    struct BytesHash
    {
        size_t operator()(const Bytes& bytes) const
        {
            return hashBytes(&bytes.data, sizeof bytes.data, bytes.byteCount);
        }
    };
    std::vector<Bytes> m_blocks;
    std::unordered_map<Bytes, uint64_t, BytesHash> m_blockOffsets;
    uint64_t m_blockBytes = 0;

    // The sections as they go to the file; BLOCKS is put together on the way.
    std::string m_stringBytes;
    std::string m_typeBytes;
    std::string m_entryBytes;
    std::vector<uint32_t> m_slots;
    std::vector<KXB::Leaf> m_leaves;
    std::unique_ptr<uint8_t[]> m_records;
    uint64_t m_recordBytes = 0;
    uint8_t* m_at = nullptr; // in the records
    KXB::Section m_sections[KXB::kSectionCount];
    uint64_t m_fileBytes = 0;
};

} // namespace Kel::Core
