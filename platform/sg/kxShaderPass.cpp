#include "platform/sg/kxShaderPass.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxShaderPass)
KX_IMPLEMENT(kxShaderPassList)

void kxShaderPass::listFields(kxFields<kxShaderPass>& fields)
{
    fields.add(&kxShaderPass::_attrs, "_attrs", "attributes of the pass");
}

} // namespace Kel::Sg
