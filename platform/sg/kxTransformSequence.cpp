#include "platform/sg/kxTransformSequence.h"

#include <algorithm>
#include <numeric>

namespace Kel::Sg
{

KX_IMPLEMENT(kxTransformSequence)
KX_IMPLEMENT(kxTransformSequenceList)

void kxTransformSequence::listFields(kxFields<kxTransformSequence>& fields)
{
    fields.add(&kxTransformSequence::_name, "_name", "name of the sequence");
    fields.add(&kxTransformSequence::_keyFlags, "_keyFlags",
               "bit 0: translation keys, bit 1: rotation keys, bit 2: values hold until the next key, bit 3: cubic "
               "spline with three values for each key");
    fields.add(&kxTransformSequence::_times, "_times", "times of the keys, in 2^-40 seconds");
    fields.add(&kxTransformSequence::_fileForm, "_fileForm", "how a file held the keys");
    fields.add(&kxTransformSequence::_userData, "_userData", "what a file says beyond these fields");
}

bool kxTransformSequence::hasRisingTimes() const
{
    return !_times || std::is_sorted(_times->getData(), _times->getData() + _times->getCount());
}

void kxTransformSequence::keepKeys(std::span<const uint32_t> kept)
{
    _times = gatherKeys(_times.get(), kept, 1);
}

void kxTransformSequence::removeKey(uint32_t index)
{
    std::vector<uint32_t> kept(getKeyCount());
    std::iota(kept.begin(), kept.end(), 0u);
    if (index >= kept.size())
        return;
    kept.erase(kept.begin() + index);
    keepKeys(kept);
}

kxTransformSequence::Place kxTransformSequence::findPlace(int64_t time) const
{
    const int64_t* times = _times->getData();
    const uint32_t count = _times->getCount();
    const auto next = static_cast<uint32_t>(std::upper_bound(times, times + count, time) - times);
    if (next == 0)
        return {0, 0, 0};
    if (next == count)
        return {count - 1, 0, 0};
    // Differences as floating-point numbers: those of broken files overflow.
    const double length = double(times[next]) - double(times[next - 1]);
    return {next - 1, isStep() ? 0 : (double(time) - double(times[next - 1])) / length,
            length / double(kTicksPerSecond)};
}

} // namespace Kel::Sg
