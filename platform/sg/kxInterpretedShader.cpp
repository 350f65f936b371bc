#include "platform/sg/kxInterpretedShader.h"

#include "platform/sg/kxInterpretedShaderData.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxInterpretedShader)

void kxInterpretedShader::listFields(kxFields<kxInterpretedShader>& fields)
{
    fields.add(&kxInterpretedShader::_shaderData, "_shaderData", "the data");
}

bool kxInterpretedShader::interpret()
{
    const auto* data = kxCast<kxInterpretedShaderData>(_shaderData.get());
    const auto passes = kxNew<kxShaderPassList>();
    if (!data || !data->getFactory() || !data->getFactory()->makePasses(*passes))
        return false;
    _passes = passes;
    return true;
}

} // namespace Kel::Sg
