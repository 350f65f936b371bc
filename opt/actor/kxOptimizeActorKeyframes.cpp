#include "opt/actor/kxOptimizeActorKeyframes.h"

#include "opt/scene/kxServices.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptimizeActorKeyframes)

void kxOptimizeActorKeyframes::listFields(kxFields<kxOptimizeActorKeyframes>& fields)
{
    fields.add(&kxOptimizeActorKeyframes::_maximumTranslation, "_maximumTranslation",
               "largest difference of translations of equal keys, scene units");
    fields.add(&kxOptimizeActorKeyframes::_maximumAngleChange, "_maximumAngleChange",
               "largest difference of rotations of equal keys, radians");
}

bool kxOptimizeActorKeyframes::configure(int)
{
    return true;
}

bool kxOptimizeActorKeyframes::canOptimize(kxInfo* info)
{
    return kxCast<kxAnimationDatabase>(info) != nullptr;
}

bool kxOptimizeActorKeyframes::apply(kxSmartPointer<kxNode>&)
{
    return false;
}

bool kxOptimizeActorKeyframes::applyInfo(kxInfo* info)
{
    const auto* database = kxCast<kxAnimationDatabase>(info);
    if (!database)
        return false;
    if (database->getAnimationList())
        for (kxAnimation* animation : *database->getAnimationList())
        {
            if (isCancelled(*this))
                return false;
            if (animation)
                optimizeAnimation(animation);
        }
    return true;
}

bool kxOptimizeActorKeyframes::optimizeAnimation(kxAnimation* animation)
{
    if (!animation->getTrackList())
        return false;
    for (kxAnimationTrack* track : *animation->getTrackList())
    {
        kxTransformSequence* source = track ? track->getSource() : nullptr;
        if (!source)
            continue;
        if (source->getKeyCount() == 0)
        {
            track->_constant = kxQuatf(1, 0, 0, 0);
            track->setSource(nullptr);
            count("tracks without keys");
            continue;
        }
        bool isConstant = false;
        if (auto* sequence = kxCast<kxTransformSequence1_5>(source))
            optimizeTransformSequence1_5(sequence, isConstant);
        if (isConstant)
            count("constant sequences");
    }
    return true;
}

bool kxOptimizeActorKeyframes::optimizeTransformSequence1_5(kxTransformSequence1_5* sequence, bool& isConstant)
{
    isConstant = false;
    if (sequence->isStep() || sequence->isCubicSpline())
        return false;
    const uint32_t keyCount = sequence->getKeyCount();
    if (keyCount < 2)
        return false;
    if (!sequence->isWellFormed())
    {
        refuse("keys and values of different number", sequence);
        return false;
    }
    if (!sequence->hasRisingTimes())
    {
        // Which keys lie between which others is nobody's business to guess.
        refuse("times that do not rise", sequence);
        return false;
    }
    const auto isEqual = [&](uint32_t a, uint32_t b)
    { return sequence->compareKeyFrames(sequence, a, b, _maximumTranslation, _maximumAngleChange, 0, 0); };

    if (!sequence->hasTranslations())
    {
        uint32_t key = 0;
        while (key + 1 < keyCount && isEqual(key, key + 1))
            ++key;
        if (key + 1 == keyCount)
        {
            isConstant = true;
            return true;
        }
    }

    // In one pass, as if each key were removed at once: `kept` ends with the key that others are held against, and the two
    // behind it are `next` and the one after.
    std::vector<uint32_t> kept{0};
    for (uint32_t next = 1; next < keyCount; ++next)
        if (next + 1 == keyCount || !isEqual(kept.back(), next) || !isEqual(kept.back(), next + 1))
            kept.push_back(next);
    if (kept.size() < keyCount)
    {
        count("keys removed", static_cast<int64_t>(keyCount - kept.size()));
        sequence->keepKeys(kept);
    }
    return true;
}

} // namespace Kel::Opt
