#include "interop/images/kxOrientation.h"

#include <cstring>

namespace Kel::Interop
{

namespace
{

constexpr uint32_t kOrientationTag = 0x0112, kShort = 3;

} // namespace

uint32_t readOrientation(const uint8_t* bytes, size_t byteCount)
{
    if (byteCount < 8 || (std::memcmp(bytes, "II*\0", 4) != 0 && std::memcmp(bytes, "MM\0*", 4) != 0))
        return 0;
    const bool isLittle = bytes[0] == 'I';
    const auto numberAt = [&](size_t at, size_t size)
    {
        uint32_t number = 0;
        for (size_t i = 0; i < size; ++i)
            number = number << 8 | bytes[at + (isLittle ? size - 1 - i : i)];
        return number;
    };
    const size_t start = numberAt(4, 4);
    if (start > byteCount - 2)
        return 0;
    const size_t entryCount = numberAt(start, 2);
    for (size_t entry = 0, at = start + 2; entry < entryCount && at + 12 <= byteCount; ++entry, at += 12)
        if (numberAt(at, 2) == kOrientationTag && numberAt(at + 2, 2) == kShort)
        {
            const uint32_t orientation = numberAt(at + 8, 2);
            return orientation <= 8 ? orientation : 0;
        }
    return 0;
}

std::array<uint8_t, 26> writeOrientation(uint32_t orientation)
{
    // Head, place of the directory, one entry (tag, kind, count, value), no further directory.
    return {'M', 'M', 0, '*', 0, 0, 0, 8, 0, 1, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, static_cast<uint8_t>(orientation)};
}

} // namespace Kel::Interop
