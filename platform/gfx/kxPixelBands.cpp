#include "platform/gfx/kxPixelBands.h"

#include "platform/gfx/kxBlockCompression.h"
#include "platform/gfx/kxPixelRows.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Kel::Gfx
{

namespace
{

uint32_t filledUp(uint32_t side, uint32_t tile)
{
    return (side + tile - 1) / tile * tile;
}

void unpackIndices(const uint8_t* source, uint8_t* rgba, uint32_t width, uint32_t bits, const uint32_t* palette)
{
    if (bits == 8)
    {
        for (uint32_t x = 0; x < width; ++x)
            std::memcpy(rgba + 4 * x, &palette[source[x]], 4);
        return;
    }
    for (uint32_t x = 0; x < width; ++x)
        std::memcpy(rgba + 4 * x, &palette[x % 2 ? source[x / 2] & 15 : source[x / 2] >> 4], 4);
}

// The part of a row that lies in one tile has eight bytes in every format, so that moving it is one instruction.
constexpr size_t kTileRowBytes = 8;
constexpr size_t kTileRows = 4;
constexpr uint64_t kFarBytes = uint64_t(4) << 20; // images that leave no room in the caches for anything else
static_assert(std::all_of(std::begin(kTextureFormats), std::end(kTextureFormats),
                          [](const kxTextureFormatInfo& info)
                          {
                              return !info.isTiled() || (info.tileWidth * info.bytesPerPixel() == kTileRowBytes &&
                                                         info.tileHeight == kTileRows);
                          }));

void tilesToRows(const uint8_t* tiles, uint8_t* rows, size_t rowBytes)
{
    for (size_t x = 0; x < rowBytes; x += kTileRowBytes)
        for (size_t y = 0; y < kTileRows; ++y, tiles += kTileRowBytes)
            std::memcpy(rows + y * rowBytes + x, tiles, kTileRowBytes);
}

void rowsToTiles(const uint8_t* rows, uint8_t* tiles, size_t rowBytes)
{
    for (size_t x = 0; x < rowBytes; x += kTileRowBytes)
        for (size_t y = 0; y < kTileRows; ++y, tiles += kTileRowBytes)
            std::memcpy(tiles, rows + y * rowBytes + x, kTileRowBytes);
}

// The same for tiles that nobody looks at soon, past the caches: their memory need not be read before it is written.
// `tiles` is aligned to 16 bytes.
void rowsToFarTiles(const uint8_t* rows, uint8_t* tiles, size_t rowBytes)
{
#ifdef __SSE2__
    for (size_t x = 0; x < rowBytes; x += kTileRowBytes)
        for (size_t y = 0; y < kTileRows; y += 2, tiles += 2 * kTileRowBytes)
        {
            const uint8_t* upper = rows + y * rowBytes + x;
            const __m128i pair =
                _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(upper)),
                                   _mm_loadl_epi64(reinterpret_cast<const __m128i*>(upper + rowBytes)));
            _mm_stream_si128(reinterpret_cast<__m128i*>(tiles), pair);
        }
#else
    rowsToTiles(rows, tiles, rowBytes);
#endif
}

} // namespace

// Reading

kxBandReader::kxBandReader(const kxTextureFormatInfo& info, const uint8_t* pixels, uint32_t width,
                           const uint32_t* palette)
    : m_info(info),
      m_pixels(pixels),
      m_width(width),
      m_paddedWidth(filledUp(width, info.tileWidth)),
      m_bandBytes(getTextureByteSize(info.format, width, info.tileHeight)),
      m_palette(palette)
{
    if (info.kind == kxTextureFormatInfo::BLOCKS)
        m_rgba.resize(size_t(m_paddedWidth) * 4 * info.tileHeight);
    else if (info.format != rgba_8888_32)
        m_rgba.resize(size_t(width) * 4);
    if (info.isTiled())
        m_words.resize(m_bandBytes);
}

const uint8_t* kxBandReader::getRow(uint32_t y)
{
    if (m_info.kind == kxTextureFormatInfo::BLOCKS)
        return rowOfBlocks(y);
    if (m_info.format == rgba_8888_32)
        return m_pixels + m_bandBytes * y;
    readRow(y, m_rgba.data());
    return m_rgba.data();
}

// Each row of a band asks for its share of the next one, which is then there when its turn comes: the processor's own guesses
// start anew with each row. Behind the last band nothing is there, and asking does no harm.
void kxBandReader::askForNextBand(uint32_t y) const
{
    const uint64_t share = m_bandBytes / m_info.tileHeight;
    const uint64_t start = m_bandBytes * (y / m_info.tileHeight + 1) + share * (y % m_info.tileHeight);
    const auto pixels = reinterpret_cast<uintptr_t>(m_pixels);
    for (uint64_t at = start; at < start + share; at += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(pixels + at));
}

