// A clip: tracks that play together.
#pragma once

#include "platform/core/kxUserData.h"
#include "platform/sg/kxAnimationTrack.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// A clip: tracks that play together.
class kxAnimation : public kxObject
{
    KX_OBJECT(kxAnimation, kxObject)
    static void listFields(kxFields<kxAnimation>& fields);

    kxStringRef _name;
    kxSmartPointer<kxAnimationTrackList> _trackList = kxNew<kxAnimationTrackList>();
    kxSmartPointer<kxUserData> _userData;

    kxAnimationTrackList* getTrackList() const { return _trackList; }
};

KX_OBJECT_LIST(kxAnimationList, kxAnimation)

} // namespace Kel::Sg
