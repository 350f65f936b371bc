// Removal of tracks that move nothing, sharing of keys.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxTransformSequence1_5.h"

#include <unordered_set>

namespace Kel::Opt
{

/// Removes the tracks of clips that no skeleton has a bone for, and makes equal lists of keys shared between sequences. Of
/// equal lists the first one met takes the place of the others; times are compared whatever the keys hold.
///
/// Cost: one look-up for each track, one look at every key, and a comparison for each pair of lists that are near to each
/// other.
class kxOptimizeActorAnimations : public kxOptBase
{
    KX_OBJECT(kxOptimizeActorAnimations, kxOptBase)
    static void listFields(kxFields<kxOptimizeActorAnimations>& fields);

    float _translationTolerance = 0.001f;
    float _quaternionTolerance = 1e-5f;
    int64_t _timeTolerance = 100000;
    bool _shareAnimationData = true;
    bool _removeUnusedTracks = true;

    int64_t getTimeTolerance() const { return _timeTolerance; }
    void setTimeTolerance(int64_t ticks) { _timeTolerance = ticks; }
    bool getRemoveUnusedTracks() const { return _removeUnusedTracks; }
    void setRemoveUnusedTracks(bool remove) { _removeUnusedTracks = remove; }

    /// Reads the time tolerance, which has more bits than scripts set by themselves.
    bool configure(int section) override;
    bool canOptimize(kxInfo* info) override;
    /// Optimizes an animation database; false for any other info.
    bool applyInfo(kxInfo* info) override;
    /// Graphs hold no clips: always false.
    bool apply(kxSmartPointer<kxNode>& root) override;

    /// Removes the tracks that no skeleton finds a bone of the name for. True when there was one.
    bool removeUnusedTracks(const kxSkeletonList* skeletons, kxAnimation* animation);
    /// Gives every sequence of a clip the lists of `reference` that its own are equal to. What `applyInfo` does for all pairs
    /// at once.
    void removeDuplicateSequenceLists(kxTransformSequence1_5* reference, kxAnimation* animation);

private:
    struct NameHash
    {
        size_t operator()(kxStringRef name) const { return static_cast<size_t>(name.getHash()); }
    };
    using Names = std::unordered_set<kxStringRef, NameHash>;

    static Names collectBoneNames(const kxSkeletonList* skeletons);
    bool removeUnusedTracks(const Names& bones, kxAnimation* animation);
    bool shareLists(const kxAnimationDatabase& database);
    void share(const kxTransformSequence1_5* reference, kxTransformSequence1_5* sequence, unsigned lists);
};

} // namespace Kel::Opt
