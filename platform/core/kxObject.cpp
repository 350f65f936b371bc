// Life of objects, comparison, copying and walking of fields.
#include "platform/core/kxObject.h"

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxObjectList.h"
#include "platform/core/kxStringObj.h"

#include <cstdio>
#include <cstdlib>
#include <unordered_map>
#include <vector>

namespace Kel::Core
{

kxMetaObject* kxObject::s_metaObject = nullptr;

namespace
{

uint32_t g_lastSerial = 0;
size_t g_liveCount = 0;
bool g_destroying = false;

std::vector<const kxObject*>& waitingObjects()
{
    static auto* waiting = new std::vector<const kxObject*>;
    return *waiting;
}

} // namespace

/// Values of the fields that were appended to the object's classes at run time. Small ones lie in the block itself; none moves
/// while the object lives.
struct kxObject::SideBlock
{
    struct Entry
    {
        const kxMetaField* field;
        union
        {
            void* far;
            alignas(8) char near[8];
        };

        static bool isNear(const kxMetaField* field) { return field->getValueSize() <= sizeof(near); }
        void* getValue() { return isNear(field) ? near : far; }
    };
    static constexpr uint32_t kEntries = 4; // who appends one field mostly appends some

    Entry entries[kEntries];
    uint32_t count = 0;
    SideBlock* next = nullptr;

    static SideBlock* create() { return new (kxMemoryPool::getDefault().allocate(sizeof(SideBlock))) SideBlock; }

    void* append(const kxMetaField* field)
    {
        Entry& entry = entries[count++];
        entry.field = field;
        if (!Entry::isNear(field))
            entry.far = kxMemoryPool::getDefault().allocate(field->getValueSize());
        field->constructValue(entry.getValue());
        return entry.getValue();
    }

