// Removal of keys that interpolation gives back.
#pragma once

#include "opt/actor/kxKeyReduction.h"
#include "opt/framework/kxOptBase.h"
#include "platform/sg/kxAnimationDatabase.h"

namespace Kel::Opt
{

/// Removes every key of a clip that what is drawn between its neighbours gives back within a tolerance. The difference is held
/// against the tolerance at all times, not only at keys. Keys that stay keep every bit, nothing is sampled anew, and the first
/// and the last key of a track always stay, so clips keep their length.
///
/// Straight keys, steps and splines go by their own rules: where values step a key goes when it repeats the one before it, of
/// a spline it goes when the tangents of its neighbours draw the same curve. Turns of half a circle and more between two keys
/// stay as they are, because their way round would be lost.
///
/// Files never grow: where tracks share times or values, keys go only as far as the lists written in addition cost less than
/// what is saved.
///
/// Left alone: locked sequences, lists that do not fit each other, times that do not rise. Cost: n log n for the n keys of a
/// track.
class kxReduceKeyframes : public kxOptBase
{
    KX_OBJECT(kxReduceKeyframes, kxOptBase)
    static void listFields(kxFields<kxReduceKeyframes>& fields);

    float _translationTolerance = 1e-4f;
    float _rotationTolerance = 1e-4f;
    float _scaleTolerance = 1e-4f;
    float _valueTolerance = 1e-4f;
    uint32_t _maxLines = 20;

    /// Refuses tolerances below 0.
    bool configure(int section) override;
    bool canOptimize(kxInfo* info) override;
    /// Reduces every clip of an animation database; false for any other info.
    bool applyInfo(kxInfo* info) override;
    /// Graphs hold no clips: always false.
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// What became of a track by the last `applyInfo`.
    struct TrackResult
    {
        const kxAnimation* animation;
        const kxAnimationTrack* track;
        uint32_t keysBefore;
        uint32_t keysAfter;
        kxKeyTolerances errors; ///< the largest reached, 0 where nothing went
    };
    /// The tracks that were looked at, in order; valid while the database is.
    const std::vector<TrackResult>& getTrackResults() const { return m_results; }

private:
    bool isReducible(kxTransformSequence* sequence);
    void report();

    std::vector<TrackResult> m_results;
};

} // namespace Kel::Opt
