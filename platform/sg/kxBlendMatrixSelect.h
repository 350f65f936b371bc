// Chooses matrices from a blend palette.
#pragma once

#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Attribute set that chooses the matrices that vertices below blend between.
class kxBlendMatrixSelect : public kxAttrSet
{
    KX_OBJECT(kxBlendMatrixSelect, kxAttrSet)
    static void listFields(kxFields<kxBlendMatrixSelect>& fields);

    kxSmartPointer<kxIntList> _matrixIndices = kxNew<kxIntList>();
};

} // namespace Kel::Sg
