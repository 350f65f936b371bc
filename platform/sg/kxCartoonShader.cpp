#include "platform/sg/kxCartoonShader.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxCartoonShader)

void kxCartoonShader::listFields(kxFields<kxCartoonShader>& fields)
{
    fields.add(&kxCartoonShader::_outlineWidth, "_outlineWidth", "width of the outline, pixels");
    fields.add(&kxCartoonShader::_outlineColor, "_outlineColor", "colour of the outline");
}

} // namespace Kel::Sg
