#include "platform/sg/kxInterpretedShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxInterpretedShader)

void kxInterpretedShader::listFields(kxFields<kxInterpretedShader>& fields)
{
    fields.add(&kxInterpretedShader::_shaderData, "_shaderData", "the data");
}

} // namespace Kel::Sg
