// The checksum of compressed pixels, taken from rows: every filter, against the definitions.
#include "interop/images/kxPngChecksum.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace Kel::Interop
{
namespace
{

int predict(int filter, int left, int above, int leftAbove)
{
    const int guess = left + above - leftAbove;
    const int toLeft = std::abs(guess - left), toAbove = std::abs(guess - above),
              toLeftAbove = std::abs(guess - leftAbove);
    const int nearest = toLeft <= toAbove && toLeft <= toLeftAbove ? left : toAbove <= toLeftAbove ? above : leftAbove;
    const int guesses[] = {0, left, above, (left + above) / 2, nearest};
    return guesses[filter];
}

// Files with wrong sums are refused by a slower road as well, so this alone shows that the fast one works.
TEST(kxPngChecksum, RowsOfEveryFilterAndLength)
{
    std::mt19937 random(1);
    for (size_t pixelBytes : {1, 2, 3, 4, 6, 8})
        for (size_t rowBytes : {pixelBytes, 5 * pixelBytes, 65 * pixelBytes, 700 * pixelBytes})
        {
            kxPngChecksum sum(rowBytes, pixelBytes);
            uint32_t low = 1, high = 0;
            const auto add = [&](int byte)
            {
                low = (low + static_cast<uint32_t>(byte & 255)) % 65521;
                high = (high + low) % 65521;
            };
            std::vector<uint8_t> rows[2] = {std::vector<uint8_t>(rowBytes), std::vector<uint8_t>(rowBytes)};
            for (uint32_t y = 0; y < 15; ++y)
            {
                const int filter = static_cast<int>(y % 5);
                const std::vector<uint8_t>& above = rows[(y + 1) % 2];
                std::vector<uint8_t>& row = rows[y % 2];
                // The largest values as well: the sums are nearest to their limits there.
                for (uint8_t& byte : row)
                    byte = y < 10 ? static_cast<uint8_t>(random()) : uint8_t(255);
                sum.addRow(static_cast<uint8_t>(filter), row.data(), y ? above.data() : nullptr);
                add(filter);
                for (size_t i = 0; i < rowBytes; ++i)
                {
                    const bool isInside = i >= pixelBytes;
                    add(row[i] - predict(filter, isInside ? row[i - pixelBytes] : 0, above[i],
                                         isInside ? above[i - pixelBytes] : 0));
                }
                ASSERT_EQ(sum.getSum(), high << 16 | low) << pixelBytes << " of " << rowBytes << " bytes, row " << y;
            }
        }
}

} // namespace
} // namespace Kel::Interop
