// Particles given off.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxAttrsNames.h"

namespace Kel::Attrs
{

/// Source of particles.
class kxParticleAttr : public kxAttr
{
    KX_OBJECT(kxParticleAttr, kxAttr)
    static void listFields(kxFields<kxParticleAttr>& fields);

    float _rate = 0;
    float _lifetime = 1;
    float _size = 1;
    kxVec3f _velocity{0, 0, 0};
};

} // namespace Kel::Attrs
