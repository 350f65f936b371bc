// The order of steps: everything that can be checked without objects; all objects, empty, in the order of the file; their
// contents; checks of the whole; the objects' own checks; the entries.
#include "platform/core/kxKXBReader.h"

#include "platform/core/kxClassReferences.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxMetaEnum.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTSerialMap.h"

#include <algorithm>
#include <cstdarg>
#include <unordered_map>

namespace Kel::Core
{

using namespace KXB;

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
    Form form = KXB::OBJECT;
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

kxKXBReader::kxKXBReader(kxMemoryBlock* bytes, const char* name)
    : m_bytes(bytes), m_data(bytes->getData()), m_size(bytes->getSize()), m_name(name)
{
}

kxKXBReader::~kxKXBReader()
{
    if (!m_done)
        for (uint32_t slot = 0; slot < m_objects.size(); ++slot)
            dropReferences(slot);
}

namespace
{

// Names come from the file: a line must stay one line, and must not steer the terminal.
std::string formatLine(const char* format, va_list arguments)
{
    char text[400];
    std::vsnprintf(text, sizeof text, format, arguments);
    for (char& c : text)
        if (c == 0)
            break;
        else if (static_cast<unsigned char>(c) < ' ' || c == '\x7f')
            c = '?';
    return text;
}

} // namespace

bool kxKXBReader::fail(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string line = formatLine(format, arguments);
    va_end(arguments);
    kxReport::error("%s: %s", m_name, line.c_str());
    return false;
}

void kxKXBReader::warn(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string line = formatLine(format, arguments);
    va_end(arguments);
    kxReport::warning("%s: %s", m_name, line.c_str());
}

bool kxKXBReader::read(kxDirectory& directory)
{
    if (!readHeader() || !readStrings() || !readTypes() || !createObjects() || !readRecords() || !checkListDepth() ||
        !readEntries())
        return false;
    dropUnheldObjects();
    if (!callLoaded())
        return false;
    m_done = true;
    for (const Root& root : m_roots)
        if (root.external)
            directory.addExternalEntry(root.path, root.object, root.name);
        else if (root.object)
            directory.addEntry(root.object, root.name);
    return true;
}

bool kxKXBReader::readHeader()
{
    Header header;
    if (m_size < sizeof header || std::memcmp(m_data, kMagic, sizeof kMagic) != 0)
        return fail("is not a KXB file");
    std::memcpy(&header, m_data, sizeof header);
    if (header.version == 0 || header.version > kVersion)
        return fail("has version %u of the format; this program reads versions up to %u", header.version, kVersion);
    if (header.fileBytes != m_size)
        return fail("is cut short or too long: it has %llu bytes and should have %llu",
                    static_cast<unsigned long long>(m_size), static_cast<unsigned long long>(header.fileBytes));
    const uint64_t tableEnd = sizeof header + uint64_t(header.sectionCount) * sizeof(Section);
    if (header.sectionCount > kMaxSections || tableEnd + kTrailerBytes > m_size)
        return fail("is damaged: its table of sections does not fit");

    Checksum checksum;
    checksum.add(m_data, m_size - kTrailerBytes);
    uint64_t sum;
    std::memcpy(&sum, m_data + m_size - kTrailerBytes, sizeof sum);
    if (sum != checksum.finish())
        return fail("is damaged: the checksum does not fit its contents");

    for (uint32_t i = 0; i < header.sectionCount; ++i)
    {
        Section section;
        std::memcpy(&section, m_data + sizeof header + i * sizeof section, sizeof section);
        const uint64_t end = m_size - kTrailerBytes;
        if (section.offset < tableEnd || section.offset > end || section.byteCount > end - section.offset ||
            section.offset % kBlockAlignment != 0)
            return fail("is damaged: section %u lies outside of the file", section.id);
        // Sections that this version does not know are passed over.
        if (section.id == 0 || section.id > kSectionCount)
            continue;
        if (m_sections[section.id - 1].id)
            return fail("is damaged: it has two sections %u", section.id);
        m_sections[section.id - 1] = section;
    }
    for (uint32_t id = 1; id <= kSectionCount; ++id)
        if (m_sections[id - 1].id != id)
            return fail("is damaged: section %u is missing", id);
    return true;
}

bool kxKXBReader::readStrings()
{
    const Section& strings = section(STRINGS);
    if (strings.count > strings.byteCount / sizeof(uint32_t))
        return fail("is damaged: %llu strings do not fit into %llu bytes",
                    static_cast<unsigned long long>(strings.count), static_cast<unsigned long long>(strings.byteCount));
    const uint8_t* length = bytesOf(STRINGS);
    const uint8_t* text = length + strings.count * sizeof(uint32_t);
    uint64_t left = strings.byteCount - strings.count * sizeof(uint32_t);
    m_strings.reserve(strings.count);
    for (uint64_t i = 0; i < strings.count; ++i, length += sizeof(uint32_t))
    {
        uint32_t bytes;
        std::memcpy(&bytes, length, sizeof bytes);
        if (bytes > left)
            return fail("is damaged: string %llu ends outside of the strings", static_cast<unsigned long long>(i));
        m_strings.emplace_back(std::string_view(reinterpret_cast<const char*>(text), bytes));
        text += bytes;
        left -= bytes;
    }
    return true;
}

// --- types ---

bool kxKXBReader::readTypes()
{
    const Section& types = section(TYPES);
    const uint8_t* at = bytesOf(TYPES);
    uint64_t left = types.byteCount;
    std::vector<Field> fields;
    for (uint64_t i = 0; i < types.count; ++i)
    {
        KXB::Type header;
        if (left < sizeof header)
            return fail("is damaged: type %llu of %llu is missing", static_cast<unsigned long long>(i),
                        static_cast<unsigned long long>(types.count));
        std::memcpy(&header, at, sizeof header);
        at += sizeof header;
        left -= sizeof header;
        if (header.fieldCount > left / sizeof(Field))
            return fail("is damaged: the fields of type %llu do not fit", static_cast<unsigned long long>(i));
        fields.resize(header.fieldCount);
        if (header.fieldCount)
            std::memcpy(fields.data(), at, header.fieldCount * sizeof(Field));
        at += header.fieldCount * sizeof(Field);
        left -= header.fieldCount * sizeof(Field);
        if (!bindType(header, fields))
            return false;
    }
    return true;
}

bool kxKXBReader::bindType(const KXB::Type& header, std::vector<Field>& fields)
{
    Type type;
    if (!getString(header.name, type.name) || type.name.isNull() || header.form < KXB::OBJECT || header.form > MEMORY)
        return fail("is damaged: type %zu has no name or no form", m_types.size());
    type.form = static_cast<Form>(header.form);
    for (const Field& field : fields)
    {
        kxStringRef name;
        const uint32_t expected = valueBytes(static_cast<kxFieldKind>(field.kind));
        if (!getString(field.name, name) || (expected && expected != field.byteCount))
            return fail("is damaged: a field of class %s has no name or the wrong size", type.name.c_str());
        const bool appended = (field.flags & kFieldAppended) != 0;
        type.hasAppended |= appended;
        type.fixedBytes += appended ? 1 : field.byteCount;
    }
    if (type.form == VALUE_LIST)
    {
        type.elementKind = static_cast<kxFieldKind>(header.elementKind);
        type.elementBytes = valueBytes(type.elementKind);
        if (type.elementBytes == 0)
            return fail("is damaged: class %s lists values of an unknown kind", type.name.c_str());
    }

    const kxMetaObject* known = kxMetaObject::find(type.name);
    if (type.form == CLASS || type.form == FIELD || type.form == MEMORY)
        type.type = kxObject::staticMetaObject(); // these are made or found without a type
    else if (!known)
        warn("class %s is unknown; its objects are left out", type.name.c_str());
    else if (known->isAbstract() || known->isDerivedFrom(kxMetaObject::staticMetaObject()) ||
             known->isDerivedFrom(kxMetaField::staticMetaObject()) ||
             known->isDerivedFrom(kxMemoryBlock::staticMetaObject()))
        warn("class %s has no objects of its own; those in the file are left out", type.name.c_str());
    else
    {
        const Form form = known->isDerivedFrom(kxObjectList::staticMetaObject()) ? OBJECT_LIST
                          : known->isDerivedFrom(kxListBase::staticMetaObject()) ? VALUE_LIST
                                                                                 : KXB::OBJECT;
        if (form != type.form)
            warn("class %s was %s a list when the file was written; its objects are left out", type.name.c_str(),
                 form == KXB::OBJECT ? "" : "not");
        else
            type.type = known;
    }

    if (type.type && type.form == KXB::OBJECT)
        bindFields(type, fields);
    else if (type.hasAppended)
        for (const Field& field : fields)
        {
            Operation& skip = type.operations.emplace_back();
            skip.byteCount = field.byteCount;
            skip.appendedInFile = (field.flags & kFieldAppended) != 0;
        }
    if (type.type && (type.form == VALUE_LIST || type.form == OBJECT_LIST))
    {
        const auto list = known->createInstanceRef<kxListBase>();
        if (type.form == OBJECT_LIST)
            type.elementType = static_cast<kxObjectList*>(list.get())->getElementType();
        else if (list->getElementField()->getKind() != type.elementKind)
        {
            type.skipElements = true;
            warn("class %s lists values of another kind now; its lists stay empty", type.name.c_str());
        }
    }
    m_types.push_back(std::move(type));
    return true;
}

void kxKXBReader::bindFields(Type& type, const std::vector<Field>& fields)
{
    for (const Field& field : fields)
    {
        Operation operation = bindField(type, field);
        if (!type.operations.empty() && !operation.appendedInFile && !operation.appended)
        {
            Operation& last = type.operations.back();
            const bool both = last.code == operation.code && !last.appendedInFile && !last.appended;
            const bool mergeable =
                operation.code == Operation::SKIP ||
                (operation.code == Operation::COPY && last.offset + last.byteCount == operation.offset);
            if (both && mergeable && last.byteCount <= UINT32_MAX - operation.byteCount)
            {
                last.byteCount += operation.byteCount;
                continue;
            }
        }
        type.operations.push_back(std::move(operation));
    }
}

kxKXBReader::Operation kxKXBReader::bindField(const Type& type, const Field& field)
{
    Operation operation;
    operation.byteCount = field.byteCount;
    operation.appendedInFile = (field.flags & kFieldAppended) != 0;
    kxStringRef name;
    getString(field.name, name);
    const kxMetaField* known = type.type->findField(name);
    if (!known || known->hasFlag(kxMetaField::NOT_SAVED))
        return operation;
    if (static_cast<uint32_t>(known->getKind()) != field.kind)
    {
        warn("field %s of class %s has another kind now and keeps its default", name.c_str(), type.name.c_str());
        return operation;
    }
    operation.field = known;
    operation.appended = known->isAppended();
    operation.offset = known->getOffset();
    switch (known->getKind())
    {
    case kxFieldKind::BOOL: operation.code = Operation::BOOLEAN; break;
    case kxFieldKind::STRING: operation.code = Operation::STRING; break;
    case kxFieldKind::OBJECT:
    case kxFieldKind::MEMORY:
        operation.code = Operation::REFERENCE;
        operation.referenced = known->getReferencedType();
        break;
    case kxFieldKind::ENUM:
        operation.code = Operation::ENUMERATION;
        if (const kxMetaEnum* names = known->getMetaEnum())
            for (const kxMetaEnum::Value& value : names->getValues())
                operation.values.push_back(value.value);
        std::sort(operation.values.begin(), operation.values.end());
        break;
    default: operation.code = Operation::COPY; break;
    }
    return operation;
}

// --- objects ---

bool kxKXBReader::createObjects()
{
    const Section& slots = section(SLOTS);
    if (slots.count != slots.byteCount / sizeof(uint32_t) || slots.count >= UINT32_MAX)
        return fail("is damaged: %llu objects do not fit into %llu bytes", static_cast<unsigned long long>(slots.count),
                    static_cast<unsigned long long>(slots.byteCount));
    m_slots.resize(slots.count);
    if (slots.count)
        std::memcpy(m_slots.data(), bytesOf(SLOTS), slots.count * sizeof(uint32_t));
    // Every record has its fixed part, so most wrong counts are found before anything is made.
    uint64_t recordBytes = 0;
    uint64_t leafCount = 0;
    for (const uint32_t number : m_slots)
    {
        if (number >= m_types.size())
            return fail("is damaged: an object has type %u of %zu", number, m_types.size());
        recordBytes += m_types[number].fixedBytes;
        leafCount += isLeaf(m_types[number].form);
        if (recordBytes > section(RECORDS).byteCount || leafCount > section(LEAVES).byteCount / sizeof(Leaf))
            return fail("is damaged: the records of its objects do not fit");
    }
    m_objects.resize(m_slots.size());
    const uint8_t* leafAt = bytesOf(LEAVES);
    for (uint32_t slot = 0; slot < m_slots.size(); ++slot)
    {
        const Type& type = m_types[m_slots[slot]];
        if (!isLeaf(type.form))
        {
            if (type.type)
                m_objects[slot] = type.type->createInstance();
            continue;
        }
        Leaf leaf;
        std::memcpy(&leaf, leafAt, sizeof leaf);
        leafAt += sizeof leaf;
        if (!findLeaf(slot, leaf))
            return false;
    }
    return true;
}

bool kxKXBReader::findLeaf(uint32_t slot, const Leaf& leaf)
{
    if (m_types[m_slots[slot]].form == MEMORY)
    {
        const uint64_t blockBytes = section(BLOCKS).byteCount;
        if (leaf.first > blockBytes || leaf.second > blockBytes - leaf.first || leaf.first % kBlockAlignment != 0)
            return fail("is damaged: a memory block of %llu bytes lies outside of the file",
                        static_cast<unsigned long long>(leaf.second));
        m_objects[slot] = m_bytes->slice(section(BLOCKS).offset + leaf.first, leaf.second);
        return true;
    }
    const bool isField = m_types[m_slots[slot]].form == FIELD;
    kxStringRef className, fieldName;
    if (leaf.first > m_strings.size() || leaf.second > m_strings.size() ||
        !getString(static_cast<uint32_t>(leaf.first), className) ||
        !getString(static_cast<uint32_t>(leaf.second), fieldName))
        return fail("is damaged: a class that it refers to has no name");
    kxMetaObject* type = kxMetaObject::find(className);
    if (!isField)
        m_objects[slot] = type;
    else if (type)
        m_objects[slot] = type->findField(fieldName);
    if (!m_objects[slot])
        warn("%s %s%s%s is unknown; references to it become null", isField ? "field" : "class", className.c_str(),
             isField ? "." : "", fieldName.c_str());
    return true;
}

bool kxKXBReader::readRecords()
{
    m_record = bytesOf(RECORDS);
    m_recordsLeft = section(RECORDS).byteCount;
    for (uint32_t slot = 0; slot < m_slots.size(); ++slot)
    {
        Type& type = m_types[m_slots[slot]];
        bool fits = true;
        switch (type.form)
        {
        case KXB::OBJECT: fits = readFields(m_objects[slot], type); break;
        case VALUE_LIST: fits = readValueList(static_cast<kxListBase*>(m_objects[slot].get()), type); break;
        case OBJECT_LIST: fits = readObjectList(slot, static_cast<kxObjectList*>(m_objects[slot].get()), type); break;
        default: break;
        }
        if (!fits)
            return fail("is damaged: object %u of class %s has a wrong record", slot + 1, type.name.c_str());
    }
    return true;
}

// False when the record does not fit or refers to what is not there; so are the functions that it calls.
bool kxKXBReader::readFields(kxObject* object, Type& type)
{
    if (!object && !type.hasAppended)
        return take(type.fixedBytes) != nullptr;
    for (Operation& operation : type.operations)
    {
        if (operation.appendedInFile)
        {
            const uint8_t* present = take(1);
            if (!present)
                return false;
            if (*present == 0)
                continue;
        }
        const uint8_t* source = take(operation.byteCount);
        if (!source)
            return false;
        if (!object || operation.code == Operation::SKIP)
            continue;
        void* value = operation.appended ? operation.field->getAddress(object)
                                         : reinterpret_cast<char*>(object) + operation.offset;
        if (!readValue(type, operation, source, value))
            return false;
    }
    return true;
}

bool kxKXBReader::readValue(const Type& type, Operation& operation, const uint8_t* source, void* value)
{
    uint32_t number = 0;
    if (operation.code == Operation::COPY)
    {
        std::memcpy(value, source, operation.byteCount);
        return true;
    }
    if (operation.code == Operation::BOOLEAN)
    {
        *static_cast<bool*>(value) = *source != 0;
        return true;
    }
    std::memcpy(&number, source, sizeof number);
    if (operation.code == Operation::STRING)
        return getString(number, *static_cast<kxStringRef*>(value));
    if (operation.code == Operation::REFERENCE)
        return readReference(type, operation, number, value);

    int32_t chosen;
    std::memcpy(&chosen, source, sizeof chosen);
    if (operation.values.empty() || std::binary_search(operation.values.begin(), operation.values.end(), chosen))
        std::memcpy(value, &chosen, sizeof chosen);
    else if (!operation.warned)
    {
        operation.warned = true;
        warn("field %s of class %s has no value %d; it keeps its default", operation.field->getName().c_str(),
             type.name.c_str(), chosen);
    }
    return true;
}

bool kxKXBReader::slotAccepts(uint32_t slot, const kxMetaObject* type) const
{
    if (!type || type == kxObject::staticMetaObject())
        return true;
    const Type& own = m_types[m_slots[slot]];
    return isLeaf(own.form) ? m_objects[slot]->isOfType(type) : own.type->isDerivedFrom(type);
}

bool kxKXBReader::readReference(const Type& type, Operation& operation, uint32_t number, void* value)
{
    if (number > m_objects.size())
        return false;
    const auto* field = static_cast<const kxObjectField*>(operation.field);
    kxObject* object = number ? m_objects[number - 1].get() : nullptr;
    if (!object)
    {
        // A list that the class always has stays there, empty: its code relies on it.
        if (!kxCast<kxListBase>(field->getObject(value)))
            field->setObject(value, nullptr);
        return true;
    }
    if (slotAccepts(number - 1, operation.referenced))
        field->setObject(value, object);
    else if (!operation.warned)
    {
        operation.warned = true;
        warn("field %s of class %s cannot refer to a %s; it keeps its default", field->getName().c_str(),
             type.name.c_str(), object->getTypeName());
    }
    return true;
}

bool kxKXBReader::readValueList(kxListBase* list, const Type& type)
{
    uint32_t count;
    if (!takeNumber(count))
        return false;
    const uint8_t* values = take(uint64_t(count) * type.elementBytes);
    if (!values || !list || type.skipElements || count == 0)
        return values != nullptr;
    if (type.elementKind == kxFieldKind::STRING)
    {
        std::vector<kxStringRef> strings(count);
        for (uint32_t i = 0; i < count; ++i)
        {
            uint32_t number;
            std::memcpy(&number, values + size_t(i) * sizeof number, sizeof number);
            if (!getString(number, strings[i]))
                return false;
        }
        return list->appendElementArray(strings.data(), count);
    }
    if (type.elementKind == kxFieldKind::BOOL)
    {
        std::vector<uint8_t> truths(values, values + count);
        for (uint8_t& truth : truths)
            truth = truth != 0;
        return list->appendElementArray(truths.data(), count);
    }
    return list->appendElementArray(values, count);
}

bool kxKXBReader::readObjectList(uint32_t slot, kxObjectList* list, Type& type)
{
    uint32_t count;
    if (!takeNumber(count))
        return false;
    const uint8_t* numbers = take(uint64_t(count) * sizeof(uint32_t));
    if (!numbers || !list)
        return numbers != nullptr;
    list->reserve(count);
    if (!list->isCounted() && count > 0)
        m_uncountedLists.push_back(slot);
    for (uint32_t i = 0; i < count; ++i)
    {
        uint32_t number;
        std::memcpy(&number, numbers + size_t(i) * sizeof number, sizeof number);
        if (number > m_objects.size())
            return false;
        kxObject* object = number ? m_objects[number - 1].get() : nullptr;
        if (object && !slotAccepts(number - 1, type.elementType))
        {
            if (!type.warned)
                warn("a %s cannot hold a %s; its place stays empty", type.name.c_str(), object->getTypeName());
            type.warned = true;
            object = nullptr;
        }
        if (object && m_types[m_slots[number - 1]].form == OBJECT_LIST)
            m_listsInLists.emplace_back(slot, number - 1);
        list->append(object);
    }
    return true;
}

// --- the whole ---

bool kxKXBReader::checkListDepth()
{
    if (m_listsInLists.empty())
        return true;
    // Lists that no list holds come first; a list follows when all that hold it have been seen.
    struct Node
    {
        uint32_t holders = 0;
        uint32_t depth = 1;
        std::vector<uint32_t> held;
    };
    std::unordered_map<uint32_t, Node> nodes;
    for (const auto& [outer, inner] : m_listsInLists)
    {
        nodes[outer].held.push_back(inner);
        ++nodes[inner].holders;
    }
    std::vector<Node*> ready;
    for (auto& [slot, node] : nodes)
        if (node.holders == 0)
            ready.push_back(&node);
    size_t seen = 0;
    uint32_t depth = 0;
    while (!ready.empty())
    {
        const Node* node = ready.back();
        ready.pop_back();
        ++seen;
        depth = std::max(depth, node->depth);
        for (const uint32_t slot : node->held)
        {
            Node& inner = nodes[slot];
            inner.depth = std::max(inner.depth, node->depth + 1);
            if (--inner.holders == 0)
                ready.push_back(&inner);
        }
    }
    if (seen < nodes.size())
        return fail("is damaged: it has a list that holds itself");
    return depth <= kMaxListDepth || fail("has lists within lists, %u deep; %u is the most", depth, kMaxListDepth);
}

// Lets go of what the roots do not hold, before any object acts on what was loaded: what hung below an object of an unknown
// class, and whatever else a file may bring along. Lists that do not count their elements rely on others to hold them, so
// such objects go from them too.
void kxKXBReader::dropUnheldObjects()
{
    kxTSerialMap<bool> held;
    kxClassReferencesTable classes;
    std::vector<const kxObject*> toFollow;
    auto meet = [&](const kxObject* object)
    {
        if (!object)
            return;
        bool& known = held[object];
        if (!known)
            toFollow.push_back(object);
        known = true;
    };
    for (const Root& root : m_roots)
        meet(root.object);
    while (!toFollow.empty())
    {
        const kxObject* object = toFollow.back();
        toFollow.pop_back();
        const kxClassReferences& type = classes.of(object);
        if (type.role == kxClassReferences::CLASS)
            continue;
        if (type.role == kxClassReferences::OBJECT_LIST)
        {
            const auto* list = static_cast<const kxObjectList*>(object);
            if (list->isCounted())
                for (const kxObject* element : *list)
                    meet(element);
        }
        for (const auto* fields : {&type.fields, &type.linksBack})
            for (const kxObjectField* field : *fields)
                if (const void* value = field->getAddress(object))
                    meet(field->getObject(value));
    }

    uint64_t dropped = 0;
    for (const uint32_t slot : m_uncountedLists)
    {
        auto* list = static_cast<kxObjectList*>(m_objects[slot].get());
        if (!held.get(list))
            continue;
        for (uint32_t i = 0; i < list->getCount(); ++i)
            if (list->get(i) && !held.get(list->get(i)))
            {
                list->set(i, nullptr);
                ++dropped;
            }
    }
    if (dropped)
        warn("%llu references to objects that nothing in the file owns become null",
             static_cast<unsigned long long>(dropped));

    std::vector<uint32_t> unheld;
    for (uint32_t slot = 0; slot < m_objects.size(); ++slot)
        if (m_objects[slot] && !held.get(m_objects[slot]))
            unheld.push_back(slot);
    for (const uint32_t slot : unheld)
        dropReferences(slot);
    for (const uint32_t slot : unheld)
        m_objects[slot] = nullptr;
}

bool kxKXBReader::callLoaded()
{
    auto isOwn = [this](size_t slot) { return m_objects[slot] && !isLeaf(m_types[m_slots[slot]].form); };
    for (size_t slot = 0; slot < m_objects.size(); ++slot)
        if (isOwn(slot))
            m_objects[slot]->userLoaded();
    std::string fault;
    for (size_t slot = 0; slot < m_objects.size(); ++slot)
        if (isOwn(slot) && !m_objects[slot]->userCheckLoaded(fault))
            return fail("%s", fault.c_str());
    return true;
}

bool kxKXBReader::readEntries()
{
    const Section& entries = section(ENTRIES);
    if (entries.count > entries.byteCount / sizeof(Entry))
        return fail("is damaged: %llu entries do not fit", static_cast<unsigned long long>(entries.count));
    const uint8_t* at = bytesOf(ENTRIES);
    for (uint64_t i = 0; i < entries.count; ++i, at += sizeof(Entry))
    {
        Entry entry;
        std::memcpy(&entry, at, sizeof entry);
        Root root;
        if (!getString(entry.name, root.name) || !getString(entry.path, root.path) || entry.object > m_objects.size())
            return fail("is damaged: entry %llu refers to what is not there", static_cast<unsigned long long>(i));
        root.object = entry.object ? m_objects[entry.object - 1].get() : nullptr;
        root.external = (entry.flags & kEntryExternal) != 0;
        m_roots.push_back(root);
    }
    return true;
}

// Breaks circles of references: their objects would never go.
void kxKXBReader::dropReferences(uint32_t slot)
{
    kxObject* object = m_objects[slot];
    const Type& type = m_types[m_slots[slot]];
    if (!object || isLeaf(type.form))
        return;
    if (type.form == OBJECT_LIST)
        static_cast<kxObjectList*>(object)->clear();
    for (const Operation& operation : type.operations)
    {
        if (operation.code != Operation::REFERENCE)
            continue;
        const auto* field = static_cast<const kxObjectField*>(operation.field);
        const void* value = field->getAddress(static_cast<const kxObject*>(object));
        // The lists of an object stay with it, empty: its destructor may ask them.
        if (value && !kxCast<kxListBase>(field->getObject(value)))
            field->setObject(field->getAddress(object), nullptr);
    }
}

} // namespace Kel::Core
