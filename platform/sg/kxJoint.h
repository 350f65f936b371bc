// Transform that skins refer to.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxTransform.h"

namespace Kel::Sg
{

/// A bone's transform: vertices of skins follow it.
class kxJoint : public kxTransform
{
    KX_OBJECT(kxJoint, kxTransform)
};

} // namespace Kel::Sg
