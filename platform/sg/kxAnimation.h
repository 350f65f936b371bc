// A clip: tracks that play together.
#pragma once

#include "platform/core/kxUserData.h"
#include "platform/sg/kxAnimationTrack.h"
#include "platform/sg/kxSgNames.h"

#include <unordered_map>

namespace Kel::Sg
{

/// A clip: tracks that play together. Those of one bone, one after the other, may each give a part of its transform.
class kxAnimation : public kxObject
{
    KX_OBJECT(kxAnimation, kxObject)
    static void listFields(kxFields<kxAnimation>& fields);

    kxStringRef _name;
    kxSmartPointer<kxAnimationTrackList> _trackList = kxNew<kxAnimationTrackList>();
    /// Tracks of what is no bone: materials, lights, cameras. Apart, because no skeleton has them.
    kxSmartPointer<kxAnimationTrackList> _propertyTrackList = kxNew<kxAnimationTrackList>();
    kxSmartPointer<kxUserData> _userData;

    kxAnimationTrackList* getTrackList() const { return _trackList; }
    kxAnimationTrackList* getPropertyTrackList() const { return _propertyTrackList; }
    uint32_t getTrackCount() const { return _trackList ? _trackList->getCount() : 0; }
    kxAnimationTrack* getAnimationTrack(uint32_t index) const { return _trackList->get(index); }
    void removeTrack(uint32_t index) { _trackList->removeAt(index); }

    /// First track of that name; null when there is none. Found through an index, which `rebind` brings up to date.
    kxAnimationTrack* findTrack(kxStringRef name) const;
    /// To be called when tracks have come, gone or changed their names.
    void rebind() { m_tracksByName.clear(); }

private:
    struct NameHash
    {
        size_t operator()(kxStringRef name) const { return static_cast<size_t>(name.getHash()); }
    };
    mutable std::unordered_map<kxStringRef, kxAnimationTrack*, NameHash> m_tracksByName; // empty: not made yet
};

KX_OBJECT_LIST(kxAnimationList, kxAnimation)

/// Calls back for every track of a clip, those of bones first.
template <class Visit>
void forEachTrack(const kxAnimation& animation, Visit visit)
{
    for (const kxAnimationTrackList* list : {animation.getTrackList(), animation.getPropertyTrackList()})
        if (list)
            for (kxAnimationTrack* track : *list)
                if (track)
                    visit(*track);
}

} // namespace Kel::Sg
