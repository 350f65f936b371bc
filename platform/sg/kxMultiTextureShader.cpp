#include "platform/sg/kxMultiTextureShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxMultiTextureShader)

void kxMultiTextureShader::listFields(kxFields<kxMultiTextureShader>& fields)
{
    fields.add(&kxMultiTextureShader::_maxTextures, "_maxTextures", "textures that one pass can hold");
}

} // namespace Kel::Sg