void kxBandReader::readRow(uint32_t y, uint8_t* rgba)
{
    askForNextBand(y);
    if (m_info.kind == kxTextureFormatInfo::BLOCKS)
        std::memcpy(rgba, rowOfBlocks(y), size_t(m_width) * 4);
    else if (m_info.isIndexed())
        unpackIndices(m_pixels + m_bandBytes * y, rgba, m_width, m_info.bitsPerPixel, m_palette);
    else
        getUnpackRow(m_info.format)(m_info.isTiled() ? rowOfTiles(y) : m_pixels + m_bandBytes * y, rgba, m_width);
}

const uint8_t* kxBandReader::rowOfTiles(uint32_t y)
{
    const uint32_t band = y / m_info.tileHeight;
    const size_t rowBytes = size_t(m_paddedWidth) * m_info.bytesPerPixel();
    if (band != m_band)
        tilesToRows(m_pixels + m_bandBytes * band, m_words.data(), rowBytes);
    m_band = band;
    const size_t offset = y % m_info.tileHeight * rowBytes;

    return m_words.data() + offset;
}

const uint8_t* kxBandReader::rowOfBlocks(uint32_t y)
{
    const uint32_t band = y / m_info.tileHeight;
    const size_t stride = size_t(m_paddedWidth) * 4;
    const uint8_t* source = m_pixels + m_bandBytes * band;
    for (size_t x = 0; band != m_band && x < stride; x += 16, source += getBlockBytes(m_info.format))
    {
        uint8_t block[64];
        decodeBlock(m_info.format, source, block);
        for (size_t row = 0; row < 4; ++row)
            std::memcpy(m_rgba.data() + row * stride + x, block + 16 * row, 16);
    }
    m_band = band;
    return m_rgba.data() + y % m_info.tileHeight * stride;
}

// Writing

kxBandWriter::kxBandWriter(const kxTextureFormatInfo& info, uint8_t* pixels, uint32_t width, uint32_t height)
    : m_info(info),
      m_pixels(pixels),
      m_width(width),
      m_height(height),
      m_paddedWidth(filledUp(width, info.tileWidth)),
      m_pixelBytes(info.kind == kxTextureFormatInfo::BLOCKS ? 4 : info.bytesPerPixel()),
      m_bandBytes(getTextureByteSize(info.format, width, info.tileHeight)),
      m_isFar(getTextureByteSize(info.format, width, height) >= kFarBytes &&
              reinterpret_cast<uintptr_t>(pixels) % 16 == 0)
{
    if (info.tileHeight > 1)
        m_rows.resize(size_t(m_paddedWidth) * m_pixelBytes * info.tileHeight);
}

void kxBandWriter::putRow(const uint8_t* rgba)
{
    const kxRowFunction pack = getPackRow(m_info.format);
    uint8_t* target = m_pixels + m_bandBytes * (m_row / m_info.tileHeight);
    uint32_t rowInBand = m_row++ % m_info.tileHeight;
    if (m_info.tileHeight == 1)
        return pack(rgba, target, m_width);
    const size_t stride = size_t(m_paddedWidth) * m_pixelBytes, byteCount = size_t(m_width) * m_pixelBytes;
    uint8_t* row = m_rows.data() + rowInBand * stride;
    if (m_info.isTiled())
    {
        // Asks for a quarter of the band's memory, a line at a time: with all of it asked for at once, when the band is whole,
        // the processor would wait instead of converting pixels meanwhile.
        for (size_t at = 0; !m_isFar && at < stride; at += 64)
            __builtin_prefetch(target + rowInBand * stride + at, 1);
        pack(rgba, row, m_width);
    }
    else
        std::memcpy(row, rgba, byteCount);
    // What lies beyond the picture repeats its border: blocks gain nothing from other colours there.
    for (size_t at = byteCount; at < stride; at += m_pixelBytes)
        std::memcpy(row + at, row + at - m_pixelBytes, m_pixelBytes);
    for (; m_row == m_height && rowInBand + 1 < m_info.tileHeight; ++rowInBand, row += stride)
        std::memcpy(row + stride, row, stride);
    if (rowInBand + 1 == m_info.tileHeight)
        writeBand(target, stride);
}

void kxBandWriter::writeBand(uint8_t* target, size_t stride) const
{
    if (m_info.isTiled())
        return m_isFar ? rowsToFarTiles(m_rows.data(), target, stride) : rowsToTiles(m_rows.data(), target, stride);
    for (size_t x = 0; x < stride; x += 16, target += getBlockBytes(m_info.format))
    {
        uint8_t block[64];
        for (size_t y = 0; y < 4; ++y)
            std::memcpy(block + 16 * y, m_rows.data() + y * stride + x, 16);
        encodeBlock(m_info.format, block, target);
    }
}

} // namespace Kel::Gfx
