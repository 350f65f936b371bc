#include "platform/sg/kxInterpretedShaderData.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxInterpretedShaderData)

void kxInterpretedShaderData::listFields(kxFields<kxInterpretedShaderData>& fields)
{
    fields.add(&kxInterpretedShaderData::_factory, "_factory", "what makes the passes");
}

} // namespace Kel::Sg
