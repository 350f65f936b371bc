// Draws its children in a bone's space.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Draws its children in the space of one bone.
class kxModelViewMatrixBoneSelect : public kxGroup
{
    KX_OBJECT(kxModelViewMatrixBoneSelect, kxGroup)
    static void listFields(kxFields<kxModelViewMatrixBoneSelect>& fields);

    int32_t _boneIndex = -1;
};

} // namespace Kel::Sg
