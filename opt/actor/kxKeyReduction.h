// Which keys go, for sequences that share lists.
#pragma once

#include "opt/actor/kxKeyCurve.h"

namespace Kel::Opt
{

/// How far sequences may come off.
struct kxKeyTolerances
{
    double translation; ///< scene units
    double rotation;    ///< radians
    double scale;
    double value; ///< of any other number
};

/// One sequence, and what is to become of it.
struct kxKeyReduction
{
    kxTransformSequence* sequence;
    std::vector<uint32_t> kept = {}; ///< numbers of the keys that stay
    kxKeyTolerances errors = {};     ///< the largest reached
    bool isHeldBack = false;         ///< keys could go, but splitting the lists would cost more than they take

    bool isReduced() const { return kept.size() < sequence->getKeyCount(); }
};

/// Decides for sequences that share lists with each other, directly or through others, and with no sequence beside them.
/// Lists that stay shared must lose the same keys, and lists that are split are written twice; of the ways to share the one
/// that takes the fewest bytes is chosen, and none when all take more than there are now. The sequences must be well formed,
/// with times that rise from key to key. Nothing is changed yet.
void planReduction(std::span<kxKeyReduction> sequences, const kxKeyTolerances& tolerances);

/// Takes the keys away. Sequences that shared a list and lose the same keys share the new one.
void applyReduction(std::span<kxKeyReduction> sequences);

/// Calls back with every list of a sequence that others may share: `visit(slot, bytesPerKey)` gets the smart pointer.
template <class Visit>
void forEachKeyList(kxTransformSequence& sequence, Visit visit)
{
    const kxKeySizes sizes = sequence.getKeySizes();
    const uint32_t numberBytes = sizes.numberBytes * sequence.getValuesPerKey();
    visit(sequence._times, sizes.timeBytes);
    if (auto* transforms = kxCast<kxTransformSequence1_5>(&sequence))
    {
        if (transforms->hasTranslations())
            visit(transforms->_translations, numberBytes * 3);
        if (transforms->hasQuaternions())
            visit(transforms->_quaternions, numberBytes * 4);
        if (transforms->hasScales())
            visit(transforms->_scales, numberBytes * 3);
    }
    else if (auto* values = kxCast<kxValueSequence>(&sequence))
        visit(values->_values, values->_values->getElementBytes() *
                                   static_cast<uint32_t>(values->_values->_count / values->getKeyCount()));
}

} // namespace Kel::Opt
