#include "platform/sg/kxIniShaderFactory.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxIniShaderFactory)

void kxIniShaderFactory::listFields(kxFields<kxIniShaderFactory>& fields)
{
    fields.add(&kxIniShaderFactory::_storage, "_storage",
               "where the shader's source is kept: 0 by name, 1 by path, 2 within the scene");
    fields.add(&kxIniShaderFactory::_text, "_text", "the source, when kept within the scene");
}

} // namespace Kel::Sg
