#include "opt/parameters/kxParameterLayout.h"

namespace Kel::Opt
{

namespace
{

// Sets of more fields than this keep their own layout: each shared layout holds all the fields of those before it.
constexpr size_t kMaxSharedFields = 32;
// Items use some dozens of layouts. What makes names as it goes must not fill the tree for the rest of the process.
constexpr size_t kMaxSharedLayouts = 4096;

size_t g_sharedLayoutCount = 0;

size_t hashOf(const kxMetaObject* fieldType, kxStringRef name)
{
    return (name.getNumber() * 31u + fieldType->getIndex()) * 0x9E3779B97F4A7C15ull >> 40;
}

} // namespace

kxParameterLayout::kxParameterLayout() : m_metaObject(kxMetaObject::createRecordType("kxParameterSet")) {}

const kxParameterLayout* kxParameterLayout::getEmpty()
{
    static const kxParameterLayout* empty = []
    {
        auto* layout = new kxParameterLayout;
        layout->m_shared = true;
        return layout;
    }();
    return empty;
}

const kxParameterLayout* kxParameterLayout::findExtended(const kxMetaObject* fieldType, kxStringRef name) const
{
    if (m_next.empty())
        return nullptr;
    const size_t mask = m_next.size() - 1;
    for (size_t i = hashOf(fieldType, name) & mask; m_next[i]; i = (i + 1) & mask)
    {
        const Slot& added = m_next[i]->m_slots.back();
        if (added.name == name && added.type == fieldType)
            return m_next[i];
    }
    return nullptr;
}

const kxParameterLayout* kxParameterLayout::extend(const kxMetaObject* fieldType, kxStringRef name) const
{
    if (!m_shared || m_slots.size() >= kMaxSharedFields || g_sharedLayoutCount >= kMaxSharedLayouts)
        return nullptr;

    kxParameterLayout* extended = makeOwn();
    extended->addField(fieldType, name);
    extended->m_shared = true;
    ++g_sharedLayoutCount;

    const auto place = [this](const kxParameterLayout* layout)
    {
        size_t i = hashOf(layout->m_slots.back().type, layout->m_slots.back().name) & (m_next.size() - 1);
        while (m_next[i])
            i = (i + 1) & (m_next.size() - 1);
        m_next[i] = layout;
    };
    if (m_nextCount * 2 >= m_next.size())
    {
        std::vector<const kxParameterLayout*> old(m_next.empty() ? 4 : m_next.size() * 2, nullptr);
        old.swap(m_next);
        for (const kxParameterLayout* layout : old)
            if (layout)
                place(layout);
    }
    place(extended);
    ++m_nextCount;
    return extended;
}

kxParameterLayout* kxParameterLayout::makeOwn() const
{
    auto* own = new kxParameterLayout;
    for (const Slot& slot : m_slots)
        own->addField(slot.type, slot.name);
    return own;
}

void kxParameterLayout::addField(const kxMetaObject* fieldType, kxStringRef name)
{
    m_metaObject->addRecordField(fieldType, name);
    adoptNewFields();
}

void kxParameterLayout::adoptNewFields()
{
    const auto fields = m_metaObject->getFields();
    for (size_t i = m_slots.size(); i < fields.size(); ++i)
        m_slots.push_back({fields[i], fields[i]->getMetaObject(), fields[i]->getName(), fields[i]->getOffset(),
                           static_cast<uint32_t>(fields[i]->getValueSize())});
    m_byteCount = static_cast<uint32_t>(m_metaObject->getRecordSize());
}

} // namespace Kel::Opt
