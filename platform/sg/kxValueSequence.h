// Keys of numbers.
#pragma once

#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

/// Numbers over time: the weights of morph targets, colours, factors. They stay in the type that the file gave them. A key has
/// as many elements of the array as the array has for each key; of a spline the elements of a key are all tangents before,
/// then all values, then all tangents behind.
class kxValueSequence : public kxTransformSequence
{
    KX_OBJECT(kxValueSequence, kxTransformSequence)
    static void listFields(kxFields<kxValueSequence>& fields);

    kxSmartPointer<kxVertexArray> _values;

    /// Numbers of one key, tangents not counted; 0 without keys.
    uint32_t getNumbersPerKey() const;
    /// A number of a key's value.
    double getNumber(uint32_t key, uint32_t number) const { return getNumber(key, number, isCubicSpline() ? 1 : 0); }
    double getTangentBefore(uint32_t key, uint32_t number) const { return getNumber(key, number, 0); }
    double getTangentBehind(uint32_t key, uint32_t number) const { return getNumber(key, number, 2); }

    bool isWellFormed() const override;
    void keepKeys(std::span<const uint32_t> kept) override;

    /// Appends the numbers at a time. The sequence must be well formed, with rising times and a key.
    void sample(int64_t time, std::vector<double>& numbers) const;

private:
    int64_t getElementsPerValue() const { return _values->_count / (int64_t(getKeyCount()) * getValuesPerKey()); }
    double getNumber(uint32_t key, uint32_t number, uint32_t part) const;
};

} // namespace Kel::Sg
