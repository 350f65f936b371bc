// How a native file is laid out; what its writer and its reader have to agree on.
//
//     header       magic, version, number of sections, bytes of the file
//     sections     a table: what, where, how many
//     STRINGS      lengths of all strings, then their bytes; string n of the file is number n + 1, 0 is the null string
//     TYPES        classes of the objects with the names, kinds and sizes of their saved fields
//     ENTRIES      the roots
//     SLOTS        for each object the number of its type; object n of the file is number n + 1, 0 is null
//     LEAVES       for each class, field and memory block among them in the same order which it is
//     RECORDS      for each of the others in the same order what it holds
//     BLOCKS       bytes of the memory blocks, each at a multiple of 16
//     checksum     over all of the above
//
// Everything is little-endian. Objects stand in the order in which they were created, and are created in that order again:
// a list sorted by identity is sorted in the copy as well.
#pragma once

#include "platform/core/kxMetaField.h"

#include <bit>
#include <cstring>

namespace Kel::Core::KXB
{

static_assert(std::endian::native == std::endian::little, "records are copied between file and memory as they are");

constexpr char kMagic[8] = {'\x89', 'K', 'X', 'B', '\r', '\n', '\x1a', '\n'}; // damaged by a transfer as text
constexpr uint32_t kVersion = 1;                                              // files of a higher version are refused
constexpr size_t kBlockAlignment = 16;
constexpr size_t kTrailerBytes = sizeof(uint64_t);
constexpr uint32_t kMaxSections = 64;
/// Lists within lists within lists: walks over nested lists use call depth.
constexpr uint32_t kMaxListDepth = 64;

struct Header
{
    char magic[8];
    uint32_t version;
    uint32_t sectionCount;
    uint64_t fileBytes;
    uint64_t unused;
};

enum SectionId : uint32_t
{
    STRINGS = 1,
    TYPES,
    ENTRIES,
    SLOTS,
    LEAVES,
    RECORDS,
    BLOCKS
};
constexpr uint32_t kSectionCount = 7;

struct Section
{
    uint32_t id;
    uint32_t unused;
    uint64_t offset;
    uint64_t byteCount;
    uint64_t count;
};

/// What stands in the file for an object.
enum Form : uint32_t
{
    OBJECT = 1,      ///< record: the fields of its type; one appended at run time has a byte in front, is it there?
    VALUE_LIST = 2,  ///< record: u32 count, values
    OBJECT_LIST = 3, ///< record: u32 count, numbers of objects
    CLASS = 4,       ///< leaf: name
    FIELD = 5,       ///< leaf: name of its class, name
    MEMORY = 6       ///< leaf: offset within BLOCKS, number of bytes
};
constexpr bool isLeaf(uint32_t form)
{
    return form >= CLASS;
}

struct Leaf
{
    uint64_t first;
    uint64_t second;
};

struct Type
{
    uint32_t name;
    uint32_t form;
    uint32_t elementKind; ///< of the values of a VALUE_LIST, else 0
    uint32_t fieldCount;  ///< of an OBJECT, else 0; so many `Field` follow
};

struct Field
{
    uint32_t name;
    uint32_t kind; ///< kxFieldKind
    uint32_t byteCount;
    uint32_t flags;
};
constexpr uint32_t kFieldAppended = 1;

struct Entry
{
    uint32_t name;
    uint32_t object;
    uint32_t path; ///< of an external entry
    uint32_t flags;
};
constexpr uint32_t kEntryExternal = 1;

/// Bytes of a value in a record, 0 for a kind that this version does not know.
constexpr uint32_t valueBytes(kxFieldKind kind)
{
    switch (kind)
    {
    case kxFieldKind::BOOL: return 1;
    case kxFieldKind::INT:
    case kxFieldKind::UNSIGNED:
    case kxFieldKind::FLOAT:
    case kxFieldKind::STRING:
    case kxFieldKind::ENUM:
    case kxFieldKind::OBJECT:
    case kxFieldKind::MEMORY: return 4;
    case kxFieldKind::LONG:
    case kxFieldKind::DOUBLE:
    case kxFieldKind::VEC2F: return 8;
    case kxFieldKind::VEC3F: return 12;
    case kxFieldKind::VEC4F:
    case kxFieldKind::QUATF: return 16;
    case kxFieldKind::MATRIX44F: return 64;
    case kxFieldKind::AABOX: return 24;
    }
    return 0;
}

/// Kinds whose values stand in the record as they stand in memory, whatever their bits.
constexpr bool isCopiedAsIs(kxFieldKind kind)
{
    return kind != kxFieldKind::BOOL && kind != kxFieldKind::STRING && kind != kxFieldKind::ENUM &&
           kind != kxFieldKind::OBJECT && kind != kxFieldKind::MEMORY;
}

/// Checksum of bytes that come in pieces. Four lanes of eight bytes keep pace with memory; every step is a bijection of the
/// lane, so a change within one word never goes unnoticed.
class Checksum
{
public:
    void add(const void* bytes, size_t byteCount);
    uint64_t finish();

private:
    static constexpr size_t kStripe = 32;
    void addStripe(const uint8_t* stripe);

    uint64_t m_lanes[4] = {0x243F6A8885A308D3, 0x13198A2E03707344, 0xA4093822299F31D0, 0x082EFA98EC4E6C89};
    uint8_t m_rest[kStripe];
    size_t m_restBytes = 0;
    uint64_t m_total = 0;
};

} // namespace Kel::Core::KXB
