// Palette of blend matrices.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"

namespace Kel::Attrs
{

/// Palette of matrices that skinned vertices below blend between.
class kxVertexBlendMatrixListAttr : public kxAttr
{
    KX_OBJECT(kxVertexBlendMatrixListAttr, kxAttr)
    static void listFields(kxFields<kxVertexBlendMatrixListAttr>& fields);

    kxSmartPointer<kxMatrix44fList> _matrices = kxNew<kxMatrix44fList>();
    kxSmartPointer<kxIntList> _boneIndices = kxNew<kxIntList>();

    uint32_t getMatrixCount() const { return _matrices->getCount(); }
};

} // namespace Kel::Attrs
