#include "platform/attrs/kxVertexBlendMatrixListAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxVertexBlendMatrixListAttr)

void kxVertexBlendMatrixListAttr::listFields(kxFields<kxVertexBlendMatrixListAttr>& fields)
{
    fields.add(&kxVertexBlendMatrixListAttr::_matrices, "_matrices", "the matrices");
    fields.add(&kxVertexBlendMatrixListAttr::_boneIndices, "_boneIndices", "for each matrix the bone that drives it");
}

} // namespace Kel::Attrs
