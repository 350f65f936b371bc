#include "opt/image/kxStdFilterFun.h"

#include <cmath>
#include <numbers>

namespace Kel::Opt
{

KX_IMPLEMENT(kxStdFilterFun)
KX_IMPLEMENT(kxBoxFilterFun)
KX_IMPLEMENT(kxTriangleFilterFun)
KX_IMPLEMENT(kxBellFilterFun)
KX_IMPLEMENT(kxBSplineFilterFun)
KX_IMPLEMENT(kxLanczos3FilterFun)
KX_IMPLEMENT(kxMitchellFilterFun)
KX_IMPLEMENT(kxGaussianFilterFun)

namespace
{

// The cubic that is neither too sharp nor too soft.
constexpr double kMitchellB = 1.0 / 3.0;
constexpr double kMitchellC = 1.0 / 3.0;

constexpr double kGaussianCutOff = 0.002;
/// Table entries for each pixel of distance; between them the kernel is taken as straight, which is off by 3e-6 at most.
constexpr uint32_t kEntriesPerPixel = 256;

double sinc(double u)
{
    return u == 0 ? 1 : std::sin(std::numbers::pi * u) / (std::numbers::pi * u);
}

} // namespace

void kxStdFilterFun::listFields(kxFields<kxStdFilterFun>& fields)
{
    fields.add(&kxStdFilterFun::_support, "_support", "half of the kernel's width");
}

double kxBoxFilterFun::evaluate(double x) const
{
    // Closed at one side only, so that a pixel between two boxes counts once.
    return -0.5 < x && x <= 0.5 ? 1 : 0;
}

double kxTriangleFilterFun::evaluate(double x) const
{
    const double t = std::abs(x);
    return t < 1 ? 1 - t : 0;
}

double kxBellFilterFun::evaluate(double x) const
{
    const double t = std::abs(x);
    if (t < 0.5)
        return 0.75 - t * t;
    return t < 1.5 ? 0.5 * (t - 1.5) * (t - 1.5) : 0;
}

double kxBSplineFilterFun::evaluate(double x) const
{
    const double t = std::abs(x);
    if (t < 1)
        return 0.5 * t * t * t - t * t + 2.0 / 3.0;
    return t < 2 ? (2 - t) * (2 - t) * (2 - t) / 6 : 0;
}

double kxLanczos3FilterFun::evaluate(double x) const
{
    const double t = std::abs(x);
    return t < 3 ? sinc(t) * sinc(t / 3) : 0;
}

double kxMitchellFilterFun::evaluate(double x) const
{
    const double t = std::abs(x), b = kMitchellB, c = kMitchellC;
    if (t < 1)
        return ((12 - 9 * b - 6 * c) * t * t * t + (-18 + 12 * b + 6 * c) * t * t + (6 - 2 * b)) / 6;
    if (t < 2)
        return ((-b - 6 * c) * t * t * t + (6 * b + 30 * c) * t * t + (-12 * b - 48 * c) * t + (8 * b + 24 * c)) / 6;
    return 0;
}

void kxGaussianFilterFun::listFields(kxFields<kxGaussianFilterFun>& fields)
{
    fields.add(&kxGaussianFilterFun::_table, "_table", "values of the kernel from its middle outwards, 64-bit numbers");
    fields.add(&kxGaussianFilterFun::_tableCount, "_tableCount", "number of values in the table");
}

kxGaussianFilterFun::kxGaussianFilterFun(double width)
    : kxStdFilterFun(std::max(1.0, std::ceil(width * std::sqrt(-2 * std::log(kGaussianCutOff)))))
{
    _tableCount = static_cast<uint32_t>(_support) * kEntriesPerPixel + 1;
    _table = kxMemoryBlock::create(_tableCount * sizeof(double));
    auto* values = reinterpret_cast<double*>(_table->getWritableData());
    for (uint32_t i = 0; i < _tableCount; ++i)
    {
        const double t = double(i) / kEntriesPerPixel;
        values[i] = std::exp(-t * t / (2 * width * width));
    }
}

double kxGaussianFilterFun::evaluate(double x) const
{
    const double place = std::abs(x) * kEntriesPerPixel;
    if (place >= _tableCount - 1)
        return 0;
    const auto* values = reinterpret_cast<const double*>(_table->getData());
    const auto before = static_cast<uint32_t>(place);
    return values[before] + (values[before + 1] - values[before]) * (place - before);
}

} // namespace Kel::Opt
