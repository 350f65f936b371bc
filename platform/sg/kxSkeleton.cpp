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

int kxSkeleton::findBone(kxStringRef name) const
{
    for (uint32_t i = 0; _bones && i < _bones->getCount(); ++i)
        if (const kxNode* bone = _bones->get(i); bone && bone->getName() == name)
            return static_cast<int>(i);
    return -1;
}

} // namespace Kel::Sg
