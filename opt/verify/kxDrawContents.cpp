#include "opt/verify/kxDrawContents.h"

#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxOverrideAttrSet.h"

namespace Kel::Opt
{

namespace
{

// Units of extensions' texture uses are numbered as they are met, so their names stand for them.
uint64_t slotOf(const kxAttr* attr, uint64_t unit)
{
    const auto* bind = kxCast<kxTextureBindAttr>(attr);
    return bind && !bind->_slot.isEmpty() ? bind->_slot.getHash() : unit;
}

// The run of what was put behind `first`.
template <class List>
uint32_t endRun(List& list, uint32_t first)
{
    if (list.size() == first)
        return kxDrawContents::Entry::kNone;
    list.back().isLast = true;
    return first;
}

} // namespace

bool kxDrawContents::isDrawn(const kxAttr* attr)
{
    return attr->isOfType(kxGeometryAttr::staticMetaObject()) ||
           attr->isOfType(kxGeometrySetAttr::staticMetaObject()) || attr->isOfType(kxParticleAttr::staticMetaObject());
}

kxDrawContents::Setting kxDrawContents::settingOf(const kxAttr* attr, uint64_t unit, bool overrides)
{
    const kxMetaObject* type = attr->getMetaObject();
    // Where an attribute is used is part of what is summed up: two textures may change their places.
    const uint64_t use = combineHash(type->getName().getHash(), slotOf(attr, unit));
    kxLook look = m_hash.hashValue(attr);
    look.value = combineHash(use, look.value);
    if (look.images)
        look.images = combineHash(use, look.images);
    return {type, unit, attr, look, overrides, false};
}

kxDrawContents::Entry kxDrawContents::of(const kxGroup* group, const kxNodeRole& role)
{
    if (role.effect != kxNodeRole::ATTR_SET && !role.saysHow)
        return {};
    Entry& entry = m_entries[group];
    if (entry.isKnown)
        return entry;
    entry.isKnown = true;
    if (const uint64_t saying = role.saysHow ? m_hash.hashDrawing(group).value : 0)
    {
        entry.saying = static_cast<uint32_t>(m_sayings.size());
        m_sayings.push_back(saying);
    }
    if (role.effect != kxNodeRole::ATTR_SET)
        return entry;
    const auto settings = static_cast<uint32_t>(m_settings.size());
    const auto vertices = static_cast<uint32_t>(m_vertices.size());
    const bool overrides = group->isOfType(kxOverrideAttrSet::staticMetaObject());
    for (const kxAttr* attr : *static_cast<const kxAttrSet*>(group)->getAttrs())
        if (attr && !isDrawn(attr))
            m_settings.push_back(settingOf(attr, attr->getUnit(), overrides));
    if (const auto* geometry = kxCast<kxGeometry>(group))
        noteVertices(geometry);
    entry.firstSetting = endRun(m_settings, settings);
    entry.firstVertices = endRun(m_vertices, vertices);
    return entry;
}

void kxDrawContents::noteVertices(const kxGeometry* geometry)
{
    kxLook variants;
    if (geometry->_variants && !geometry->_variants->isEmpty())
        variants = m_hash.hashValue(geometry->_variants);
    const auto note = [&](const kxAttr* attr)
    {
        kxLook look = m_hash.hashValue(attr);
        look.add(variants);
        if (variants.images)
            m_noteVariants(look.images, *geometry->_variants);
        m_vertices.push_back({attr, look, variants.value, 0, false, false});
    };
    for (const kxAttr* attr : *geometry->getAttrs())
    {
        if (!attr || !isDrawn(attr))
            continue;
        if (const auto* set = kxCast<kxGeometrySetAttr>(attr))
        {
            for (const kxAttr* element : *set->_geometryAttrs)
                if (element)
                    note(element);
        }
        else
            note(attr);
    }
}

void kxDrawContents::askAhead(const kxNode* node)
{
    __builtin_prefetch(&m_entries[node]);
    m_asked.push(node,
                 [this](const kxNode* earlier)
                 {
                     const Entry entry = m_entries.get(earlier);
                     if (const Setting* setting = getSettings(entry))
                         __builtin_prefetch(setting);
                     if (const Vertices* vertices = getVertices(entry))
                         __builtin_prefetch(vertices);
                 });
}

} // namespace Kel::Opt
