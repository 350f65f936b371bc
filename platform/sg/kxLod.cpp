#include "platform/sg/kxLod.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxLod)

void kxLod::listFields(kxFields<kxLod>& fields)
{
    fields.add(&kxLod::_center, "_center", "point from which distances are measured");
    fields.add(&kxLod::_ranges, "_ranges",
               "distances between the children: child i is drawn from range i to range i + 1");
}

} // namespace Kel::Sg
