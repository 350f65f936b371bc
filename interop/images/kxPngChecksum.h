// The checksum behind the compressed pixels of a PNG file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kel::Interop
{

/// The checksum of a PNG file's pixels, taken from decoded rows.
///
/// The decoder stops at the last pixel, before the checksum of the compressed stream. That sum is of the rows as they were
/// compressed; what a row's filter made of it is computed again from the row and the one above, several times faster than the
/// stream could be inflated again.
class kxPngChecksum
{
public:
    /// `pixelBytes` is 1 for pixels of less than a byte.
    kxPngChecksum(size_t rowBytes, size_t pixelBytes);

    /// Takes the next row as the file stores it, with the number of its filter. `above` is null for the first.
    void addRow(uint8_t filter, const uint8_t* row, const uint8_t* above);
    uint32_t getSum() const { return m_high << 16 | m_low; }

private:
    std::vector<uint8_t> m_filtered; // the filter's number, then the row
    std::vector<uint8_t> m_zeros;    // above the first row
    size_t m_pixelBytes;
    uint32_t m_low = 1, m_high = 0;
};

/// True when the compressed pixels of a whole PNG file end with the right checksum. `sum`, where it is not null, is what the
/// pixels give; without it, and for a stream that does not end with it, the stream is inflated again.
bool isPngChecksumRight(const uint8_t* bytes, size_t byteCount, const kxPngChecksum* sum);

} // namespace Kel::Interop
