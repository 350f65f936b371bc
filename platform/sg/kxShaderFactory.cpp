#include "platform/sg/kxShaderFactory.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxShaderFactory)

void kxShaderFactory::listFields(kxFields<kxShaderFactory>& fields)
{
    fields.add(&kxShaderFactory::_source, "_source", "where the data come from");
}

bool kxShaderFactory::makePasses(kxShaderPassList&) const
{
    return false;
}

} // namespace Kel::Sg
