#include "platform/sg/kxShaderData.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxShaderData)

void kxShaderData::listFields(kxFields<kxShaderData>& fields)
{
    fields.add(&kxShaderData::_name, "_name", "name of the shader");
}

} // namespace Kel::Sg
