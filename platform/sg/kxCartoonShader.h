// Shader that draws like a cartoon.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Draws flat tones with outlines.
class kxCartoonShader : public kxShader
{
    KX_OBJECT(kxCartoonShader, kxShader)
    static void listFields(kxFields<kxCartoonShader>& fields);

    float _outlineWidth = 1;
    kxVec4f _outlineColor{0, 0, 0, 1};
};

} // namespace Kel::Sg
