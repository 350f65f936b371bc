#include "platform/sg/kxSkeleton.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxSkeleton)
KX_IMPLEMENT(kxSkeletonList)

void kxSkeleton::listFields(kxFields<kxSkeleton>& fields)
{
    fields.add(&kxSkeleton::_name, "_name", "name of the skeleton");
    fields.add(&kxSkeleton::_bones, "_bones", "the bones, kept alive by the graph they stand in");
}

} // namespace Kel::Sg
