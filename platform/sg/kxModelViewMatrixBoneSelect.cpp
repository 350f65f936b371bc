#include "platform/sg/kxModelViewMatrixBoneSelect.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxModelViewMatrixBoneSelect)

void kxModelViewMatrixBoneSelect::listFields(kxFields<kxModelViewMatrixBoneSelect>& fields)
{
    fields.add(&kxModelViewMatrixBoneSelect::_boneIndex, "_boneIndex", "index of the bone, -1 none");
}

} // namespace Kel::Sg
