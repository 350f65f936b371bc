#include "platform/sg/kxShaderFactory.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxShaderFactory)

void kxShaderFactory::listFields(kxFields<kxShaderFactory>& fields)
{
    fields.add(&kxShaderFactory::_source, "_source", "where the data come from");
}

} // namespace Kel::Sg
