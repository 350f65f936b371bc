#include "platform/attrs/kxLightAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxLightAttr)
KX_IMPLEMENT(kxLightAttrList)

void kxLightAttr::listFields(kxFields<kxLightAttr>& fields)
{
    fields.add(&kxLightAttr::_lightType, "_lightType", "kind of light");
    fields.add(&kxLightAttr::_color, "_color", "linear colour");
    fields.add(&kxLightAttr::_intensity, "_intensity", "candela for point and spot lights, lux for directional ones");
    fields.add(&kxLightAttr::_range, "_range", "distance at which the light ends, 0 for no limit");
    fields.add(&kxLightAttr::_innerConeAngle, "_innerConeAngle", "angle of a spot light's full strength, radians");
    fields.add(&kxLightAttr::_outerConeAngle, "_outerConeAngle", "angle at which a spot light ends, radians");
}

const kxMetaEnum& kxMetaEnumOf(kxLightType)
{
    static const kxMetaEnum metaEnum("kxLightType", {{"DIRECTIONAL", 0}, {"POINT", 1}, {"SPOT", 2}});
    return metaEnum;
}

} // namespace Kel::Attrs
