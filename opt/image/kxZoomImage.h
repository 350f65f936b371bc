// Filtered resizing.
#pragma once

#include "opt/image/kxStdFilterFun.h"
#include "platform/gfx/kxImage.h"

#include <vector>

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// What the components of an image mean, as far as averages of them go.
enum class kxZoomMeaning
{
    NUMBERS,       ///< each component for itself
    COLORS,        ///< colours count by their alpha, so that those of transparent pixels do not show
    LINEAR_COLORS, ///< the same, and averages are those of light, not of its coded values
    LIGHT,         ///< averages of light; the alpha is a number of its own that colours do not depend on
    NORMALS        ///< directions: scaled to unit length afterwards
};

/// One contribution to a pixel of the new image.
struct kxZFilterWeight
{
    uint32_t source; ///< column or row of the old image
    double weight;
};
using kxZFilterWeightList = std::vector<kxZFilterWeight>;
using kxZFilterWeightListList = std::vector<kxZFilterWeightList>;

/// For each column (or row) of the new image its contributors, in order, each old one at most once, their weights adding up
/// to 1. Pixels are squares that cover both images alike; when shrinking, the filter is as wide in the new image as it is in
/// the old one when enlarging; beyond the borders the border pixels go on.
kxZFilterWeightListList makeFilterWeights(uint32_t oldSize, uint32_t newSize, const kxStdFilterFun& filter);

/// Resamples an image into another of any size by a separable filter.
class kxZoomImage : public kxObject
{
    KX_OBJECT(kxZoomImage, kxObject)

    void setSource(kxImage* source) { m_source = source; }
    /// Has its size and the source's format; its pixels are overwritten.
    void setDestination(kxImage* destination) { m_destination = destination; }
    void setFilter(kxStdFilterFun* filter) { m_filter = filter; }
    void setMeaning(kxZoomMeaning meaning) { m_meaning = meaning; }

    /// Fills the destination; false, with nothing done, when something is missing or the formats differ. Images of indices
    /// keep the palette: each new pixel gets the colour nearest to the filtered one. Differs from exact arithmetic by at most
    /// 1 of 255. Gives the same bytes on every machine. Cost: grows with the pixels of both images times the filter's width.
    bool zoom();

private:
    bool zoomComponents(kxImage& source, kxImage& destination) const;

    kxSmartPointer<kxImage> m_source;
    kxSmartPointer<kxImage> m_destination;
    kxSmartPointer<kxStdFilterFun> m_filter;
    kxZoomMeaning m_meaning = kxZoomMeaning::NUMBERS;
};

} // namespace Kel::Opt
