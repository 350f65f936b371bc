// Attribute set whose attributes win over those below.
#pragma once

#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Attribute set whose attributes no set below it can replace.
class kxOverrideAttrSet : public kxAttrSet
{
    KX_OBJECT(kxOverrideAttrSet, kxAttrSet)
};

} // namespace Kel::Sg
