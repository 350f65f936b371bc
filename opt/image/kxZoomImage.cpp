#include "opt/image/kxZoomImage.h"

#include "opt/image/kxZoomRows.h"
#include "platform/gfx/kxNearestColor.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

namespace Kel::Opt
{

KX_IMPLEMENT(kxZoomImage)

kxZFilterWeightListList makeFilterWeights(uint32_t oldSize, uint32_t newSize, const kxStdFilterFun& filter)
{
    kxZFilterWeightListList lists(newSize);
    const double step = double(oldSize) / newSize;
    const double stretch = std::max(step, 1.0);
    const double radius = filter.getSupport() * stretch;
    for (uint32_t i = 0; i < newSize; ++i)
    {
        kxZFilterWeightList& list = lists[i];
        const double middle = (i + 0.5) * step;
        const auto last = static_cast<int64_t>(std::ceil(middle + radius));
        double sum = 0;
        for (auto j = static_cast<int64_t>(std::floor(middle - radius)) - 1; j <= last; ++j)
        {
            const double weight = filter.evaluate((static_cast<double>(j) + 0.5 - middle) / stretch);
            if (weight == 0)
                continue;
            const auto source = static_cast<uint32_t>(std::clamp<int64_t>(j, 0, int64_t(oldSize) - 1));
            if (!list.empty() && list.back().source == source)
                list.back().weight += weight;
            else
                list.push_back({source, weight});
            sum += weight;
        }
        // A box can fall between two pixels when it is narrower than their distance by rounding.
        if (std::abs(sum) < 1e-9)
        {
            list.assign(1, {std::min(static_cast<uint32_t>(middle), oldSize - 1), 1});
            continue;
        }
        for (kxZFilterWeight& entry : list)
            entry.weight /= sum;
    }
    return lists;
}

namespace
{

kxZoomRuns layOut(const kxZFilterWeightListList& lists, uint32_t componentCount)
{
    kxZoomRuns runs;
    runs.runs.reserve(lists.size());
    const size_t copies = componentCount == 2 ? 2 : 1; // one weight for each of a pixel's values in a step of four
    for (const kxZFilterWeightList& list : lists)
    {
        const uint32_t first = list.front().source, count = list.back().source - first + 1;
        runs.runs.push_back({first, count, runs.weights.size()});
        const size_t start = runs.weights.size();
        runs.weights.resize(start + (size_t(count) * copies + 3) / 4 * 4, 0.0f);
        for (const kxZFilterWeight& entry : list)
            for (size_t copy = 0; copy < copies; ++copy)
                runs.weights[start + (entry.source - first) * copies + copy] = static_cast<float>(entry.weight);
    }
    return runs;
}

/// The rows that the next rows of the new image are made of, each made when first asked for.
class RowRing
{
public:
    RowRing(uint32_t capacity, size_t rowFloats, std::function<void(uint32_t, float*)> make)
        : m_floats(rowFloats),
          m_rows(capacity, UINT32_MAX),
          m_values(rowFloats * capacity, 0.0f),
          m_make(std::move(make))
    {
    }
    const float* get(uint32_t row)
    {
        const size_t place = row % m_rows.size();
        float* values = m_values.data() + place * m_floats;
        if (m_rows[place] != row)
        {
            m_rows[place] = row;
            m_make(row, values);
        }
        return values;
    }

private:
    size_t m_floats;
    std::vector<uint32_t> m_rows;
    std::vector<float> m_values;
    std::function<void(uint32_t, float*)> m_make;
};

uint64_t weightCount(const kxZFilterWeightListList& lists)
{
    uint64_t count = 0;
    for (const kxZFilterWeightList& list : lists)
        count += list.size();
    return count;
}

} // namespace

bool kxZoomImage::zoomComponents(kxImage& source, kxImage& destination) const
{
    const kxTextureFormatInfo& info = *findTextureFormat(source.getFormat());
    const uint32_t components = info.bytesPerPixel();
    const bool isColor = m_meaning == kxZoomMeaning::COLORS || m_meaning == kxZoomMeaning::LINEAR_COLORS;
    kxZoomCoding coding;
    coding.componentCount = components;
    coding.hasAlpha = info.hasAlpha();
    coding.isWeightedByAlpha = isColor && coding.hasAlpha && components > 1;
    coding.isLinearLight =
        (m_meaning == kxZoomMeaning::LINEAR_COLORS || m_meaning == kxZoomMeaning::LIGHT) && source.getFormat() != a_8;
    coding.isDirection = m_meaning == kxZoomMeaning::NORMALS && components >= 3;

    const uint32_t oldWidth = source.getWidth(), oldHeight = source.getHeight();
    const uint32_t newWidth = destination.getWidth(), newHeight = destination.getHeight();
    const kxZFilterWeightListList columnLists = makeFilterWeights(oldWidth, newWidth, *m_filter);
    const kxZFilterWeightListList rowLists = makeFilterWeights(oldHeight, newHeight, *m_filter);
    const kxZoomRuns columns = layOut(columnLists, components);
    uint32_t ringSize = 1;
    for (const kxZFilterWeightList& list : rowLists)
        ringSize = std::max(ringSize, list.back().source - list.front().source + 1);

    // Both passes take turns row by row. The cheaper order depends on the ratios: rows first when that leaves less to do.
    const uint64_t columnWeights = weightCount(columnLists), rowWeights = weightCount(rowLists);
    const bool isColumnsFirst =
        columnWeights * oldHeight + rowWeights * newWidth < rowWeights * oldWidth + columnWeights * newHeight;
    const kxZoomRowFunctions& functions = getZoomRowFunctions();
    const uint8_t* pixels = source.getPixels();
    const size_t oldStride = size_t(oldWidth) * components, newStride = size_t(newWidth) * components;
    std::vector<float> decoded(oldStride + kZoomRowPadding, 0.0f), resampled(newStride + kZoomRowPadding, 0.0f);
    const size_t ringValues = isColumnsFirst ? newStride : oldStride;
    std::vector<float> sum(ringValues + kZoomRowPadding, 0.0f);
    RowRing ring(ringSize, ringValues + kZoomRowPadding,
                 [&](uint32_t y, float* target)
                 {
                     float* row = isColumnsFirst ? decoded.data() : target;
                     functions.fromBytes(pixels + y * oldStride, row, oldWidth, coding);
                     if (isColumnsFirst)
                         functions.resampleRow(row, target, columns, components);
                 });

    uint8_t* target = destination.getWritablePixels();
    std::vector<const float*> rows;
    std::vector<float> weights;
    for (uint32_t y = 0; y < newHeight; ++y, target += newStride)
    {
        rows.clear();
        weights.clear();
        for (const kxZFilterWeight& entry : rowLists[y])
        {
            rows.push_back(ring.get(entry.source));
            weights.push_back(static_cast<float>(entry.weight));
        }
        functions.addRows(rows.data(), weights.data(), rows.size(), sum.data(), ringValues);
        float* row = sum.data();
        if (!isColumnsFirst)
        {
            functions.resampleRow(sum.data(), resampled.data(), columns, components);
            row = resampled.data();
        }
        functions.toBytes(row, target, newWidth, coding);
    }
    return true;
}

bool kxZoomImage::zoom()
{
    if (!m_source || !m_destination || !m_filter || !m_source->ensurePixels() || !m_destination->ensurePixels() ||
        m_source->getFormat() != m_destination->getFormat())
        return false;
    const KX_GFX_TEXTURE_FORMAT format = m_source->getFormat();
    const kxTextureFormatInfo& info = *findTextureFormat(format);
    if (!info.isPacked() && !info.isIndexed())
        return zoomComponents(*m_source, *m_destination);

    // Everything else through whole bytes.
    const KX_GFX_TEXTURE_FORMAT wide = info.isIndexed() ? rgba_8888_32 : info.unpacked;
    auto source = kxNew<kxImage>();
    auto zoomed = kxNew<kxImage>();
    if (!source->convert(wide, m_source) ||
        !zoomed->setSize(m_destination->getWidth(), m_destination->getHeight(), wide) ||
        !zoomComponents(*source, *zoomed))
        return false;
    if (!info.isIndexed())
    {
        // Blocks are only made of RGBA pixels, which their unpacked format is.
        return m_destination->convert(format, zoomed);
    }
    uint32_t table[256];
    m_source->_clut->fillTable(table);
    kxNearestColor nearest(reinterpret_cast<const uint8_t*>(table), std::max(1u, m_source->_clut->_entryCount),
                           kxNearestColor::kRgba);
    auto indexed = kxNew<kxImage>();
    indexed->setSize(zoomed->getWidth(), zoomed->getHeight(), x_8);
    uint8_t* indices = indexed->getWritablePixels();
    uint32_t largest = 0;
    zoomed->forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            nearest.mapRow(reinterpret_cast<const uint32_t*>(row), indices, zoomed->getWidth(), largest);
            indices += zoomed->getWidth();
        });
    indexed->_clut = m_source->_clut->clone();
    return m_destination->convert(format, indexed);
}

} // namespace Kel::Opt
