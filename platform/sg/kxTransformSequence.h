// Keys over time.
#pragma once

#include "platform/core/kxUserData.h"
#include "platform/sg/kxKeyForm.h"
#include "platform/sg/kxSgNames.h"

#include <span>

namespace Kel::Sg
{

/// Base of the sources of animation tracks: keys, each with a time, in rising order. What a key holds is the derived class's.
///
/// Between two keys values run straight (rotations along the shorter arc), unless the flags say that they stay until the
/// next key or follow a cubic spline. Before the first key and behind the last they stay.
///
/// Lists may be shared with other sequences, so nothing changes one in place: what edits a sequence gives it new lists.
class kxTransformSequence : public kxObject
{
    KX_OBJECT(kxTransformSequence, kxObject)
    static void listFields(kxFields<kxTransformSequence>& fields);

    /// Bits of `_keyFlags`.
    static constexpr uint32_t HAS_TRANSLATIONS = 1;
    static constexpr uint32_t HAS_QUATERNIONS = 2;
    static constexpr uint32_t STEP = 4; ///< a value holds until the next key
    static constexpr uint32_t CUBIC_SPLINE =
        8; ///< three values for a key: tangent before, value, tangent behind, per second

    /// Times are counted in parts of a second. A power of two, so that times given as floating-point seconds come back to
    /// the bit from 2^-17 seconds on; the largest is 97 days.
    static constexpr int64_t kTicksPerSecond = INT64_C(1) << 40;

    kxStringRef _name;
    uint32_t _keyFlags = 0;
    kxSmartPointer<kxLongList> _times;
    kxSmartPointer<kxKeyForm> _fileForm; ///< null for keys that came from no file
    kxSmartPointer<kxUserData> _userData;

    uint32_t getKeyFlags() const { return _keyFlags; }
    uint32_t getKeyCount() const { return _times ? _times->getCount() : 0; }
    bool isStep() const { return (_keyFlags & STEP) != 0; }
    bool isCubicSpline() const { return (_keyFlags & CUBIC_SPLINE) != 0; }
    /// Values that a list holds for each key.
    uint32_t getValuesPerKey() const { return isCubicSpline() ? 3 : 1; }
    kxLongList* getTimeList() const { return _times; }
    void setTimeList(kxLongList* times) { _times = times; }

    kxKeySizes getKeySizes() const { return _fileForm ? _fileForm->getSizes() : kxKeySizes(); }

    /// True when every list in use has the right number of values: in what comes from a file it need not.
    virtual bool isWellFormed() const { return true; }
    /// True when no time is before the one that it follows. Cost: one look at every time.
    bool hasRisingTimes() const;
    /// Keeps the keys of the given numbers, which rise. The lists are new ones, whether or not others share the old.
    virtual void keepKeys(std::span<const uint32_t> kept);
    /// Removes one key. Cost: a copy of the lists.
    void removeKey(uint32_t index);

    /// A place between two keys.
    struct Place
    {
        uint32_t key;    ///< the key at or before the time
        double fraction; ///< 0 at the key, towards 1 at the next one
        double seconds;  ///< from the key to the next one
    };
    /// Finds a time; there must be a key, and the times must rise. Before the first and behind the last key it is at that key. O(log keys).
    Place findPlace(int64_t time) const;
};

KX_OBJECT_LIST(kxTransformSequenceList, kxTransformSequence)

/// Elements of a list of values in a new list of the same class, `valuesPerKey` for each number; null for null.
template <class List>
kxSmartPointer<List> gatherKeys(const List* list, std::span<const uint32_t> kept, uint32_t valuesPerKey)
{
    if (!list)
        return nullptr;
    auto gathered = kxNew<List>();
    gathered->reserve(kept.size() * valuesPerKey);
    for (const uint32_t key : kept)
        for (uint32_t i = 0; i < valuesPerKey; ++i)
            gathered->append(list->get(key * valuesPerKey + i));
    return gathered;
}

} // namespace Kel::Sg
