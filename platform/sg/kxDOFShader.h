// Shader of a lens with depth of field.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Blurs what is out of focus.
class kxDOFShader : public kxShader
{
    KX_OBJECT(kxDOFShader, kxShader)
    static void listFields(kxFields<kxDOFShader>& fields);

    float _focalDistance = 1;
    float _focalRange = 1;
};

} // namespace Kel::Sg
