// The orientation out of a camera's notes.
#include "interop/images/kxOrientation.h"

#include <gtest/gtest.h>

#include <vector>

namespace Kel::Interop
{
namespace
{

TEST(kxOrientation, IsFoundBehindOtherNotes)
{
    // Two entries, low byte first; cut short anywhere it says nothing.
    const uint8_t notes[] = {'I', 'I', '*', 0, 8, 0,    0, 0, 2, 0, 0x0f, 1, 2, 0, 1, 0, 0,
                             0,   0,   0,   0, 0, 0x12, 1, 3, 0, 1, 0,    0, 0, 3, 0, 0, 0};
    EXPECT_EQ(readOrientation(notes, sizeof notes), 3u);
    for (size_t count = 0; count < sizeof notes; ++count)
    {
        const std::vector<uint8_t> cut(notes, notes + count); // of its own, so that a read beyond is seen
        EXPECT_EQ(readOrientation(cut.data(), count), 0u) << count;
    }
}

} // namespace
} // namespace Kel::Interop
