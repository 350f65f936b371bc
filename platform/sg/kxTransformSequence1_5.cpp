#include "platform/sg/kxTransformSequence1_5.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransformSequence1_5)

void kxTransformSequence1_5::listFields(kxFields<kxTransformSequence1_5>& fields)
{
    fields.add(&kxTransformSequence1_5::_keyFlags, "_keyFlags",
               "bit 0: translation keys, bit 1: rotation keys, bits 2 and 3: kinds of keys that are not reduced");
    fields.add(&kxTransformSequence1_5::_times, "_times", "times of the keys");
    fields.add(&kxTransformSequence1_5::_translations, "_translations", "translations, scene units");
    fields.add(&kxTransformSequence1_5::_quaternions, "_quaternions", "rotations");
    fields.add(&kxTransformSequence1_5::_scales, "_scales", "scales");
}

} // namespace Kel::Sg
