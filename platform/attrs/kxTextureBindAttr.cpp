#include "platform/attrs/kxTextureBindAttr.h"

#include <algorithm>
#include <iterator>

namespace Kel::Attrs
{

KX_IMPLEMENT(kxTextureBindAttr)
KX_IMPLEMENT(kxTextureBindAttrList)

void kxTextureBindAttr::listFields(kxFields<kxTextureBindAttr>& fields)
{
    fields.add(&kxTextureBindAttr::_unit, "_unit", "number of the use: one bind of each unit is in effect");
    fields.add(&kxTextureBindAttr::_slot, "_slot", "the use as files name it: baseColorTexture, or EXTENSION/property");
    fields.add(&kxTextureBindAttr::_texture, "_texture", "the texture");
    fields.add(&kxTextureBindAttr::_texCoord, "_texCoord", "set of texture coordinates");
    fields.add(&kxTextureBindAttr::_scale, "_scale", "scale of a normal map, strength of an occlusion map");
    fields.add(&kxTextureBindAttr::_hasTransform, "_hasTransform", "the texture coordinates are transformed");
    fields.add(&kxTextureBindAttr::_offset, "_offset", "offset of the texture coordinates");
    fields.add(&kxTextureBindAttr::_rotation, "_rotation",
               "rotation of the texture coordinates, radians, counter-clockwise");
    fields.add(&kxTextureBindAttr::_uvScale, "_uvScale", "scale of the texture coordinates");
    fields.add(&kxTextureBindAttr::_transformTexCoord, "_transformTexCoord",
               "set of texture coordinates that the transform puts in place, -1 none");
}

uint32_t kxTextureBindAttr::unitOfSlot(kxStringRef slot)
{
    static const kxStringRef core[] = {"baseColorTexture", "metallicRoughnessTexture", "normalTexture",
                                       "occlusionTexture", "emissiveTexture"};
    for (uint32_t unit = 0; unit < std::size(core); ++unit)
        if (core[unit] == slot)
            return unit;
    // Uses of extensions are numbered as they are met; their number is only compared, never shown.
    static std::vector<kxStringRef>* met = new std::vector<kxStringRef>;
    const auto at = std::find(met->begin(), met->end(), slot);
    const auto index = static_cast<uint32_t>(at - met->begin());
    if (at == met->end())
        met->push_back(slot);
    return static_cast<uint32_t>(std::size(core)) + index;
}

void kxTextureBindAttr::userLoaded()
{
    if (!_slot.isEmpty())
        _unit = unitOfSlot(_slot);
}

} // namespace Kel::Attrs
