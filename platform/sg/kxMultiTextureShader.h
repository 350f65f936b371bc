// Shader of several textures at once.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

/// Draws several textures in as few passes as the target allows.
class kxMultiTextureShader : public kxShader
{
    KX_OBJECT(kxMultiTextureShader, kxShader)
    static void listFields(kxFields<kxMultiTextureShader>& fields);

    uint32_t _maxTextures = 2;
};

} // namespace Kel::Sg
