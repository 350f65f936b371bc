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
    fields.add(&kxAnimationTrack::_target, "_target", "what is driven, null where the name says it");
    fields.add(&kxAnimationTrack::_property, "_property",
               "property that is driven, empty for the parts of a transform that the source has keys of");
    fields.add(&kxAnimationTrack::_hasPointer, "_hasPointer", "the file gave the target as a path to the property");
    fields.add(&kxAnimationTrack::_userData, "_userData", "what a file says beyond these fields");
    fields.add(&kxAnimationTrack::_targetUserData, "_targetUserData",
               "what a file says about the target beyond these fields");
}

} // namespace Kel::Sg
