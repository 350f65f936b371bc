#include "platform/gfx/kxNearestColor.h"

#include "platform/gfx/kxVectorTarget.h"

#include <algorithm>
#include <cstdlib>

namespace Kel::Gfx
{

namespace
{

uint32_t byteOf(uint32_t color, size_t component)
{
    return color >> 8 * component & 255;
}

// Squared distances stay below 2^18, which floats hold exactly.
typedef float Float8 __attribute__((vector_size(32), aligned(4), may_alias));
typedef int32_t Int8 __attribute__((vector_size(32), aligned(4), may_alias));

KX_ROW_BODY void takeSmaller(Int8& keys, const Int8& others)
{
    keys = keys < others ? keys : others;
}

} // namespace

kxNearestColor::kxNearestColor(const uint8_t* entries, uint32_t entryCount, uint32_t components)
    : m_mask(components), m_count(std::clamp(entryCount, 1u, 256u))
{
    const uint8_t cellBits[3][4] = {{5, 5, 5, 0}, {4, 5, 4, 3}, {7, 0, 0, 6}};
    const uint8_t coarseBits[3][4] = {{3, 3, 3, 0}, {2, 3, 2, 2}, {4, 0, 0, 3}};
    const size_t kind = components == kRgb ? 0 : components == kRgba ? 1 : 2;
    std::copy_n(cellBits[kind], 4, m_cellBits);
    std::copy_n(coarseBits[kind], 4, m_coarseBits);
    m_cells.resize(size_t(1) << (m_cellBits[0] + m_cellBits[1] + m_cellBits[2] + m_cellBits[3]));
    m_coarse.resize(size_t(1) << (m_coarseBits[0] + m_coarseBits[1] + m_coarseBits[2] + m_coarseBits[3]));
    for (uint32_t i = 0; i < m_count; ++i)
    {
        m_colors[i] = 0;
        for (size_t c = 0; c < 4; ++c)
        {
            m_entries[i][c] = components >> 8 * c & 255 ? entries[4 * i + c] : 0;
            m_colors[i] |= static_cast<uint32_t>(m_entries[i][c]) << 8 * c;
        }
        m_all.push_back(static_cast<uint8_t>(i));
    }
}

namespace
{

uint32_t placeOf(uint32_t color, const uint8_t bits[4])
{
    uint32_t place = 0;
    for (size_t c = 0; c < 4; ++c)
        place = place << bits[c] | byteOf(color, c) >> (8 - bits[c]);
    return place;
}

} // namespace

uint32_t kxNearestColor::cellOf(uint32_t color) const
{
    return placeOf(color, m_cellBits);
}

kxNearestColor::Box kxNearestColor::boxAround(uint32_t color, const uint8_t bits[4]) const
{
    Box box = {};
    for (size_t c = 0; c < 4; ++c)
        if (m_mask >> 8 * c & 255)
        {
            const uint32_t shift = 8u - bits[c];
            box.low[c] = static_cast<int>(byteOf(color, c) >> shift << shift);
            box.high[c] = box.low[c] + (1 << shift) - 1;
        }
    return box;
}

/// An entry can be nearest to a colour of the box only when its smallest distance to the box is not above the smallest of
/// all largest distances.
void kxNearestColor::pickCandidates(const Box& box, const std::vector<uint8_t>& from, std::vector<uint8_t>& to) const
{
    int nearest[256];
    int bound = INT32_MAX;
    for (size_t i = 0; i < from.size(); ++i)
    {
        int smallest = 0, largest = 0;
        for (size_t c = 0; c < 4; ++c)
        {
            const int value = m_entries[from[i]][c];
            const int below = box.low[c] - value, above = value - box.high[c];
            const int outside = std::max({below, above, 0});
            const int farthest = std::max(box.high[c] - value, value - box.low[c]);
            smallest += outside * outside;
            largest += farthest * farthest;
        }
        nearest[i] = smallest;
        bound = std::min(bound, largest);
    }
    to.clear();
    for (size_t i = 0; i < from.size(); ++i)
        if (nearest[i] <= bound)
            to.push_back(from[i]);
}

void kxNearestColor::fillCell(uint32_t cell, uint32_t color)
{
    std::vector<uint8_t>& coarse = m_coarse[placeOf(color, m_coarseBits)];
    if (coarse.empty())
        pickCandidates(boxAround(color, m_coarseBits), m_all, coarse);
    pickCandidates(boxAround(color, m_cellBits), coarse, m_picked);
    m_cells[cell].firstGroup = static_cast<uint32_t>(m_groups.size());
    m_cells[cell].groupCount = static_cast<uint32_t>((m_picked.size() + kGroup - 1) / kGroup);
    for (size_t i = 0; i < m_picked.size(); i += kGroup)
    {
        Group& group = m_groups.emplace_back();
        for (size_t k = 0; k < kGroup; ++k)
        {
            const uint8_t entry = m_picked[std::min(i + k, m_picked.size() - 1)];
            group.indices[k] = entry;
            for (size_t c = 0; c < 4; ++c)
                group.components[c][k] = static_cast<float>(m_entries[entry][c]);
        }
    }
}

struct NearestRows
{
    /// Distance and index of the nearest entry as distance * 256 + index, so that the smallest key is the answer.
    KX_ROW_BODY static uint32_t findKey(const kxNearestColor::Group* group, uint32_t groupCount, uint32_t color)
    {
        const float red = static_cast<float>(color & 255), green = static_cast<float>(color >> 8 & 255),
                    blue = static_cast<float>(color >> 16 & 255), alpha = static_cast<float>(color >> 24);
        Int8 keys = Int8() + INT32_MAX;
        for (const auto* end = group + groupCount; group != end; ++group)
        {
            const Float8 r = *reinterpret_cast<const Float8*>(group->components[0]) - red;
            const Float8 g = *reinterpret_cast<const Float8*>(group->components[1]) - green;
            const Float8 b = *reinterpret_cast<const Float8*>(group->components[2]) - blue;
            const Float8 a = *reinterpret_cast<const Float8*>(group->components[3]) - alpha;
            const Float8 distances = r * r + g * g + b * b + a * a;
            takeSmaller(keys, (__builtin_convertvector(distances, Int8) << 8) |
                                  *reinterpret_cast<const Int8*>(group->indices));
        }
        takeSmaller(keys, __builtin_shufflevector(keys, keys, 4, 5, 6, 7, 0, 1, 2, 3));
        takeSmaller(keys, __builtin_shufflevector(keys, keys, 2, 3, 0, 1, 6, 7, 4, 5));
        takeSmaller(keys, __builtin_shufflevector(keys, keys, 1, 0, 3, 2, 5, 4, 7, 6));
        return static_cast<uint32_t>(keys[0]);
    }

