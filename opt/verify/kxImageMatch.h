// Do two images show the same?
#pragma once

#include "opt/verify/kxImageSamples.h"

#include <map>

namespace Kel::Opt
{

/// Root of the mean square of the differences between two images, over the components of all pixels, in steps of 255; the
/// alphas count when one of the images is not opaque. Images of different sizes are compared at the larger width and height,
/// the smaller ones scaled up by straight lines between their pixels. Below 0 when one of them cannot be decoded. Cost: both
/// images as RGBA in memory.
double imageDifference(kxImage& a, kxImage& b);

/// Compares samples of images and remembers the answers.
class kxImageMatch
{
public:
    kxImageMatch() = default;
    /// With a tolerance of 0 images are the same when their pixels are.
    explicit kxImageMatch(double tolerance) : m_tolerance(tolerance) {}

    bool isSame(const kxImageSamples::Sample& a, const kxImageSamples::Sample& b);
    /// As `imageDifference`, but without a tolerance 0 for equal pixels and below 0 for all others.
    double getDifference(const kxImageSamples::Sample& a, const kxImageSamples::Sample& b);

private:
    uint64_t pixelsOf(const kxImageSamples::Sample& sample);

    double m_tolerance = 0;
    std::map<std::pair<uint64_t, uint64_t>, double> m_differences; // by looks
    std::map<uint64_t, uint64_t> m_pixels;                         // hashes by looks
};

} // namespace Kel::Opt
