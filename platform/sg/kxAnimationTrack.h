// What moves one bone.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

/// One track of an animation: what moves the bone of the track's name, or drives a property of something.
class kxAnimationTrack : public kxObject
{
    KX_OBJECT(kxAnimationTrack, kxObject)
    static void listFields(kxFields<kxAnimationTrack>& fields);

    kxStringRef _name;
    kxSmartPointer<kxTransformSequence> _source;
    kxQuatf _constant{1, 0, 0, 0};
    kxSmartPointer<kxObject> _target; ///< null: found by the name
    kxStringRef _property;            ///< null: the parts of the transform that the source gives
    bool _hasPointer = false;         ///< the file named target and property by a path
    kxSmartPointer<kxUserData> _userData;
    kxSmartPointer<kxUserData> _targetUserData;

    kxStringRef getName() const { return _name; }
    kxTransformSequence* getSource() const { return _source; }
    void setSource(kxTransformSequence* source) { _source = source; }
};

KX_OBJECT_LIST(kxAnimationTrackList, kxAnimationTrack)

} // namespace Kel::Sg
