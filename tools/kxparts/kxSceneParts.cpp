#include "tools/kxparts/kxSceneParts.h"

#include "platform/core/kxDirectory.h"
#include "platform/core/kxObjectList.h"

using namespace Kel::Core;
using namespace Kel::Sg;

namespace Kel::Tool
{

namespace
{

kxObject* referenceOf(const kxMetaField* field, const kxObject* owner)
{
    const void* value = field->getAddress(owner);
    return value ? static_cast<const kxObjectField*>(field)->getObject(value) : nullptr;
}

} // namespace

kxSceneParts::kxSceneParts(const kxFileInfo& file)
{
    auto directory = kxNew<kxDirectory>();
    for (kxInfo* info : *file._infoList)
        directory->addEntry(info, {});
    for (uint32_t i = 0; i < directory->getSharedEntryCount(); ++i)
        m_held.emplace_back(directory->getSharedObject(i));
    for (uint32_t i = 0; i < directory->getSharedEntryCount(); ++i)
        collect(directory->getSharedObject(i));
    for (uint32_t i = 0; i < directory->getSharedEntryCount(); ++i)
        collectMiddles(directory->getSharedObject(i));
}

void kxSceneParts::collect(kxObject* object)
{
    const kxSmartPointer<kxObject> fresh = object->getMetaObject()->createInstance();
    for (const kxMetaField* field : object->getMetaObject()->getFields())
    {
        if (field->hasFlag(kxMetaField::LINK_BACK) || field->hasFlag(kxMetaField::NOT_SAVED))
            continue;
        if (field->getKind() != kxFieldKind::OBJECT && field->getKind() != kxFieldKind::MEMORY)
        {
            if (fresh && !field->isAppended() &&
                !field->isValueAlike(field->getAddress(object), field->getAddress(fresh)))
                m_parts.push_back({object, field, -1});
            continue;
        }
        kxObject* reference = referenceOf(field, object);
        if (auto* list = kxCast<kxObjectList>(reference))
        {
            bool& isMet = m_listsMet[list];
            if (isMet)
                continue; // another field holds the same list
            isMet = true;
            m_held.emplace_back(list);
            for (uint32_t i = 0; i < list->getCount(); ++i)
                m_parts.push_back({object, field, i});
        }
        else if (reference)
            m_parts.push_back({object, field, -1});
    }
}

void kxSceneParts::collectMiddles(kxObject* object)
{
    auto* parent = kxCast<kxGroup>(object);
    for (uint32_t i = 0; parent && i < parent->getChildCount(); ++i)
        if (auto* group = kxCast<kxGroup>(parent->getChild(i)); group && group->getChildCount() > 0)
            m_parts.push_back({parent, nullptr, -1, group});
}

// Backwards, so that the places of elements still to go stay what they were.
void kxSceneParts::leaveOut(size_t first, size_t last)
{
    size_t firstMiddle = last;
    while (firstMiddle > first && m_parts[firstMiddle - 1].middle)
        --firstMiddle;
    leaveOutMiddles(firstMiddle, last);
    for (size_t i = firstMiddle; i-- > first;)
        leaveOut(m_parts[i]);
}

// Middles of one parent stand together, and a parent makes its list anew once.
void kxSceneParts::leaveOutMiddles(size_t first, size_t last)
{
    for (size_t next; first < last; first = next)
    {
        auto* parent = static_cast<kxGroup*>(m_parts[first].owner);
        kxTSerialMap<bool> goes;
        for (next = first; next < last && m_parts[next].owner == parent; ++next)
            goes[m_parts[next].middle] = true;
        std::vector<kxSmartPointer<kxNode>> children;
        for (uint32_t i = 0; i < parent->getChildCount(); ++i)
        {
            kxNode* child = parent->getChild(i);
            const auto* middle = child && goes.get(child) ? static_cast<const kxGroup*>(child) : nullptr;
            for (uint32_t below = 0; middle && below < middle->getChildCount(); ++below)
                children.emplace_back(middle->getChild(below));
            if (!middle)
                children.emplace_back(child);
        }
        parent->removeAllChildren();
        for (const kxSmartPointer<kxNode>& child : children)
            parent->appendChild(child);
    }
}

void kxSceneParts::leaveOut(const Part& part)
{
    void* value = part.field->getAddress(part.owner);
    if (part.element >= 0)
    {
        const auto element = static_cast<uint32_t>(part.element);
        auto* list = static_cast<kxObjectList*>(referenceOf(part.field, part.owner));
        auto* group = kxCast<kxGroup>(part.owner);
        if (group && list == group->_childList.get() && element < list->getCount())
            group->removeChild(element); // the child lets go of its parent as well
        else if (element < list->getCount())
            list->removeAt(element);
    }
    else if (part.field->getKind() == kxFieldKind::OBJECT || part.field->getKind() == kxFieldKind::MEMORY)
        static_cast<const kxObjectField*>(part.field)->setObject(value, nullptr);
    else
        part.field->copyValue(value, part.field->getAddress(part.owner->getMetaObject()->createInstance()));
}

} // namespace Kel::Tool
