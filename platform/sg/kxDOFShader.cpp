#include "platform/sg/kxDOFShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxDOFShader)

void kxDOFShader::listFields(kxFields<kxDOFShader>& fields)
{
    fields.add(&kxDOFShader::_focalDistance, "_focalDistance", "distance in focus, scene units");
    fields.add(&kxDOFShader::_focalRange, "_focalRange", "depth that stays sharp, scene units");
}

} // namespace Kel::Sg