    static void release(SideBlock* block)
    {
        while (block)
        {
            for (uint32_t i = 0; i < block->count; ++i)
            {
                Entry& entry = block->entries[i];
                entry.field->destroyValue(entry.getValue());
                if (!Entry::isNear(entry.field))
                    kxMemoryPool::release(entry.far, entry.field->getValueSize());
            }
            SideBlock* const next = block->next;
            kxMemoryPool::release(block, sizeof(SideBlock));
            block = next;
        }
    }
};

kxObject::kxObject() : m_serial(++g_lastSerial)
{
    ++g_liveCount;
    if (m_serial == 0)
    {
        // Numbers that repeat would mix objects up without a sign.
        std::fputs("object numbers are used up\n", stderr);
        std::abort();
    }
}

kxObject::~kxObject()
{
    SideBlock::release(m_side);
    --g_liveCount;
    // Most objects are short-lived helpers: their numbers are given out again, or a long run would use all of them up.
    if (m_serial == g_lastSerial)
        --g_lastSerial;
}

void kxObject::leaveLiveCount()
{
    --g_liveCount;
}

size_t kxObject::getLiveCount()
{
    return g_liveCount;
}

void kxObject::destroy() const
{
    // While one object is being destroyed, others that lose their last reference wait: a chain of a million nodes is
    // released link by link, not a million calls deep.
    auto& waiting = waitingObjects();
    waiting.push_back(this);
    if (g_destroying)
        return;
    g_destroying = true;
    while (!waiting.empty())
    {
        const kxObject* object = waiting.back();
        waiting.pop_back();
        delete object;
    }
    g_destroying = false;
}

const char* kxObject::getTypeName() const
{
    return getMetaObject()->getName().c_str();
}

void* kxObject::getSideValue(const kxMetaField* field, bool create) const
{
    SideBlock* last = nullptr;
    for (SideBlock* block = m_side; block; block = block->next)
    {
        for (uint32_t i = 0; i < block->count; ++i)
            if (block->entries[i].field == field)
                return block->entries[i].getValue();
        last = block;
    }
    if (!create)
        return nullptr;
    if (!last || last->count == SideBlock::kEntries)
    {
        SideBlock* const added = SideBlock::create();
        (last ? last->next : m_side) = added;
        last = added;
    }
    return last->append(field);
}

bool kxObject::isAlikeShallow(const kxObject* other) const
{
    if (this == other)
        return true;
    if (!other || !other->isOfExactType(getMetaObject()))
        return false;
    if (const auto* list = kxCast<kxListBase>(this))
        return list->isAlike(static_cast<const kxListBase*>(other));
    for (const kxMetaField* field : getMetaObject()->getFields())
        if (!field->isAppended() && !field->hasFlag(kxMetaField::NOT_COMPARED) &&
            !field->isValueAlike(field->getAddress(this), field->getAddress(other)))
            return false;
    return true;
}

uint64_t kxObject::hashShallow() const
{
    if (const auto* list = kxCast<kxListBase>(this))
        return list->hash();
    uint64_t hash = getMetaObject()->getIndex();
    for (const kxMetaField* field : getMetaObject()->getFields())
        if (!field->isAppended() && !field->hasFlag(kxMetaField::NOT_COMPARED))
        {
            const uint64_t value = field->hashValue(field->getAddress(this));
            hash = hashBytes(&value, sizeof value, hash);
        }
    return hash;
}

namespace
{

void copyListElements(const kxListBase* source, kxListBase* target)
{
    target->clear();
    const uint32_t count = source->getCount();
    if (const void* values = source->getElementArray())
    {
        target->appendElementArray(values, count);
        return;
    }
    for (uint32_t i = 0; i < count; ++i)
        target->appendElement(source->getElementAddress(i));
}

} // namespace

void kxObject::copyFieldsFrom(const kxObject* source)
{
    if (const auto* list = kxCast<kxListBase>(source))
        return copyListElements(list, static_cast<kxListBase*>(this));
    for (const kxMetaField* field : source->getMetaObject()->getFields())
    {
        const void* value = field->getAddress(source);
        if (!value || field->hasFlag(kxMetaField::LINK_BACK) || field->hasFlag(kxMetaField::NOT_SAVED))
            continue;
        if (field->getKind() == kxFieldKind::OBJECT)
        {
            const auto* reference = static_cast<const kxObjectField*>(field);
            if (const auto* list = kxCast<kxListBase>(reference->getObject(value)))
            {
                kxSmartPointer<kxObject> copy = list->getMetaObject()->createInstance();
                copyListElements(list, static_cast<kxListBase*>(copy.get()));
                reference->setObject(field->getAddress(this), copy);
                continue;
            }
        }
        field->copyValue(field->getAddress(this), value);
    }
}

kxSmartPointer<kxObject> kxObject::copyShallow() const
{
    kxSmartPointer<kxObject> copy = getMetaObject()->createInstance();
    if (copy)
    {
        copy->copyFieldsFrom(this);
        copy->userLoaded();
    }
    return copy;
}

kxSmartPointer<kxObject> kxObject::copyDeep() const
{
    std::unordered_map<const kxObject*, kxSmartPointer<kxObject>> copies;
    std::vector<const kxObject*> toFill;
    std::vector<const kxObjectList*> uncounted;

    // Types and fields are never copied; memory blocks are shared until written.
    auto copyOf = [&](const kxObject* original) -> kxObject*
    {
        if (!original || kxCast<kxMetaObject>(original) || kxCast<kxMetaField>(original))
            return const_cast<kxObject*>(original);
        kxSmartPointer<kxObject>& copy = copies[original];
        if (!copy)
        {
            if (const auto* block = kxCast<kxMemoryBlock>(original))
                copy = const_cast<kxMemoryBlock*>(block)->slice(0, block->getSize());
            else
            {
                copy = original->getMetaObject()->createInstance();
                toFill.push_back(original);
            }
        }
        return copy;
    };

    kxSmartPointer<kxObject> result = copyOf(this);
    for (size_t next = 0; next < toFill.size(); ++next)
    {
        const kxObject* original = toFill[next];
        kxObject* copy = copies[original];
        if (!copy)
            continue;
        if (const auto* list = kxCast<kxObjectList>(original))
        {
            auto* target = static_cast<kxObjectList*>(copy);
            target->clear();
            if (list->isCounted())
                for (kxObject* element : *list)
                    target->append(copyOf(element));
            else
                uncounted.push_back(list);
            continue;
        }
        if (const auto* list = kxCast<kxListBase>(original))
        {
            copyListElements(list, static_cast<kxListBase*>(copy));
            continue;
        }
        for (const kxMetaField* field : original->getMetaObject()->getFields())
        {
            const void* value = field->getAddress(original);
            if (!value || field->hasFlag(kxMetaField::LINK_BACK) || field->hasFlag(kxMetaField::NOT_SAVED))
                continue;
            if (field->getKind() == kxFieldKind::OBJECT || field->getKind() == kxFieldKind::MEMORY)
            {
                const auto* reference = static_cast<const kxObjectField*>(field);
                reference->setObject(field->getAddress(copy), copyOf(reference->getObject(value)));
            }
            else
                field->copyValue(field->getAddress(copy), value);
        }
    }
    // Nothing of the copy would hold what only such a list names, so the list goes on naming the original.
    for (const kxObjectList* list : uncounted)
        for (kxObject* element : *list)
        {
            const auto copy = copies.find(element);
            static_cast<kxObjectList*>(copies[list].get())->append(copy == copies.end() ? element : copy->second.get());
        }
    for (const kxObject* original : toFill)
        if (kxObject* copy = copies[original])
            copy->userLoaded();
    return result;
}

bool kxObject::userCheckLoaded(std::string&) const
{
    return true;
}

void kxObject::resetFields()
{
    kxSmartPointer<kxObject> fresh = getMetaObject()->createInstance();
    if (fresh)
        copyFieldsFrom(fresh);
    userResetFields();
}

int kxObject::traverseFields(kxTraverseCallback callback, void* context) const
{
    int sum = 0;
    // A list in a list is an object of its own: whoever goes on to it meets its elements. Going in here would never end
    // where a list holds itself.
    auto visitList = [&](const kxObjectList* list, const kxMetaField* field)
    {
        for (uint32_t i = 0; i < list->getCount(); ++i)
            if (kxObject* element = list->get(i))
                sum += callback(element, field, context);
    };
    for (const kxMetaField* field : getMetaObject()->getFields())
    {
        if (field->hasFlag(kxMetaField::LINK_BACK) ||
            (field->getKind() != kxFieldKind::OBJECT && field->getKind() != kxFieldKind::MEMORY))
            continue;
        const void* value = field->getAddress(this);
        kxObject* object = value ? static_cast<const kxObjectField*>(field)->getObject(value) : nullptr;
        if (!object)
            continue;
        sum += callback(object, field, context);
        if (const auto* list = kxCast<kxObjectList>(object))
            visitList(list, field);
    }
    if (const auto* list = kxCast<kxObjectList>(this))
        visitList(list, nullptr);
    return sum;
}

} // namespace Kel::Core
