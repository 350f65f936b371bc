// Objects of a native file: made empty, filled, and checked as a whole.
#include "platform/core/kxKXBReader.h"

#include "platform/core/kxClassReferences.h"
#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxTSerialMap.h"

#include <algorithm>
#include <utility>
#include <unordered_map>

namespace Kel::Core
{

using namespace KXB;

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
    m_holders.assign(m_slots.size(), kNoHolder);
    for (uint32_t slot = 0; slot < m_slots.size(); ++slot)
    {
        m_slot = slot;
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
    {
        noteHeld(number - 1);
        field->setObject(value, object);
    }
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
        if (object && list->isCounted())
            noteHeld(number - 1);
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

// Mostly it is enough to follow one holder of each slot, and no object has to be looked at. False does not mean that there is
// one that nobody holds: another holder may lead to a root.
bool kxKXBReader::areAllHeld()
{
    std::vector<uint32_t> path;
    for (uint32_t slot = 0; slot < m_holders.size(); ++slot)
    {
        if (!m_objects[slot])
            continue;
        uint32_t at = slot;
        while (m_holders[at] < kBeingFollowed)
        {
            path.push_back(at);
            at = std::exchange(m_holders[at], kBeingFollowed);
        }
        if (m_holders[at] != kHeldByRoot)
            return false;
        for (const uint32_t passed : path)
            m_holders[passed] = kHeldByRoot;
        path.clear();
    }
    return true;
}

// Lets go of what the roots do not hold, before any object acts on what was loaded: what hung below an object of an unknown
// class, and whatever else a file may bring along. Lists that do not count their elements rely on others to hold them, so
// such objects go from them too.
void kxKXBReader::dropUnheldObjects()
{
    const bool isAllHeld = areAllHeld();
    m_holders = {};
    if (isAllHeld)
        return;
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
        if (root.object)
            m_holders[entry.object - 1] = kHeldByRoot;
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
