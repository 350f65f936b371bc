#include "interop/images/kxPngChecksum.h"

#include "platform/gfx/kxVectorTarget.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Kel::Interop
{

namespace
{

constexpr uint32_t kModulus = 65521;
constexpr size_t kBlockBytes = 1024; // sums of so many bytes stay within 32 bits

/// How often each byte of a block counts in the upper half of the sum.
constexpr auto kWeights = []
{
    std::array<int16_t, kBlockBytes> weights = {};
    for (size_t i = 0; i < kBlockBytes; ++i)
        weights[i] = static_cast<int16_t>(kBlockBytes - i);
    return weights;
}();

KX_ROW_BODY void addBytes(const uint8_t* bytes, size_t byteCount, uint32_t& low, uint32_t& high)
{
    while (byteCount)
    {
        const size_t count = std::min(byteCount, kBlockBytes);
        const int16_t* weights = kWeights.data() + (kBlockBytes - count);
        int32_t sum = 0, weighted = 0;
        for (size_t i = 0; i < count; ++i)
        {
            const int16_t value = bytes[i];
            sum += value;
            weighted += value * weights[i];
        }
        high = (high + static_cast<uint32_t>(count) * low + static_cast<uint32_t>(weighted)) % kModulus;
        low = (low + static_cast<uint32_t>(sum)) % kModulus;
        bytes += count;
        byteCount -= count;
    }
}

/// The one of left, above and left above that is nearest to left + above - left above.
KX_ROW_BODY uint8_t nearestNeighbour(int16_t left, int16_t above, int16_t leftAbove)
{
    const auto toLeft = static_cast<int16_t>(std::abs(above - leftAbove));
    const auto toAbove = static_cast<int16_t>(std::abs(left - leftAbove));
    const auto toLeftAbove = static_cast<int16_t>(std::abs(left + above - 2 * leftAbove));
    const int16_t other = toAbove <= toLeftAbove ? above : leftAbove;
    return static_cast<uint8_t>(toLeft <= toAbove && toLeft <= toLeftAbove ? left : other);
}

template <class Predict>
KX_ROW_BODY void filterBytes(const uint8_t* row, const uint8_t* above, uint8_t* target, size_t rowBytes,
                             size_t pixelBytes, Predict predict)
{
    const size_t first = std::min(rowBytes, pixelBytes);
    for (size_t i = 0; i < first; ++i)
        target[i] = static_cast<uint8_t>(row[i] - predict(0, above[i], 0));
    for (size_t i = first; i < rowBytes; ++i)
        target[i] = static_cast<uint8_t>(row[i] - predict(row[i - pixelBytes], above[i], above[i - pixelBytes]));
}

KX_ROW_BODY void filterRow(uint8_t filter, const uint8_t* row, const uint8_t* above, uint8_t* target, size_t rowBytes,
                           size_t pixelBytes)
{
    switch (filter)
    {
    case 1:
        filterBytes(row, above, target, rowBytes, pixelBytes, [](uint8_t left, uint8_t, uint8_t) { return left; });
        break;
    case 2:
        filterBytes(row, above, target, rowBytes, pixelBytes, [](uint8_t, uint8_t up, uint8_t) { return up; });
        break;
    case 3:
        filterBytes(row, above, target, rowBytes, pixelBytes,
                    [](uint8_t left, uint8_t up, uint8_t) { return static_cast<uint8_t>((left + up) / 2); });
        break;
    case 4: filterBytes(row, above, target, rowBytes, pixelBytes, nearestNeighbour); break;
    default: std::memcpy(target, row, rowBytes);
    }
}

/// `filtered` gets the filter's number and the row; the sums go on.
struct Row
{
    uint8_t filter;
    const uint8_t* bytes;
    const uint8_t* above;
    size_t byteCount;
    size_t pixelBytes;
    uint8_t* filtered;
    uint32_t& low;
    uint32_t& high;
};

KX_ROW_BODY void addRowBody(const Row& row)
{
    row.filtered[0] = row.filter;
    filterRow(row.filter, row.bytes, row.above, row.filtered + 1, row.byteCount, row.pixelBytes);
    addBytes(row.filtered, row.byteCount + 1, row.low, row.high);
}
void addRowPlain(const Row& row)
{
    addRowBody(row);
}
KX_WIDE_VECTORS void addRowWide(const Row& row)
{
    addRowBody(row);
}

uint32_t bigEndian32(const uint8_t* bytes)
{
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

/// Calls back with the bytes of each piece of the compressed pixels.
template <class Callback>
void forEachPixelPiece(const uint8_t* bytes, size_t byteCount, Callback callback)
{
    // Behind the signature: pieces of four bytes of length, four letters, the bytes, four bytes of checksum.
    for (size_t at = 8; byteCount - at >= 12;)
    {
        const size_t pieceBytes = bigEndian32(bytes + at);
        if (pieceBytes > byteCount - at - 12)
            return;
        if (std::memcmp(bytes + at + 4, "IDAT", 4) == 0)
            callback(bytes + at + 8, pieceBytes);
        at += pieceBytes + 12;
    }
}

bool isStreamWhole(const uint8_t* bytes, size_t byteCount)
{
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK)
        return false;
    const std::unique_ptr<z_stream, decltype(&inflateEnd)> end(&stream, &inflateEnd);
    int state = Z_OK;
    forEachPixelPiece(bytes, byteCount,
                      [&](const uint8_t* piece, size_t pieceBytes)
                      {
                          std::vector<uint8_t> sink(size_t(1) << 16);
                          stream.next_in = const_cast<uint8_t*>(piece); // only read
                          stream.avail_in = static_cast<uInt>(pieceBytes);
                          while (state == Z_OK && stream.avail_in)
                          {
                              stream.next_out = sink.data();
                              stream.avail_out = static_cast<uInt>(sink.size());
                              state = inflate(&stream, Z_NO_FLUSH);
                          }
                      });
    return state == Z_STREAM_END;
}

} // namespace

kxPngChecksum::kxPngChecksum(size_t rowBytes, size_t pixelBytes)
    : m_filtered(rowBytes + 1), m_zeros(rowBytes), m_pixelBytes(pixelBytes)
{
}

void kxPngChecksum::addRow(uint8_t filter, const uint8_t* row, const uint8_t* above)
{
    const Row values = {filter, row,   above ? above : m_zeros.data(), m_zeros.size(), m_pixelBytes, m_filtered.data(),
                        m_low,  m_high};
    Gfx::hasWideVectors() ? addRowWide(values) : addRowPlain(values);
}

bool isPngChecksumRight(const uint8_t* bytes, size_t byteCount, const kxPngChecksum* sum)
{
    uint32_t lastFour = 0;
    forEachPixelPiece(bytes, byteCount,
                      [&](const uint8_t* piece, size_t pieceBytes)
                      {
                          for (size_t i = pieceBytes - std::min<size_t>(pieceBytes, 4); i < pieceBytes; ++i)
                              lastFour = lastFour << 8 | piece[i];
                      });
    return (sum && sum->getSum() == lastFour) || isStreamWhole(bytes, byteCount);
}

} // namespace Kel::Interop
