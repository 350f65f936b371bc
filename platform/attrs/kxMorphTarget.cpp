#include "platform/attrs/kxMorphTarget.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxMorphTarget)
KX_IMPLEMENT(kxMorphTargetList)

void kxMorphTarget::listFields(kxFields<kxMorphTarget>& fields)
{
    fields.add(&kxMorphTarget::_name, "_name", "name of the target");
    fields.add(&kxMorphTarget::_arrays, "_arrays", "displacements, one array for each attribute displaced");
}

} // namespace Kel::Attrs
