#include "platform/sg/kxBumpMapShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxBumpMapShader)

void kxBumpMapShader::listFields(kxFields<kxBumpMapShader>& fields)
{
    fields.add(&kxBumpMapShader::_bumpScale, "_bumpScale", "height of the bumps");
}

} // namespace Kel::Sg
