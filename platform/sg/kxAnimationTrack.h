// What moves one bone.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

/// One track of an animation: what moves the bone of the track's name.
class kxAnimationTrack : public kxObject
{
    KX_OBJECT(kxAnimationTrack, kxObject)
    static void listFields(kxFields<kxAnimationTrack>& fields);

    kxStringRef _name;
    kxSmartPointer<kxTransformSequence> _source;
    kxQuatf _constant{1, 0, 0, 0};

    kxStringRef getName() const { return _name; }
    kxTransformSequence* getSource() const { return _source; }
    void setSource(kxTransformSequence* source) { _source = source; }
};

KX_OBJECT_LIST(kxAnimationTrackList, kxAnimationTrack)

} // namespace Kel::Sg
