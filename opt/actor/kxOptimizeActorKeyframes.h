// Removal of repeated keys.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxTransformSequence1_5.h"

namespace Kel::Opt
{

/// Removes keys in the middle of runs of equal keys from the transform sequences of clips: of every run the first and the last
/// stay. Two keys are equal when translations and rotations differ by at most the tolerances, and scales not at all.
///
/// Sequences that step or follow splines are left alone, and so are those without translations whose keys are all equal: they
/// count as constant. Cost: two comparisons for each key.
class kxOptimizeActorKeyframes : public kxOptBase
{
    KX_OBJECT(kxOptimizeActorKeyframes, kxOptBase)
    static void listFields(kxFields<kxOptimizeActorKeyframes>& fields);

    float _maximumTranslation = 0.001f;
    float _maximumAngleChange = 1e-7f;

    float getMaximumTranslation() const { return _maximumTranslation; }
    float getMaximumAngleChange() const { return _maximumAngleChange; }
    void setMaximumAngleChange(float angle) { _maximumAngleChange = angle; }

    bool configure(int section) override;
    bool canOptimize(kxInfo* info) override;
    /// Optimizes every clip of an animation database; false for any other info.
    bool applyInfo(kxInfo* info) override;
    /// Graphs hold no clips: always false.
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// Optimizes the tracks of a clip; a track whose source has no keys loses it and becomes constant. False without a list of
    /// tracks.
    bool optimizeAnimation(kxAnimation* animation);
    /// Optimizes one sequence. False for one that is left alone because of its kind or because it has less than two keys.
    bool optimizeTransformSequence1_5(kxTransformSequence1_5* sequence, bool& isConstant);
};

} // namespace Kel::Opt
