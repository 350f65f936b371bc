// How a viewer turns a picture, as image files say it among what a camera noted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Kel::Interop
{

/// The orientation, 1 to 8, out of a camera's notes (a TIFF directory, without what stands before it in each kind of file).
/// 0 where they say nothing of it or are broken.
uint32_t readOrientation(const uint8_t* bytes, size_t byteCount);

/// Notes that say nothing else.
std::array<uint8_t, 26> writeOrientation(uint32_t orientation);

} // namespace Kel::Interop
