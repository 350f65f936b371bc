#include "platform/sg/kxAnimationTrack.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxAnimationTrack)
KX_IMPLEMENT(kxAnimationTrackList)

void kxAnimationTrack::listFields(kxFields<kxAnimationTrack>& fields)
{
    fields.add(&kxAnimationTrack::_name, "_name", "name of the bone");
    fields.add(&kxAnimationTrack::_source, "_source", "the keys");
    fields.add(&kxAnimationTrack::_constant, "_constant", "rotation where there are no keys");
}

} // namespace Kel::Sg
