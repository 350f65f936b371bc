#include "opt/actor/kxOptimizeActorAnimations.h"

#include "opt/actor/kxKeyListLeaders.h"
#include "opt/scene/kxServices.h"

#include <charconv>

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptimizeActorAnimations)

void kxOptimizeActorAnimations::listFields(kxFields<kxOptimizeActorAnimations>& fields)
{
    fields.add(&kxOptimizeActorAnimations::_translationTolerance, "_translationTolerance",
               "largest distance of translations in equal lists, scene units");
    fields.add(&kxOptimizeActorAnimations::_quaternionTolerance, "_quaternionTolerance",
               "largest angle between rotations in equal lists, radians");
    fields.add(&kxOptimizeActorAnimations::_timeTolerance, "_timeTolerance",
               "largest difference of times in equal lists, in 2^-40 seconds");
    fields.add(&kxOptimizeActorAnimations::_shareAnimationData, "_shareAnimationData",
               "share equal lists of keys between sequences");
    fields.add(&kxOptimizeActorAnimations::_removeUnusedTracks, "_removeUnusedTracks",
               "remove tracks that no skeleton has a bone for");
}

bool kxOptimizeActorAnimations::configure(int section)
{
    kxStringRef text;
    if (!_registry ||
        (!_registry->getValue(section, "_timeTolerance", text) && !_registry->getValue(section, "timeTolerance", text)))
        return true;
    const std::string_view digits = text.view();
    int64_t ticks = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), ticks);
    if (end.ec != std::errc() || end.ptr != digits.data() + digits.size())
    {
        printf("WARNING : _timeTolerance is \"%s\", which is no whole number\n", text.c_str());
        return true;
    }
    _timeTolerance = ticks;
    return true;
}

bool kxOptimizeActorAnimations::canOptimize(kxInfo* info)
{
    return kxCast<kxAnimationDatabase>(info) != nullptr;
}

bool kxOptimizeActorAnimations::apply(kxSmartPointer<kxNode>&)
{
    return false;
}

bool kxOptimizeActorAnimations::applyInfo(kxInfo* info)
{
    const auto* database = kxCast<kxAnimationDatabase>(info);
    if (!database)
        return false;
    if (!database->getAnimationList())
        return true;
    if (_removeUnusedTracks)
    {
        const Names bones = collectBoneNames(database->getSkeletonList());
        for (kxAnimation* animation : *database->getAnimationList())
            if (animation && removeUnusedTracks(bones, animation))
                animation->rebind();
    }
    return !_shareAnimationData || shareLists(*database);
}

kxOptimizeActorAnimations::Names kxOptimizeActorAnimations::collectBoneNames(const kxSkeletonList* skeletons)
{
    Names names;
    if (skeletons)
        for (const kxSkeleton* skeleton : *skeletons)
            if (skeleton && skeleton->_bones)
                for (const kxNode* bone : *skeleton->_bones)
                    if (bone)
                        names.insert(bone->getName());
    return names;
}

bool kxOptimizeActorAnimations::removeUnusedTracks(const kxSkeletonList* skeletons, kxAnimation* animation)
{
    return removeUnusedTracks(collectBoneNames(skeletons), animation);
}

bool kxOptimizeActorAnimations::removeUnusedTracks(const Names& bones, kxAnimation* animation)
{
    const uint32_t before = animation->getTrackCount();
    // From the end, so that the places of those still to be looked at stay.
    for (uint32_t i = before; i-- > 0;)
    {
        const kxAnimationTrack* track = animation->getAnimationTrack(i);
        if (!track || !bones.contains(track->getName()))
            animation->removeTrack(i);
    }
    const uint32_t removed = before - animation->getTrackCount();
    if (removed)
        count("tracks removed", removed);
    return removed != 0;
}

namespace
{

// Lists of a sequence that another one's may take the place of.
constexpr unsigned kTranslations = 1, kQuaternions = 2, kTimes = 4;
constexpr uint64_t kSequencesPerPoll = 256;

template <class Visit>
void forEachSequence(const kxAnimation* animation, Visit visit)
{
    if (animation && animation->getTrackList())
        for (const kxAnimationTrack* track : *animation->getTrackList())
            if (auto* sequence = track ? kxCast<kxTransformSequence1_5>(track->getSource()) : nullptr)
                visit(sequence);
}

} // namespace

void kxOptimizeActorAnimations::share(const kxTransformSequence1_5* reference, kxTransformSequence1_5* sequence,
                                      unsigned lists)
{
    if (lists & kTranslations && sequence->_translations != reference->_translations)
    {
        sequence->setTranslationList(reference->getTranslationList());
        count("translation lists shared");
    }
    if (lists & kQuaternions && sequence->_quaternions != reference->_quaternions)
    {
        sequence->setQuaternionList(reference->getQuaternionList());
        count("quaternion lists shared");
    }
    if (lists & kTimes && sequence->_times != reference->_times)
    {
        sequence->setTimeList(reference->getTimeList());
        count("time lists shared");
    }
}

void kxOptimizeActorAnimations::removeDuplicateSequenceLists(kxTransformSequence1_5* reference, kxAnimation* animation)
{
    forEachSequence(animation,
                    [&](kxTransformSequence1_5* sequence)
                    {
                        unsigned lists = 0;
                        if (reference->hasTranslations() && sequence->hasTranslations() &&
                            reference->compareTranslationLists(sequence, _translationTolerance))
                            lists |= kTranslations;
                        if (reference->hasQuaternions() && sequence->hasQuaternions() &&
                            reference->compareQuaternionLists(sequence, _quaternionTolerance))
                            lists |= kQuaternions;
                        // Whatever the flags say: hosts give sequences times before they give them keys.
                        if (reference->compareTimeLists(sequence, _timeTolerance))
                            lists |= kTimes;
                        share(reference, sequence, lists);
                    });
}

// Every sequence against every other, first to last, comes to this: each takes the list of the first one before it that has an
// equal list and took nobody else's.
bool kxOptimizeActorAnimations::shareLists(const kxAnimationDatabase& database)
{
    kxKeyListLeaders translations(kxKeyListLeaders::TRANSLATIONS, _translationTolerance);
    kxKeyListLeaders quaternions(kxKeyListLeaders::QUATERNIONS, _quaternionTolerance);
    kxKeyListLeaders times(_timeTolerance);
    uint64_t seen = 0;
    bool cancelled = false;
    for (const kxAnimation* animation : *database.getAnimationList())
    {
        forEachSequence(animation,
                        [&](kxTransformSequence1_5* sequence)
                        {
                            cancelled = cancelled || (seen++ % kSequencesPerPoll == 0 && isCancelled(*this));
                            if (cancelled)
                                return;
                            if (sequence->hasTranslations())
                                share(translations.find(sequence), sequence, kTranslations);
                            if (sequence->hasQuaternions())
                                share(quaternions.find(sequence), sequence, kQuaternions);
                            share(times.find(sequence), sequence, kTimes);
                        });
        if (cancelled)
            return false;
    }
    return true;
}

} // namespace Kel::Opt
