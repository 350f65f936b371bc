#include "opt/image/kxImageHistogram.h"

#include "platform/gfx/kxNearestColor.h"
#include "platform/utils/kxIntHistogram.h"

#include <algorithm>
#include <cstring>

namespace Kel::Opt
{

KX_IMPLEMENT(kxImageHistogramBase)
KX_IMPLEMENT(kxImageHistogram_RGBA)
KX_IMPLEMENT(kxImageHistogram_RGB)
KX_IMPLEMENT(kxImageHistogram_LA)

void kxImageHistogramBase::setUp(std::initializer_list<Component> components, bool hasTwoLevelAlpha)
{
    m_components = components;
    m_hasTwoLevelAlpha = hasTwoLevelAlpha;
}

void kxImageHistogramBase::build(std::span<const kxSmartPointer<kxImage>> images)
{
    uint32_t distinctAlphaCount = 0;
    for (const kxSmartPointer<kxImage>& image : images)
        if (kxImage::hasAlpha(image->getFormat()))
        {
            auto alphas = kxNew<Utils::kxIntHistogram>();
            alphas->initialize(0, 255, 256);
            image->computeHistogram(3, *alphas);
            uint32_t count = 0;
            for (uint32_t bin = 0; bin < alphas->getBinCount(); ++bin)
                count += alphas->getSampleCount(bin) > 0;
            distinctAlphaCount = std::max(distinctAlphaCount, count);
        }
    configure(distinctAlphaCount);

    uint32_t bits = 0;
    for (const Component& component : m_components)
        bits += component.bitDepth;
    // Up to 2^18 cells are one array; finer histograms are mostly empty and get pages of their last component.
    m_pageBits = bits > 18 ? m_components.back().bitDepth : 0;
    m_pages.assign(m_pageBits ? size_t(1) << (bits - m_pageBits) : 0, UINT32_MAX);
    m_counts.assign(m_pageBits ? 0 : size_t(1) << bits, 0);
    m_cells.clear();
    m_blackCount = 0;
    m_whiteCount = 0;
    for (const kxSmartPointer<kxImage>& image : images)
        addImage(*image);
    listOccupiedCells();
}

void kxImageHistogramBase::addImage(kxImage& image)
{
    const uint32_t width = image.getWidth(), componentCount = getComponentCount();
    uint32_t fromBit[4] = {}, depth[4] = {};
    for (uint32_t c = 0; c < componentCount; ++c)
    {
        fromBit[c] = 8 * getByte(c) + m_components[c].shift();
        depth[c] = m_components[c].bitDepth;
    }
    const uint32_t mask = getComponentMask();
    image.forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            for (uint32_t x = 0; x < width; ++x)
            {
                uint32_t pixel, cell = 0;
                std::memcpy(&pixel, row + 4 * size_t(x), 4);
                m_blackCount += (pixel & mask) == 0;
                m_whiteCount += (pixel & mask) == mask;
                // Components that are not there have no bits.
                for (size_t c = 0; c < 4; ++c)
                    cell = cell << depth[c] | (pixel >> fromBit[c] & ((1u << depth[c]) - 1));
                if (m_pageBits)
                {
                    uint32_t& page = m_pages[cell >> m_pageBits];
                    if (page == UINT32_MAX)
                    {
                        page = static_cast<uint32_t>(m_counts.size());
                        m_counts.resize(m_counts.size() + (size_t(1) << m_pageBits));
                    }
                    ++m_counts[page + (cell & ((1u << m_pageBits) - 1))];
                }
                else
                    ++m_counts[cell];
            }
        });
}

void kxImageHistogramBase::listOccupiedCells()
{
    const auto addCells = [this](uint32_t firstCell, const uint32_t* counts, size_t count)
    {
        for (uint32_t i = 0; i < count; ++i)
            if (counts[i])
            {
                Cell cell = {{}, counts[i]};
                uint32_t number = firstCell + i;
                for (size_t c = m_components.size(); c-- > 0; number >>= m_components[c].bitDepth)
                    cell.at[c] = static_cast<uint8_t>(number & ((1u << m_components[c].bitDepth) - 1));
                m_cells.push_back(cell);
            }
    };
    if (!m_pageBits)
        addCells(0, m_counts.data(), m_counts.size());
    for (uint32_t page = 0; page < m_pages.size(); ++page)
        if (m_pages[page] != UINT32_MAX)
            addCells(page << m_pageBits, &m_counts[m_pages[page]], size_t(1) << m_pageBits);
}

void kxImageHistogramBase::initializeBox(kxCBBox& box)
{
    box.m_firstCell = 0;
    box.m_cellCount = static_cast<uint32_t>(m_cells.size());
    box._volume = 0;
    box._colorCount = 0;
    for (uint32_t c = 0; c < getComponentCount(); ++c)
    {
        box._cmin->set(c, 0);
        box._cmax->set(c, (1u << m_components[c].bitDepth) - 1);
    }
}

void kxImageHistogramBase::shrinkBox(kxCBBox& box)
{
    uint32_t low[4] = {255, 255, 255, 255}, high[4] = {};
    uint32_t colorCount = 0;
    for (uint32_t i = box.m_firstCell; i < box.m_firstCell + box.m_cellCount; ++i)
    {
        for (size_t c = 0; c < 4; ++c)
        {
            low[c] = std::min<uint32_t>(low[c], m_cells[i].at[c]);
            high[c] = std::max<uint32_t>(high[c], m_cells[i].at[c]);
        }
        colorCount += m_cells[i].count;
    }
    box._colorCount = colorCount;
    box._volume = 0;
    int32_t volume = 1;
    for (uint32_t c = 0; c < 4; ++c)
    {
        box._cmin->set(c, low[c]);
        box._cmax->set(c, high[c]);
        // A box that is flat in one component can still be cut in the others: flat sides do not count.
        if (high[c] > low[c])
        {
            volume *= static_cast<int32_t>(high[c] - low[c]);
            box._volume = volume;
        }
    }
}

