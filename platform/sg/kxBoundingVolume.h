// Box around what is drawn below a node.
#pragma once

#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Box, in a node's own space, around all that is drawn below the node.
class kxBoundingVolume : public kxObject
{
    KX_OBJECT(kxBoundingVolume, kxObject)
    static void listFields(kxFields<kxBoundingVolume>& fields);

    kxAABox _box;
};

} // namespace Kel::Sg
