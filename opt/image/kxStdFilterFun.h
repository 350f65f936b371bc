// Filter functions of image resizing.
#pragma once

#include "platform/core/kxFields.h"
#include "platform/core/kxMemoryBlock.h"

namespace Kel::Opt
{

using namespace Kel::Core;

/// A filter kernel: symmetric but for the borders of the box, and zero beyond its support.
class kxStdFilterFun : public kxObject
{
    KX_OBJECT(kxStdFilterFun, kxObject)
    static void listFields(kxFields<kxStdFilterFun>& fields);

    double _support = 0;

    /// Half of the kernel's width.
    double getSupport() const { return _support; }
    /// The kernel's value at a distance from its middle, in pixels of the coarser image.
    virtual double evaluate(double x) const = 0;

protected:
    explicit kxStdFilterFun(double support) : _support(support) {}
};

#define KX_FILTER_FUN(Class, Support)                                                                                  \
    class Class : public kxStdFilterFun                                                                                \
    {                                                                                                                  \
        KX_OBJECT(Class, kxStdFilterFun)                                                                               \
        Class() : kxStdFilterFun(Support) {}                                                                           \
        double evaluate(double x) const override;                                                                      \
    };

KX_FILTER_FUN(kxBoxFilterFun, 0.5)
KX_FILTER_FUN(kxTriangleFilterFun, 1.0)
KX_FILTER_FUN(kxBellFilterFun, 1.5)
KX_FILTER_FUN(kxBSplineFilterFun, 2.0)
KX_FILTER_FUN(kxLanczos3FilterFun, 3.0)
/// Its kernel ends at 2; the support is wider, which lengthens the lists of contributors but not their weights.
KX_FILTER_FUN(kxMitchellFilterFun, 3.0)
#undef KX_FILTER_FUN

/// A Gaussian of a given standard deviation, from a table. The support is the first whole number of pixels at which the
/// kernel is below 0.002 of its middle.
class kxGaussianFilterFun : public kxStdFilterFun
{
    KX_OBJECT(kxGaussianFilterFun, kxStdFilterFun)
    static void listFields(kxFields<kxGaussianFilterFun>& fields);

    kxSmartPointer<kxMemoryBlock> _table;
    uint32_t _tableCount = 0;

    explicit kxGaussianFilterFun(double width = 0.8);
    double evaluate(double x) const override;
};

} // namespace Kel::Opt
