#include "platform/sg/kxPlanarShadowShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxPlanarShadowShader)

void kxPlanarShadowShader::listFields(kxFields<kxPlanarShadowShader>& fields)
{
    fields.add(&kxPlanarShadowShader::_plane, "_plane", "normal and distance of the plane");
    fields.add(&kxPlanarShadowShader::_shadowColor, "_shadowColor", "colour of the shadow");
}

} // namespace Kel::Sg
