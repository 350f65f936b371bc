// Shader of reflections from an environment map.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Reflects an environment map.
class kxEnvironmentMapShader2 : public kxShader
{
    KX_OBJECT(kxEnvironmentMapShader2, kxShader)
    static void listFields(kxFields<kxEnvironmentMapShader2>& fields);

    float _reflectivity = 1;
};

} // namespace Kel::Sg
