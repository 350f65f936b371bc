// A light source.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"

namespace Kel::Attrs
{

/// Kinds of light sources.
enum class kxLightType : int32_t
{
    DIRECTIONAL = 0,
    POINT = 1,
    SPOT = 2
};
const kxMetaEnum& kxMetaEnumOf(kxLightType);

/// A light source; its place and direction (the negative z axis) come from the path to the light set that holds it.
class kxLightAttr : public kxAttr
{
    KX_OBJECT(kxLightAttr, kxAttr)
    static void listFields(kxFields<kxLightAttr>& fields);

    kxLightType _lightType = kxLightType::DIRECTIONAL;
    kxVec3f _color{1, 1, 1};
    float _intensity = 1;
    float _range = 0;
    float _innerConeAngle = 0;
    float _outerConeAngle = 0.7853981633974483f;
};

KX_OBJECT_LIST(kxLightAttrList, kxLightAttr)

} // namespace Kel::Attrs
