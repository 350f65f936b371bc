// Shader that lights a bump map.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Draws bump-mapped surfaces.
class kxBumpMapShader : public kxShader
{
    KX_OBJECT(kxBumpMapShader, kxShader)
    static void listFields(kxFields<kxBumpMapShader>& fields);

    float _bumpScale = 1;
};

} // namespace Kel::Sg
