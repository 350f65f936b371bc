// Three passes: find what is owned by the roots; number it in order of creation; write the records. No pass uses call depth.
#include "platform/core/kxKXBWriter.h"

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxReport.h"

#include <algorithm>

namespace Kel::Core
{

using namespace KXB;

/// What the writer has to know of a class, found out once.
struct kxKXBWriter::Type
{
    const kxMetaObject* type = nullptr;
    Form form = OBJECT;
    kxFieldKind elementKind = kxFieldKind::OBJECT; // of a VALUE_LIST
    bool savable = true;
    bool hasAppended = false;
    std::vector<const kxObjectField*> owned; // saved references to follow
    std::vector<const kxObjectField*> linksBack;
    std::vector<const kxMetaField*> saved;
    std::vector<const kxMetaField*> usedAppended; // those that some object in the file has a value for

    /// Step that writes a field, or several that lie side by side in memory as in the record.
    struct Operation
    {
        const kxMetaField* field;
        uint32_t offset;
        uint32_t byteCount;
        kxFieldKind kind;
        bool copied;
        bool appended;
    };
    std::vector<Operation> operations;
    std::vector<const kxMetaField*> fields; // as they stand in the record
    uint64_t fixedBytes = 0;                // of the record, values of appended fields and elements left out
    uint32_t number = 0;                    // in the file, once it is used
    bool inFile = false;
};

kxKXBWriter::kxKXBWriter(const kxDirectory& directory, const char* name) : m_directory(directory), m_name(name)
{
    collect();
    numberObjects();
    writeRecords();
    writeTypes();
    writeEntries();
    writeStrings(); // last: the others ask for strings
    layOut();
    if (m_leftOut)
        kxReport::warning("%s: %llu references to objects that nothing in the file owns are left out", m_name,
                          static_cast<unsigned long long>(m_leftOut));
}

kxKXBWriter::~kxKXBWriter() = default;

// --- types ---

kxKXBWriter::Type& kxKXBWriter::typeOf(const kxObject* object)
{
    const kxMetaObject* meta = object->getMetaObject();
    const size_t index = meta->getIndex();
    if (index < m_typeByIndex.size() && m_typeByIndex[index] && m_typeByIndex[index]->type == meta)
        return *m_typeByIndex[index];
    std::unique_ptr<Type>& type = m_types[meta];
    if (!type)
    {
        type = std::make_unique<Type>();
        type->type = meta;
        describeType(*type);
    }
    if (index >= m_typeByIndex.size())
        m_typeByIndex.resize(index + 1);
    m_typeByIndex[index] = type.get();
    return *type;
}

void kxKXBWriter::describeType(Type& type)
{
    const kxMetaObject* meta = type.type;
    if (meta->isDerivedFrom(kxMetaObject::staticMetaObject()))
        type.form = CLASS;
    else if (meta->isDerivedFrom(kxMetaField::staticMetaObject()))
        type.form = FIELD;
    else if (meta->isDerivedFrom(kxMemoryBlock::staticMetaObject()))
        type.form = MEMORY;
    else
    {
        type.savable = !meta->isAbstract() && kxMetaObject::find(meta->getName()) == meta;
        if (!type.savable)
        {
            kxReport::warning("%s: objects of class %s cannot be made by name and are left out", m_name,
                              meta->getName().c_str());
            return;
        }
        if (meta->isDerivedFrom(kxObjectList::staticMetaObject()))
            type.form = OBJECT_LIST;
        else if (meta->isDerivedFrom(kxListBase::staticMetaObject()))
        {
            type.form = VALUE_LIST;
            const auto list = meta->createInstanceRef<kxListBase>();
            type.elementKind = list->getElementField()->getKind();
        }
    }
    if (type.form != OBJECT)
        return;
    for (const kxMetaField* field : meta->getFields())
    {
        if (field->hasFlag(kxMetaField::NOT_SAVED))
            continue;
        type.saved.push_back(field);
        type.hasAppended |= field->isAppended();
        if (field->getKind() == kxFieldKind::OBJECT || field->getKind() == kxFieldKind::MEMORY)
            (field->hasFlag(kxMetaField::LINK_BACK) ? type.linksBack : type.owned)
                .push_back(static_cast<const kxObjectField*>(field));
    }
}

void kxKXBWriter::listOperations(Type& type)
{
    for (const kxMetaField* field : type.saved)
    {
        const bool appended = field->isAppended();
        if (appended && std::find(type.usedAppended.begin(), type.usedAppended.end(), field) == type.usedAppended.end())
            continue;
        const kxFieldKind kind = field->getKind();
        const uint32_t bytes = valueBytes(kind);
        const bool copied = isCopiedAsIs(kind) || kind == kxFieldKind::ENUM || kind == kxFieldKind::BOOL;
        type.fields.push_back(field);
        type.fixedBytes += appended ? 1 : bytes;
        if (!type.operations.empty())
        {
            Type::Operation& last = type.operations.back();
            if (copied && !appended && last.copied && !last.appended &&
                last.offset + last.byteCount == field->getOffset())
            {
                last.byteCount += bytes;
                continue;
            }
        }
        type.operations.push_back({field, field->getOffset(), bytes, kind, copied, appended});
    }
}

// --- finding what belongs to the file ---

// Has the object and its state fetched while other references are worked on, then calls `arrive(reference)`, in order.
template <class F>
void kxKXBWriter::approach(const Reference& reference, F arrive)
{
    __builtin_prefetch(reference.object);
    m_nearObjects.push(reference, [&](Reference near) { approachState(near, arrive); });
}

template <class F>
void kxKXBWriter::approachState(Reference near, F arrive)
{
    near.state = &m_states[near.object];
    __builtin_prefetch(near.state);
    m_nearStates.push(near, arrive);
}

template <class F>
void kxKXBWriter::arriveAll(F arrive)
{
    m_nearObjects.flush([&](const Reference& near) { approachState(near, arrive); });
    m_nearStates.flush(arrive);
}

void kxKXBWriter::collect()
{
    const auto settleOne = [this](const Reference& reference) { settle(reference); };
    for (const kxDirEntry* entry : *m_directory._entries)
        meet(entry->getObject(), true);
    arriveAll(settleOne);
    while (!m_toFollow.empty())
    {
        const kxObject* object = m_toFollow.back();
        m_toFollow.pop_back();
        followReferences(object);
        if (m_toFollow.empty())
            arriveAll(settleOne);
    }
}

void kxKXBWriter::meet(const kxObject* object, bool follow)
{
    if (object)
        approach({object, nullptr, nullptr, follow, true}, [this](const Reference& reference) { settle(reference); });
}

void kxKXBWriter::settle(const Reference& reference)
{
    State& state = *reference.state;
    if (state.object && (state.followed || !reference.follow))
        return;
    if (!state.object && !canBeSaved(reference.object, typeOf(reference.object)))
        return;
    state.object = reference.object;
    if (reference.follow)
    {
        state.followed = true;
        m_toFollow.push_back(reference.object);
    }
}

bool kxKXBWriter::canBeSaved(const kxObject* object, const Type& type)
{
    if (type.form == CLASS)
    {
        const auto* meta = static_cast<const kxMetaObject*>(object);
        return kxMetaObject::find(meta->getName()) == meta;
    }
    if (type.form == FIELD)
    {
        const auto* field = static_cast<const kxMetaField*>(object);
        const kxMetaObject* owner = field->getOwner();
        return owner && kxMetaObject::find(owner->getName()) == owner && owner->findField(field->getName()) == field;
    }
    return type.savable;
}

void kxKXBWriter::followReferences(const kxObject* object)
{
    Type& type = typeOf(object);
    if (type.form == OBJECT_LIST)
    {
        const auto* list = static_cast<const kxObjectList*>(object);
        // What a list does not count it does not own either.
        if (list->isCounted())
            for (const kxObject* element : *list)
                meet(element, true);
        return;
    }
    for (const kxObjectField* field : type.owned)
        if (const void* value = field->getAddress(object))
            meet(field->getObject(value), true);
    // A list belongs to the object that refers to it, whatever it lists.
    for (const kxObjectField* field : type.linksBack)
        if (const void* value = field->getAddress(object))
            if (const auto* list = kxCast<kxListBase>(field->getObject(value)))
                meet(list, false);
    if (type.hasAppended)
        for (const kxMetaField* field : type.saved)
            if (field->isAppended() && field->getAddress(object) &&
                std::find(type.usedAppended.begin(), type.usedAppended.end(), field) == type.usedAppended.end())
                type.usedAppended.push_back(field);
}

void kxKXBWriter::numberObjects()
{
    m_states.forEach(
        [this](State& state)
        {
            if (!state.object)
                return;
            m_objects.push_back(state.object);
            state.number = static_cast<uint32_t>(m_objects.size());
        });
    m_slots.reserve(m_objects.size());
    for (const kxObject* object : m_objects)
    {
        Type& type = typeOf(object);
        if (!type.inFile)
        {
            type.inFile = true;
            type.number = static_cast<uint32_t>(m_typesInFile.size());
            m_typesInFile.push_back(&type);
            listOperations(type);
        }
        m_slots.push_back(type.number);
        m_recordBytes += recordBytes(object, type);
    }
}

uint64_t kxKXBWriter::recordBytes(const kxObject* object, const Type& type)
{
    switch (type.form)
    {
    case CLASS:
    case FIELD:
    case MEMORY: return 0;
    case VALUE_LIST:
        return sizeof(uint32_t) +
               uint64_t(static_cast<const kxListBase*>(object)->getCount()) * valueBytes(type.elementKind);
    case OBJECT_LIST:
    {
        const auto* list = static_cast<const kxObjectList*>(object);
        uint64_t count = list->getCount();
        if (!m_states.get(object).followed)
            count = static_cast<uint64_t>(std::count_if(
                list->begin(), list->end(), [this](const kxObject* o) { return o && m_states.get(o).object; }));
        return sizeof(uint32_t) + count * sizeof(uint32_t);
    }
    case OBJECT: break;
    }
    uint64_t bytes = type.fixedBytes;
    if (!type.usedAppended.empty())
        for (const kxMetaField* field : type.fields)
            if (field->isAppended() && field->getAddress(object))
                bytes += valueBytes(field->getKind());
    return bytes;
}

// --- records ---

void kxKXBWriter::put(const void* bytes, size_t byteCount)
{
    std::memcpy(m_at, bytes, byteCount);
    m_at += byteCount;
}

void kxKXBWriter::writeRecords()
{
    m_records = std::make_unique_for_overwrite<uint8_t[]>(m_recordBytes);
    m_at = m_records.get();
    for (size_t i = 0; i < m_objects.size(); ++i)
    {
        const kxObject* object = m_objects[i];
        const Type& type = *m_typesInFile[m_slots[i]];
        switch (type.form)
        {
        case OBJECT: writeFields(object, type); break;
        case VALUE_LIST: writeValueList(static_cast<const kxListBase*>(object), type.elementKind); break;
        case OBJECT_LIST: writeObjectList(static_cast<const kxObjectList*>(object)); break;
        default: m_leaves.push_back(makeLeaf(object, type)); break;
        }
    }
    arriveAll([this](const Reference& reference) { putNumber(reference); });
}

Leaf kxKXBWriter::makeLeaf(const kxObject* object, const Type& type)
{
    if (type.form == CLASS)
        return {numberOf(static_cast<const kxMetaObject*>(object)->getName()), 0};
    if (type.form == FIELD)
    {
        const auto* field = static_cast<const kxMetaField*>(object);
        const uint32_t owner = numberOf(field->getOwner()->getName());
        return {owner, numberOf(field->getName())};
    }
    const auto* block = static_cast<const kxMemoryBlock*>(object);
    return {offsetOf(block), block->getSize()};
}

void kxKXBWriter::writeFields(const kxObject* object, const Type& type)
{
    for (const Type::Operation& operation : type.operations)
    {
        const void* value = reinterpret_cast<const char*>(object) + operation.offset;
        if (operation.appended)
        {
            value = operation.field->getAddress(object);
            const uint8_t present = value != nullptr;
            put(&present, sizeof present);
            if (!value)
                continue;
        }
        if (operation.copied)
            put(value, operation.byteCount);
        else
            writeValue(operation.kind, value);
    }
}

void kxKXBWriter::writeValue(kxFieldKind kind, const void* value)
{
    if (kind == kxFieldKind::STRING)
        put(numberOf(*static_cast<const kxStringRef*>(value)));
    else
    {
        const kxObject* object;
        std::memcpy(&object, value, sizeof(void*));
        putNumberLater(object, true);
    }
}

void kxKXBWriter::writeValueList(const kxListBase* list, kxFieldKind kind)
{
    const uint32_t count = list->getCount();
    put(count);
    if (count == 0)
        return;
    if (kind != kxFieldKind::STRING)
        return put(list->getElementArray(), size_t(count) * valueBytes(kind));
    for (uint32_t i = 0; i < count; ++i)
        writeValue(kind, list->getElementAddress(i));
}

void kxKXBWriter::writeObjectList(const kxObjectList* list)
{
    if (m_states.get(list).followed)
    {
        put(list->getCount());
        for (const kxObject* element : *list)
            putNumberLater(element, list->isCounted());
        return;
    }
    // In a list of links back what is not in the file is no loss; elsewhere places count.
    uint8_t* countAt = m_at;
    m_at += sizeof(uint32_t);
    uint32_t count = 0;
    for (const kxObject* element : *list)
        if (const uint32_t number = numberOf(element))
        {
            put(number);
            ++count;
        }
    std::memcpy(countAt, &count, sizeof count);
}

void kxKXBWriter::putNumberLater(const kxObject* object, bool isCounted)
{
    uint8_t* target = m_at;
    put(0u);
    if (object)
        approach({object, nullptr, target, false, isCounted},
                 [this](const Reference& reference) { putNumber(reference); });
}

void kxKXBWriter::putNumber(const Reference& reference)
{
    const uint32_t number = reference.state->number;
    if (number == 0 && !reference.isCounted)
        ++m_leftOut;
    std::memcpy(reference.target, &number, sizeof number);
}

uint32_t kxKXBWriter::numberOf(kxStringRef string)
{
    if (string.isNull())
        return 0;
    const size_t inPool = string.getNumber();
    if (inPool >= m_stringNumbers.size())
        m_stringNumbers.resize(std::max(inPool + 1, m_stringNumbers.size() * 2));
    uint32_t& number = m_stringNumbers[inPool];
    if (number == 0)
    {
        m_strings.push_back(string);
        number = static_cast<uint32_t>(m_strings.size());
    }
    return number;
}

uint64_t kxKXBWriter::offsetOf(const kxMemoryBlock* block)
{
    const Bytes bytes{block->getData(), block->getSize()};
    if (bytes.byteCount == 0)
        return 0;
    const auto [at, added] = m_blockOffsets.try_emplace(bytes, m_blockBytes);
    if (added)
    {
        m_blocks.push_back(bytes);
        m_blockBytes += (bytes.byteCount + kBlockAlignment - 1) & ~(kBlockAlignment - 1);
    }
    return at->second;
}

// --- the other sections ---

namespace
{

template <class T>
void append(std::string& section, const T& value)
{
    section.append(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

void kxKXBWriter::writeTypes()
{
    for (const Type* type : m_typesInFile)
    {
        append(m_typeBytes, KXB::Type{numberOf(type->type->getName()), type->form,
                                      type->form == VALUE_LIST ? static_cast<uint32_t>(type->elementKind) : 0,
                                      static_cast<uint32_t>(type->fields.size())});
        for (const kxMetaField* field : type->fields)
            append(m_typeBytes, Field{numberOf(field->getName()), static_cast<uint32_t>(field->getKind()),
                                      valueBytes(field->getKind()), field->isAppended() ? kFieldAppended : 0});
    }
}

void kxKXBWriter::writeEntries()
{
    for (const kxDirEntry* entry : *m_directory._entries)
    {
        const auto* external = kxCast<kxExternalDirEntry>(entry);
        append(m_entryBytes, Entry{numberOf(entry->getName()), numberOf(entry->getObject()),
                                   external ? numberOf(external->getPath()) : 0, external ? kEntryExternal : 0});
    }
}

void kxKXBWriter::writeStrings()
{
    for (const kxStringRef string : m_strings)
        append(m_stringBytes, static_cast<uint32_t>(string.length()));
    for (const kxStringRef string : m_strings)
        m_stringBytes += string.view();
}

void kxKXBWriter::layOut()
{
    const Section sections[kSectionCount] = {
        {STRINGS, 0, 0, m_stringBytes.size(), m_strings.size()},
        {TYPES, 0, 0, m_typeBytes.size(), m_typesInFile.size()},
        {ENTRIES, 0, 0, m_entryBytes.size(), m_entryBytes.size() / sizeof(Entry)},
        {SLOTS, 0, 0, m_slots.size() * sizeof(uint32_t), m_slots.size()},
        {LEAVES, 0, 0, m_leaves.size() * sizeof(Leaf), m_leaves.size()},
        {RECORDS, 0, 0, m_recordBytes, m_objects.size() - m_leaves.size()},
        {BLOCKS, 0, 0, m_blockBytes, m_blocks.size()},
    };
    uint64_t offset = sizeof(Header) + sizeof m_sections;
    for (size_t i = 0; i < kSectionCount; ++i)
    {
        m_sections[i] = sections[i];
        m_sections[i].offset = offset;
        offset += (sections[i].byteCount + kBlockAlignment - 1) & ~uint64_t(kBlockAlignment - 1);
    }
    m_fileBytes = offset + kTrailerBytes;
}

bool kxKXBWriter::write(const Output& output) const
{
    Checksum checksum;
    auto send = [&](const void* bytes, uint64_t byteCount)
    {
        static constexpr char kPadding[kBlockAlignment] = {};
        const uint64_t padding = (kBlockAlignment - byteCount % kBlockAlignment) % kBlockAlignment;
        checksum.add(bytes, byteCount);
        checksum.add(kPadding, padding);
        return output(bytes, byteCount) && (padding == 0 || output(kPadding, padding));
    };

    Header header = {};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    header.version = kVersion;
    header.sectionCount = kSectionCount;
    header.fileBytes = m_fileBytes;
    if (!send(&header, sizeof header) || !send(m_sections, sizeof m_sections) ||
        !send(m_stringBytes.data(), m_stringBytes.size()) || !send(m_typeBytes.data(), m_typeBytes.size()) ||
        !send(m_entryBytes.data(), m_entryBytes.size()) || !send(m_slots.data(), m_slots.size() * sizeof(uint32_t)) ||
        !send(m_leaves.data(), m_leaves.size() * sizeof(Leaf)) || !send(m_records.get(), m_recordBytes))
        return false;
    for (const Bytes& block : m_blocks)
        if (!send(block.data, block.byteCount))
            return false;
    const uint64_t sum = checksum.finish();
    return output(&sum, sizeof sum);
}

} // namespace Kel::Core