    static uint32_t largestDifference(uint32_t a, uint32_t b)
    {
        uint32_t largest = 0;
        for (size_t c = 0; c < 4; ++c)
            largest = std::max(largest, static_cast<uint32_t>(
                                            std::abs(static_cast<int>(byteOf(a, c)) - static_cast<int>(byteOf(b, c)))));
        return largest;
    }

    KX_ROW_BODY static uint64_t mapRowBody(kxNearestColor& map, const uint32_t* colors, uint8_t* indices,
                                           size_t pixelCount, uint32_t& largest)
    {
        uint64_t sum = 0;
        uint32_t last = 0, key = UINT32_MAX;
        for (size_t i = 0; i < pixelCount; ++i)
        {
            const uint32_t color = colors[i] & map.m_mask;
            if (color != last || key == UINT32_MAX)
            {
                const uint32_t place = map.cellOf(color);
                if (map.m_cells[place].groupCount == 0)
                    map.fillCell(place, color);
                const kxNearestColor::Cell cell = map.m_cells[place];
                key = findKey(&map.m_groups[cell.firstGroup], cell.groupCount, color);
                last = color;
                // No component differs by more than the whole distance.
                if (key >> 8 > largest * largest)
                    largest = std::max(largest, largestDifference(color, map.m_colors[key & 255]));
            }
            indices[i] = static_cast<uint8_t>(key);
            sum += key >> 8;
        }
        return sum;
    }

    static uint64_t mapRowPlain(kxNearestColor& map, const uint32_t* colors, uint8_t* indices, size_t pixelCount,
                                uint32_t& largest)
    {
        return mapRowBody(map, colors, indices, pixelCount, largest);
    }
    KX_WIDE_VECTORS static uint64_t mapRowWide(kxNearestColor& map, const uint32_t* colors, uint8_t* indices,
                                               size_t pixelCount, uint32_t& largest)
    {
        return mapRowBody(map, colors, indices, pixelCount, largest);
    }
};

kxNearestColor::Answer kxNearestColor::find(uint32_t color)
{
    color &= m_mask;
    const uint32_t place = cellOf(color);
    if (m_cells[place].groupCount == 0)
        fillCell(place, color);
    const uint32_t key = NearestRows::findKey(&m_groups[m_cells[place].firstGroup], m_cells[place].groupCount, color);
    return {key & 255, key >> 8};
}

uint64_t kxNearestColor::mapRow(const uint32_t* colors, uint8_t* indices, size_t pixelCount, uint32_t& largest)
{
    return hasWideVectors() ? NearestRows::mapRowWide(*this, colors, indices, pixelCount, largest)
                            : NearestRows::mapRowPlain(*this, colors, indices, pixelCount, largest);
}

} // namespace Kel::Gfx
