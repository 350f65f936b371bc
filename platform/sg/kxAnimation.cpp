#include "platform/sg/kxAnimation.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxAnimation)
KX_IMPLEMENT(kxAnimationList)

void kxAnimation::listFields(kxFields<kxAnimation>& fields)
{
    fields.add(&kxAnimation::_name, "_name", "name of the clip");
    fields.add(&kxAnimation::_trackList, "_trackList", "the tracks of bones");
    fields.add(&kxAnimation::_propertyTrackList, "_propertyTrackList", "the tracks of what is no bone");
    fields.add(&kxAnimation::_userData, "_userData", "what a file says beyond these fields");
}

kxAnimationTrack* kxAnimation::findTrack(kxStringRef name) const
{
    if (m_tracksByName.empty() && _trackList)
        for (kxAnimationTrack* track : *_trackList)
            if (track)
                m_tracksByName.try_emplace(track->getName(), track);
    const auto found = m_tracksByName.find(name);
    return found == m_tracksByName.end() ? nullptr : found->second;
}

} // namespace Kel::Sg
