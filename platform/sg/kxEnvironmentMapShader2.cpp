#include "platform/sg/kxEnvironmentMapShader2.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxEnvironmentMapShader2)

void kxEnvironmentMapShader2::listFields(kxFields<kxEnvironmentMapShader2>& fields)
{
    fields.add(&kxEnvironmentMapShader2::_reflectivity, "_reflectivity", "0 none to 1 full reflection");
}

} // namespace Kel::Sg
