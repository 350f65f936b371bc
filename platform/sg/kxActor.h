// Draws its children with a skin.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxSkin.h"

namespace Kel::Sg
{

/// Draws the meshes below it with a skin; their own place in the graph does not move them.
class kxActor : public kxGroup
{
    KX_OBJECT(kxActor, kxGroup)
    static void listFields(kxFields<kxActor>& fields);

    kxSmartPointer<kxSkin> _skin;
};

} // namespace Kel::Sg
