// The order of steps: everything that can be checked without objects; all objects, empty, in the order of the file; their
// contents; checks of the whole; the objects' own checks; the entries. Here stand the first of these, the tables of the file;
// what makes objects stands in kxKXBReaderObjects.cpp.
#include "platform/core/kxKXBReader.h"

#include "platform/core/kxInfo.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxMetaEnum.h"
#include "platform/core/kxReport.h"

#include <algorithm>
#include <cstdarg>

namespace Kel::Core
{

using namespace KXB;

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
    if (areInfosRoots())
        directory.setInfosAreRoots();
    return true;
}

bool kxKXBReader::areInfosRoots() const
{
    std::vector<bool> isInfo;
    for (const Type& type : m_types)
        isInfo.push_back(type.type && type.type->isDerivedFrom(kxInfo::staticMetaObject()));
    uint32_t infoCount = 0;
    for (const uint32_t type : m_slots)
        infoCount += isInfo[type];
    std::vector<const kxObject*> roots;
    for (const Root& root : m_roots)
        if (root.object && root.object->isOfType(kxInfo::staticMetaObject()))
            roots.push_back(root.object);
    std::sort(roots.begin(), roots.end());
    return std::unique(roots.begin(), roots.end()) - roots.begin() == infoCount;
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
    std::unordered_set<const kxMetaField*> bound;
    for (const Field& field : fields)
    {
        Operation operation = bindField(type, field, bound);
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

kxKXBReader::Operation kxKXBReader::bindField(const Type& type, const Field& field,
                                              std::unordered_set<const kxMetaField*>& bound)
{
    Operation operation;
    operation.byteCount = field.byteCount;
    operation.appendedInFile = (field.flags & kFieldAppended) != 0;
    kxStringRef name;
    getString(field.name, name);
    const kxMetaField* known = type.type->findField(name);
    if (!known || known->hasFlag(kxMetaField::NOT_SAVED))
        return operation;
    // Of a field that is there twice the first counts: what the second one replaced would be taken for held.
    if (!bound.insert(known).second)
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

} // namespace Kel::Core
