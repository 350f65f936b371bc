#include "platform/sg/kxProjectiveShadowShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxProjectiveShadowShader)

void kxProjectiveShadowShader::listFields(kxFields<kxProjectiveShadowShader>& fields)
{
    fields.add(&kxProjectiveShadowShader::_mapSize, "_mapSize", "width and height of the shadow map, pixels");
}

} // namespace Kel::Sg
