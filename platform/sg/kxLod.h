// Group that draws the child for the distance.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Draws the child whose range of distances holds the viewer's; the positions of the children mean something.
class kxLod : public kxGroup
{
    KX_OBJECT(kxLod, kxGroup)
    static void listFields(kxFields<kxLod>& fields);

    kxVec3f _center{0, 0, 0};
    kxSmartPointer<kxFloatList> _ranges = kxNew<kxFloatList>();

    int isChildOrderSignificant() const override { return 1; }
};

} // namespace Kel::Sg
