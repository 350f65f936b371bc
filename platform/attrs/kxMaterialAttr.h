// Surface of what is drawn.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"

namespace Kel::Attrs
{

/// How the opacity of a surface is used.
enum class kxAlphaMode : int32_t
{
    OPAQUE = 0,
    MASK = 1,
    BLEND = 2
};
const kxMetaEnum& kxMetaEnumOf(kxAlphaMode);

/// Physically based surface: metallic and roughness model. Textures are attributes of their own (`kxTextureBindAttr`).
class kxMaterialAttr : public kxAttr
{
    KX_OBJECT(kxMaterialAttr, kxAttr)
    static void listFields(kxFields<kxMaterialAttr>& fields);

    kxVec4f _baseColorFactor{1, 1, 1, 1};
    float _metallicFactor = 1;
    float _roughnessFactor = 1;
    kxVec3f _emissiveFactor{0, 0, 0};
    kxAlphaMode _alphaMode = kxAlphaMode::OPAQUE;
    float _alphaCutoff = 0.5f;
    bool _doubleSided = false;
    kxSmartPointer<kxStringRefList> _extensionNames = kxNew<kxStringRefList>();
    kxSmartPointer<kxStringRefList> _extensionProperties = kxNew<kxStringRefList>();
};

} // namespace Kel::Attrs
