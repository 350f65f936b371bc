// Which material is in effect where a texture is drawn is a matter of the path. Bits for the modes of all materials that can
// be in effect at a node are spread downwards, and from the geometries upwards again, each until nothing new arrives: a set
// of two bits changes twice at most.
#include "opt/image/kxImageUses.h"

#include "platform/attrs/kxMaterialAttr.h"
#include "platform/core/kxDirectory.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxOverrideAttrSet.h"

namespace Kel::Opt
{

namespace
{

bool isColorUse(std::string_view property)
{
    return property.ends_with("olorTexture") || property == "emissiveTexture" || property == "diffuseTexture" ||
           property == "specularGlossinessTexture";
}

/// Uses are known by the names that files give them, those of extensions with the extension in front. Only the colour of the
/// surface itself has its coverage in the alpha; elsewhere the alpha is another number, or nothing.
kxZoomMeaning meaningOfUse(std::string_view slot, bool isCoverage)
{
    const std::string_view property = slot.substr(slot.find_last_of('/') + 1); // the whole when there is no slash
    if (property == "baseColorTexture" || property == "diffuseTexture")
        return isCoverage ? kxZoomMeaning::LINEAR_COLORS : kxZoomMeaning::LIGHT;
    if (isColorUse(property))
        return kxZoomMeaning::LIGHT;
    if (property.ends_with("ormalTexture"))
        return kxZoomMeaning::NORMALS;
    return kxZoomMeaning::NUMBERS;
}

bool isLight(kxZoomMeaning meaning)
{
    return meaning == kxZoomMeaning::LINEAR_COLORS || meaning == kxZoomMeaning::LIGHT;
}

} // namespace

uint8_t kxImageUses::modeOf(const kxAttrList& attrs)
{
    uint8_t mode = 0;
    for (const kxAttr* attr : attrs)
        if (const auto* material = kxCast<kxMaterialAttr>(attr))
            mode = material->_alphaMode == kxAlphaMode::OPAQUE ? IS_OPAQUE : IS_COVERAGE;
    return mode;
}

void kxImageUses::spreadModes(const std::vector<kxNode*>& nodes, ModeMap& modes)
{
    uint8_t overriding = 0; // modes of materials that those below cannot replace
    std::vector<const kxNode*> waiting;
    for (kxNode* node : nodes)
    {
        Modes& at = modes[node];
        at.isKnown = true;
        if (const auto* set = kxCast<kxAttrSet>(node))
            at.own = modeOf(*set->getAttrs());
        if (node->isOfType(kxOverrideAttrSet::staticMetaObject()))
            overriding |= at.own;
    }
    for (kxNode* node : nodes)
    {
        bool isRoot = true;
        for (uint32_t i = 0; isRoot && i < node->getParentCount(); ++i)
            isRoot = !modes.get(node->getParent(i)).isKnown;
        if (isRoot)
            modes[node].inherited = IS_OPAQUE; // what is drawn without a material is opaque
        if (isRoot || modes.get(node).own)
            waiting.push_back(node);
    }
    while (!waiting.empty())
    {
        const auto* group = kxCast<kxGroup>(waiting.back());
        const uint8_t mode = modes.get(waiting.back()).atNode();
        waiting.pop_back();
        for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
        {
            const kxNode* child = group->getChild(i);
            if (!child)
                continue;
            Modes& at = modes[child];
            const uint8_t before = at.inherited;
            at.inherited |= mode;
            if (at.inherited != before && !at.own)
                waiting.push_back(child);
        }
    }
    for (kxNode* node : nodes)
        if (node->isOfType(kxGeometry::staticMetaObject()))
        {
            Modes& at = modes[node];
            at.below = at.atNode() | overriding;
            waiting.push_back(node);
        }
    while (!waiting.empty())
    {
        const kxNode* node = waiting.back();
        const uint8_t mode = modes.get(node).below;
        waiting.pop_back();
        for (uint32_t i = 0; i < node->getParentCount(); ++i)
        {
            const kxNode* parent = node->getParent(i);
            Modes& at = modes[parent];
            const uint8_t before = at.below;
            at.below |= mode;
            if (at.below != before)
                waiting.push_back(parent);
        }
    }
}

void kxImageUses::collect(kxObject* root)
{
    if (!root)
        return;
    const auto directory = kxNew<kxDirectory>();
    directory->addEntry(root, kxStringRef());
    std::vector<kxNode*> nodes;
    std::vector<const kxTextureBindAttr*> binds;
    std::vector<const kxMaterialVariant*> variants;
    for (uint32_t i = 0, count = directory->getSharedEntryCount(); i < count; ++i)
    {
        kxObject* object = directory->getSharedObject(i);
        if (auto* node = kxCast<kxNode>(object))
            nodes.push_back(node);
        else if (const auto* bind = kxCast<kxTextureBindAttr>(object))
            binds.push_back(bind);
        else if (const auto* variant = kxCast<kxMaterialVariant>(object))
            variants.push_back(variant);
    }
    if (binds.empty())
        return;
    ModeMap modes;
    spreadModes(nodes, modes);
    kxTSerialMap<bool> isMet;
    for (const kxMaterialVariant* variant : variants)
    {
        const uint8_t mode = modeOf(*variant->_attrs);
        for (const kxAttr* attr : *variant->_attrs)
            if (const auto* bind = kxCast<kxTextureBindAttr>(attr))
            {
                isMet[bind] = true;
                add(*bind, mode == IS_COVERAGE);
            }
    }
    for (const kxNode* node : nodes)
        if (const auto* set = kxCast<kxAttrSet>(node))
            for (const kxAttr* attr : *set->getAttrs())
                if (const auto* bind = kxCast<kxTextureBindAttr>(attr))
                {
                    // A set that nothing is drawn below, such as an unused material, still says what it is for.
                    const Modes at = modes.get(node);
                    isMet[bind] = true;
                    add(*bind, (at.below ? at.below : at.atNode()) == IS_COVERAGE);
                }
    for (const kxTextureBindAttr* bind : binds)
        if (!isMet.get(bind))
            add(*bind, false);
}

void kxImageUses::add(const kxTextureBindAttr& bind, bool isCoverage)
{
    if (!bind.getTexture() || bind._slot.isEmpty())
        return;
    const kxZoomMeaning meaning = meaningOfUse(bind._slot.view(), isCoverage);
    for (const kxImage* image : *bind.getTexture()->_imageList)
    {
        if (!image)
            continue;
        const auto [at, isNew] = m_meanings.emplace(image, meaning);
        if (!isNew && at->second != meaning)
            at->second = isLight(at->second) && isLight(meaning) ? kxZoomMeaning::LIGHT : kxZoomMeaning::NUMBERS;
    }
}

kxZoomMeaning kxImageUses::meaningOf(const kxImage& image, kxZoomMeaning usual) const
{
    const auto at = m_meanings.find(&image);
    return at == m_meanings.end() ? usual : at->second;
}

} // namespace Kel::Opt
