// Group that turns to the viewer.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Turns its children towards the viewer.
class kxBillboard : public kxGroup
{
    KX_OBJECT(kxBillboard, kxGroup)
    static void listFields(kxFields<kxBillboard>& fields);

    kxVec3f _axis{0, 1, 0};
    kxVec3f _center{0, 0, 0};
};

} // namespace Kel::Sg
