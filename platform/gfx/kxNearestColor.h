// The nearest colour of a palette, exactly and fast.
#pragma once

#include "platform/gfx/kxGfxNames.h"

#include <vector>

namespace Kel::Gfx
{

/// Finds for any colour the entry of a palette with the smallest squared distance, of equally near ones the first.
///
/// Colour space is cut into cells; each cell that is asked for gets the list of entries that can be nearest to any of its
/// colours, and a question goes through that list alone. Cost: a few nanoseconds a question, once the cells are known.
class kxNearestColor
{
public:
    static constexpr uint32_t kRgb = 0x00ffffff, kRgba = 0xffffffff, kLuminanceAlpha = 0xff0000ff;

    /// `entries` hold `entryCount` (1 to 256) colours of four bytes and are copied. `components` masks the bytes that count:
    /// one of the constants.
    kxNearestColor(const uint8_t* entries, uint32_t entryCount, uint32_t components);

    struct Answer
    {
        uint32_t index;
        uint32_t squaredDistance;
    };
    /// The entry nearest to a colour, red in the lowest byte.
    Answer find(uint32_t color);

    /// Maps a row of RGBA pixels to indices; returns the sum of the squared distances. `largest` grows to the largest
    /// difference in one component that is met.
    uint64_t mapRow(const uint32_t* colors, uint8_t* indices, size_t pixelCount, uint32_t& largest);

private:
    static constexpr size_t kGroup = 8;
    /// Entries side by side, so that all of a group are compared at once; filled up with copies of the last one.
    struct Group
    {
        float components[4][kGroup];
        int32_t indices[kGroup];
    };
    struct Cell
    {
        uint32_t firstGroup = 0;
        uint32_t groupCount = 0; // 0: not known yet
    };
    struct Box
    {
        int low[4], high[4];
    };

    uint32_t cellOf(uint32_t color) const;
    void fillCell(uint32_t cell, uint32_t color);
    void pickCandidates(const Box& box, const std::vector<uint8_t>& from, std::vector<uint8_t>& to) const;
    Box boxAround(uint32_t color, const uint8_t bits[4]) const;

    friend struct NearestRows;

    uint32_t m_mask;
    uint32_t m_count;
    uint8_t m_cellBits[4];
    uint8_t m_coarseBits[4];
    int m_entries[256][4];
    uint32_t m_colors[256];
    std::vector<Cell> m_cells;
    std::vector<std::vector<uint8_t>> m_coarse; // candidates of larger boxes, from which those of cells are picked
    std::vector<Group> m_groups;
    std::vector<uint8_t> m_all, m_picked;
};

} // namespace Kel::Gfx
