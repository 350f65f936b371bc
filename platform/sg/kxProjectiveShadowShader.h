// Shader of shadows from a projected map.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Draws shadows from a map projected from a light.
class kxProjectiveShadowShader : public kxShader
{
    KX_OBJECT(kxProjectiveShadowShader, kxShader)
    static void listFields(kxFields<kxProjectiveShadowShader>& fields);

    uint32_t _mapSize = 256;
};

} // namespace Kel::Sg