void kxImageHistogramBase::splitBox(kxCBBox& box, kxCBBox& upper)
{
    // Green wins over red, red over blue, blue over alpha when the weighted extents are equal.
    const auto scoreOf = [&](uint32_t c)
    {
        const Component& component = m_components[c];
        return ((box.getMaximum(c) - box.getMinimum(c)) << component.shift()) * component.splitWeight;
    };
    uint32_t axis = 1;
    for (const uint32_t c : {0u, 2u, 3u})
        if (c < getComponentCount() && scoreOf(c) > scoreOf(axis))
            axis = c;
    upper.copyFrom(box);
    const uint32_t middle = (box.getMinimum(axis) + box.getMaximum(axis)) >> 1;
    box._cmax->set(axis, middle);
    upper._cmin->set(axis, middle + 1);

    const auto first = m_cells.begin() + box.m_firstCell;
    // Sums do not depend on the order within a range, but the files that a debugger writes do: the partition is stable.
    const auto border = std::stable_partition(first, first + box.m_cellCount,
                                              [&](const Cell& cell) { return cell.at[axis] <= middle; });
    const uint32_t total = box.m_cellCount;
    box.m_cellCount = static_cast<uint32_t>(border - first);
    upper.m_firstCell = box.m_firstCell + box.m_cellCount;
    upper.m_cellCount = total - box.m_cellCount;
}

void kxImageHistogramBase::computeMean(const kxCBBox& box, uint8_t entry[4]) const
{
    if (box._volume == 0 && box.m_cellCount == 1)
    {
        const bool isLow = std::ranges::all_of(m_cells[box.m_firstCell].at, [](uint8_t at) { return at == 0; });
        if (isLow && box._colorCount == m_blackCount)
            return void(std::memset(entry, 0, 4));
        bool isHigh = true;
        for (uint32_t c = 0; c < getComponentCount(); ++c)
            isHigh &= box.getMinimum(c) == (1u << m_components[c].bitDepth) - 1;
        if (isHigh && box._colorCount == m_whiteCount)
            return void(std::memset(entry, 255, 4));
    }
    uint64_t sums[4] = {}, total = 0;
    for (uint32_t i = box.m_firstCell; i < box.m_firstCell + box.m_cellCount; ++i)
    {
        const Cell& cell = m_cells[i];
        for (size_t c = 0; c < m_components.size(); ++c)
        {
            const uint32_t shift = m_components[c].shift();
            sums[c] += uint64_t((uint32_t(cell.at[c]) << shift) + ((1u << shift) >> 1)) * cell.count;
        }
        total += cell.count;
    }
    for (uint32_t c = 0; c < getComponentCount(); ++c)
    {
        const uint32_t byte = getByte(c);
        const auto mean = static_cast<uint8_t>((sums[c] + total / 2) / total);
        if (byte != 3 || !m_hasTwoLevelAlpha)
            entry[byte] = mean;
        else if (box.getMinimum(c) == box.getMaximum(c)) // a box over both levels has no alpha of its own
            entry[byte] = box.getMinimum(c) ? 255 : 0;
    }
    if (getComponentCount() == 2)
        entry[1] = entry[2] = entry[0];
    if (getByte(getComponentCount() - 1) != 3)
        entry[3] = 255;
}

void kxImageHistogram_RGBA::configure(uint32_t distinctAlphaCount)
{
    // Alpha weighs most: a wrong edge shows more than a wrong colour.
    if (distinctAlphaCount > 2)
        setUp({{5, 2, 2}, {6, 3, 3}, {5, 1, 2}, {6, 7, 3}}, false);
    else if (distinctAlphaCount > 0)
        setUp({{5, 2, 2}, {6, 3, 3}, {5, 1, 2}, {1, 1, 0}}, true);
    else
        setUp({{5, 2, 2}, {6, 3, 3}, {5, 1, 2}, {6, 1, 3}}, false);
}

uint32_t kxImageHistogram_RGBA::getComponentMask() const
{
    return kxNearestColor::kRgba;
}

void kxImageHistogram_RGB::configure(uint32_t)
{
    // Without alpha there are cells enough for finer colours: a twentieth less error on photographs than 5, 6 and 5 bits.
    setUp({{6, 2, 3}, {6, 3, 3}, {6, 2, 3}}, false);
}

uint32_t kxImageHistogram_RGB::getComponentMask() const
{
    return kxNearestColor::kRgb;
}

void kxImageHistogram_LA::configure(uint32_t distinctAlphaCount)
{
    // There are cells enough to tell every luminance apart.
    const bool hasTwoLevelAlpha = distinctAlphaCount == 1 || distinctAlphaCount == 2;
    if (hasTwoLevelAlpha)
        setUp({{8, 3, 5}, {1, 1, 0}}, true);
    else
        setUp({{8, 3, 5}, {6, 7, 3}}, false);
}

uint32_t kxImageHistogram_LA::getComponentMask() const
{
    return kxNearestColor::kLuminanceAlpha;
}

} // namespace Kel::Opt
