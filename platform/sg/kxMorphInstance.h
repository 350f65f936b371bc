// Draws its children with morph weights.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Sets the weights of the morph targets of the meshes below it.
class kxMorphInstance : public kxGroup
{
    KX_OBJECT(kxMorphInstance, kxGroup)
    static void listFields(kxFields<kxMorphInstance>& fields);

    kxSmartPointer<kxFloatList> _weights = kxNew<kxFloatList>();
};

} // namespace Kel::Sg
