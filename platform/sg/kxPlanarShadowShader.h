// Shader of shadows on a plane.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Draws shadows of its children on a plane.
class kxPlanarShadowShader : public kxShader
{
    KX_OBJECT(kxPlanarShadowShader, kxShader)
    static void listFields(kxFields<kxPlanarShadowShader>& fields);

    kxVec4f _plane{0, 1, 0, 0};
    kxVec4f _shadowColor{0, 0, 0, 0.5f};
};

} // namespace Kel::Sg
