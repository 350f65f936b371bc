#include "platform/sg/kxBoundingVolume.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxBoundingVolume)

void kxBoundingVolume::listFields(kxFields<kxBoundingVolume>& fields)
{
    fields.add(&kxBoundingVolume::_box, "_box", "the box");
}

} // namespace Kel::Sg
