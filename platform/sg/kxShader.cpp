#include "platform/sg/kxShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxShader)

void kxShader::listFields(kxFields<kxShader>& fields)
{
    fields.add(&kxShader::_passes, "_passes", "the passes, in order");
}

} // namespace Kel::Sg
