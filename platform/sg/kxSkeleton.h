// Bones by name.
#pragma once

#include "platform/sg/kxNode.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// The bones of a character.
class kxSkeleton : public kxObject
{
    KX_OBJECT(kxSkeleton, kxObject)
    static void listFields(kxFields<kxSkeleton>& fields);

    kxStringRef _name;
    kxSmartPointer<kxNodeList> _bones = kxNew<kxNonRefCountedNodeList>();

    /// Index of the first bone of that name, -1 when there is none. Cost: a look at every bone.
    int findBone(kxStringRef name) const;
};

KX_OBJECT_LIST(kxSkeletonList, kxSkeleton)

} // namespace Kel::Sg
