#include "platform/attrs/kxMaterialAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxMaterialAttr)

void kxMaterialAttr::listFields(kxFields<kxMaterialAttr>& fields)
{
    fields.add(&kxMaterialAttr::_baseColorFactor, "_baseColorFactor", "linear base colour and opacity, each 0 to 1");
    fields.add(&kxMaterialAttr::_metallicFactor, "_metallicFactor", "0 dielectric to 1 metal");
    fields.add(&kxMaterialAttr::_roughnessFactor, "_roughnessFactor", "0 smooth to 1 rough");
    fields.add(&kxMaterialAttr::_emissiveFactor, "_emissiveFactor",
               "linear colour of the light that the surface gives off");
    fields.add(&kxMaterialAttr::_alphaMode, "_alphaMode", "how opacity is used");
    fields.add(&kxMaterialAttr::_alphaCutoff, "_alphaCutoff", "opacity from which a masked surface is drawn");
    fields.add(&kxMaterialAttr::_doubleSided, "_doubleSided", "both sides are drawn");
    fields.add(&kxMaterialAttr::_extensionNames, "_extensionNames",
               "names of the material extensions, in the file's order");
    fields.add(&kxMaterialAttr::_extensionProperties, "_extensionProperties",
               "for each extension its properties but the textures, as JSON text");
}

const kxMetaEnum& kxMetaEnumOf(kxAlphaMode)
{
    static const kxMetaEnum metaEnum("kxAlphaMode", {{"OPAQUE", 0}, {"MASK", 1}, {"BLEND", 2}});
    return metaEnum;
}

} // namespace Kel::Attrs
