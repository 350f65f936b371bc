#include "platform/attrs/kxParticleAttr.h"

namespace Kel::Attrs
{

KX_IMPLEMENT(kxParticleAttr)

void kxParticleAttr::listFields(kxFields<kxParticleAttr>& fields)
{
    fields.add(&kxParticleAttr::_rate, "_rate", "particles given off each second");
    fields.add(&kxParticleAttr::_lifetime, "_lifetime", "seconds that a particle lives");
    fields.add(&kxParticleAttr::_size, "_size", "size of a particle in scene units");
    fields.add(&kxParticleAttr::_velocity, "_velocity", "velocity at the start, scene units each second");
}

} // namespace Kel::Attrs
