// Keys of translation, rotation and scale.
#pragma once

#include "platform/sg/kxRotation.h"
#include "platform/sg/kxTransformSequence.h"

#include <optional>

namespace Kel::Sg
{

/// A transform at one time, as far as a sequence gives it.
struct kxTransformSample
{
    std::optional<kxVec3d> translation;
    std::optional<kxQuatd> rotation; ///< of unit length
    std::optional<kxVec3d> scale;
};

/// Lists of translations, rotations and scales over time. Which of the first two are in use stands in the key flags; scales
/// are where there is a list of them that is not empty.
class kxTransformSequence1_5 : public kxTransformSequence
{
    KX_OBJECT(kxTransformSequence1_5, kxTransformSequence)
    static void listFields(kxFields<kxTransformSequence1_5>& fields);

    kxSmartPointer<kxVec3fList> _translations;
    kxSmartPointer<kxQuatfList> _quaternions;
    kxSmartPointer<kxVec3fList> _scales;

    bool hasTranslations() const { return (_keyFlags & HAS_TRANSLATIONS) != 0; }
    bool hasQuaternions() const { return (_keyFlags & HAS_QUATERNIONS) != 0; }
    bool hasScales() const { return _scales && !_scales->isEmpty(); }
    kxVec3fList* getTranslationList() const { return _translations; }
    void setTranslationList(kxVec3fList* translations) { _translations = translations; }
    kxQuatfList* getQuaternionList() const { return _quaternions; }
    void setQuaternionList(kxQuatfList* quaternions) { _quaternions = quaternions; }

    bool isWellFormed() const override;
    void keepKeys(std::span<const uint32_t> kept) override;

    /// Number in its list of the value of a key.
    uint32_t valueOf(uint32_t key) const { return isCubicSpline() ? key * 3 + 1 : key; }

    /// True when key `a` of this sequence and key `b` of `other` hold the same: translations and scales at most their
    /// tolerance apart, rotations by an angle in radians, tangents of splines by the length of their difference. What only
    /// one of the sequences has differs. Both must be well formed and the indices below their key counts.
    bool compareKeyFrames(const kxTransformSequence1_5* other, uint32_t a, uint32_t b, double translationTolerance,
                          double angleTolerance, double scaleTolerance, double tangentTolerance) const;

    /// True when both have lists of the same length whose elements, one by one, are at most `tolerance` apart: by distance,
    /// by rotation angle in radians (by distance of four numbers for splines, whose signs count), by ticks. A missing list
    /// is equal to none.
    bool compareTranslationLists(const kxTransformSequence1_5* other, double tolerance) const;
    bool compareQuaternionLists(const kxTransformSequence1_5* other, double tolerance) const;
    bool compareTimeLists(const kxTransformSequence1_5* other, int64_t tolerance) const;

    /// The transform at a time. The sequence must be well formed, with rising times and a key.
    kxTransformSample sample(int64_t time) const;
};

} // namespace Kel::Sg
