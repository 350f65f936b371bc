#include "platform/sg/kxAnimation.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxAnimation)
KX_IMPLEMENT(kxAnimationList)

void kxAnimation::listFields(kxFields<kxAnimation>& fields)
{
    fields.add(&kxAnimation::_name, "_name", "name of the clip");
    fields.add(&kxAnimation::_trackList, "_trackList", "the tracks");
    fields.add(&kxAnimation::_userData, "_userData", "what a file says beyond these fields");
}

} // namespace Kel::Sg
