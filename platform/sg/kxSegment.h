// Part of the scene that is loaded on its own.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Root of a part of the scene that a player loads and drops on its own.
class kxSegment : public kxGroup
{
    KX_OBJECT(kxSegment, kxGroup)
    static void listFields(kxFields<kxSegment>& fields);

    kxStringRef _segmentFile;
};

} // namespace Kel::Sg
