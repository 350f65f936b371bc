#include "platform/sg/kxValueSequence.h"

#include "platform/sg/kxRotation.h"

#include <cstring>

namespace Kel::Sg
{

KX_IMPLEMENT(kxValueSequence)

void kxValueSequence::listFields(kxFields<kxValueSequence>& fields)
{
    fields.add(&kxValueSequence::_values, "_values", "the numbers, key by key");
}

uint32_t kxValueSequence::getNumbersPerKey() const
{
    return _values && getKeyCount() ? static_cast<uint32_t>(getElementsPerValue()) * _values->_componentCount : 0;
}

double kxValueSequence::getNumber(uint32_t key, uint32_t number, uint32_t part) const
{
    const int64_t elements = getElementsPerValue();
    const int64_t first = (int64_t(key) * getValuesPerKey() + part) * elements;
    return _values->getComponent(first + number / _values->_componentCount, number % _values->_componentCount);
}

bool kxValueSequence::isWellFormed() const
{
    const int64_t values = int64_t(getKeyCount()) * getValuesPerKey();
    std::string fault;
    return values == 0 ||
           (_values && _values->userCheckLoaded(fault) && _values->_count >= values && _values->_count % values == 0);
}

void kxValueSequence::keepKeys(std::span<const uint32_t> kept)
{
    if (_values && getKeyCount())
    {
        const int64_t elements = getElementsPerValue() * getValuesPerKey();
        const size_t elementBytes = _values->getElementBytes();
        const kxSmartPointer<kxObject> copied = _values->copyShallow();
        kxSmartPointer<kxVertexArray> values = kxCast<kxVertexArray>(copied);
        values->_data = kxMemoryBlock::create(kept.size() * static_cast<size_t>(elements) * elementBytes);
        uint8_t* target = values->_data->getWritableData();
        for (const uint32_t key : kept)
            for (int64_t i = 0; i < elements; ++i, target += elementBytes)
                std::memcpy(target, _values->getElement(key * elements + i), elementBytes);
        values->_offset = 0;
        values->_stride = static_cast<int64_t>(elementBytes);
        values->_count = static_cast<int64_t>(kept.size()) * elements;
        _values = values;
    }
    kxTransformSequence::keepKeys(kept);
}

void kxValueSequence::sample(int64_t time, std::vector<double>& numbers) const
{
    const Place at = findPlace(time);
    const kxSplineWeights w(at.fraction);
    for (uint32_t i = 0; i < getNumbersPerKey(); ++i)
    {
        const double a = getNumber(at.key, i);
        if (at.fraction == 0)
            numbers.push_back(a);
        else if (!isCubicSpline())
            numbers.push_back(a * (1 - at.fraction) + getNumber(at.key + 1, i) * at.fraction);
        else
            numbers.push_back(a * w.value0 + getNumber(at.key + 1, i) * w.value1 +
                              getTangentBehind(at.key, i) * w.tangent0 * at.seconds +
                              getTangentBefore(at.key + 1, i) * w.tangent1 * at.seconds);
    }
}

} // namespace Kel::Sg
