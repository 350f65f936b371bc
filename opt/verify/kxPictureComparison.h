// Do two graphs show the same picture?
#pragma once

#include "opt/verify/kxDrawList.h"
#include "opt/verify/kxImageMatch.h"

namespace Kel::Opt
{

/// Compares draw lists as multisets.
///
/// Two draws are the same when kind, vertex data, attributes and conditions are equal and their matrices differ by at
/// most the tolerance: each number of the linear part by `tolerance` times the part's largest number, the translation
/// by `tolerance` times its own largest number plus a hundredth of the scene's extent. Geometry that was cut, or dealt
/// out to several vertex data, is the same when the pieces together cover the same with the same attributes
/// (`kxSurface`). Cost: n log n; lists in the same order are compared in one pass. Images with other bytes are the same
/// when their pixels are, or differ within a tolerance; only draws that have no partner by their bytes are looked at so.
class kxPictureComparison
{
public:
    struct Options
    {
        double tolerance = 1e-5;
        bool ignoreImages = false; ///< textures count without their images
        /// How far clips may move things apart, as a part of the extent of what moves (`compareMotion`).
        double motionTolerance = 1e-3;
        double imageTolerance = 0; ///< `imageDifference` that does not count
    };

    kxPictureComparison() = default;
    explicit kxPictureComparison(const Options& options) : m_options(options), m_images(options.imageTolerance) {}

    /// True when both lists show the same picture.
    bool compare(const kxDrawList& a, const kxDrawList& b);

    /// Draws of one list without a partner in the other, by index, rising; after `compare`.
    const std::vector<size_t>& getOnlyInA() const { return m_onlyInA; }
    const std::vector<size_t>& getOnlyInB() const { return m_onlyInB; }

    /// Up to `maxLines` lines that name the first differences by path and attribute, and one that says how many more
    /// there are.
    std::vector<std::string> describe(const kxDrawList& a, const kxDrawList& b, size_t maxLines) const;

private:
    Options m_options;
    mutable kxImageMatch m_images; // remembers what it found out
    std::vector<size_t> m_onlyInA, m_onlyInB;
};

} // namespace Kel::Opt
