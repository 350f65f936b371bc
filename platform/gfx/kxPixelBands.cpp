#include "platform/gfx/kxPixelBands.h"

#include "platform/gfx/kxBlockCompression.h"
#include "platform/gfx/kxPixelRows.h"

#include <cstring>

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

/// Moves RGBA pixels between one band of tiles and its rows. The bytes of a tile's row are a constant, so that a move of them
/// is one instruction.
template <size_t TileRowBytes>
void moveTiles(uint8_t* tiles, uint8_t* rows, uint32_t paddedWidth, const kxTextureFormatInfo& info, bool isToRows)
{
    const size_t stride = size_t(paddedWidth) * 4;
    for (uint32_t x = 0; x < paddedWidth; x += info.tileWidth)
        for (uint32_t y = 0; y < info.tileHeight; ++y, tiles += TileRowBytes)
        {
            uint8_t* row = rows + y * stride + size_t(x) * 4;
            std::memcpy(isToRows ? row : tiles, isToRows ? tiles : row, TileRowBytes);
        }
}
using TileMover = void (*)(uint8_t*, uint8_t*, uint32_t, const kxTextureFormatInfo&, bool);

} // namespace

kxBandReader::kxBandReader(const kxTextureFormatInfo& info, const uint8_t* pixels, uint32_t width, uint32_t height,
                           const uint32_t* palette)
    : m_info(info),
      m_pixels(pixels),
      m_width(width),
      m_paddedWidth(filledUp(width, info.tileWidth)),
      m_bandBytes(getTextureByteSize(info.format, width, info.tileHeight)),
      m_palette(palette)
{
    (void)height;
    m_rows.resize(size_t(m_paddedWidth) * info.tileHeight * 4);
    if (info.isTiled())
        m_tiles.resize(m_rows.size());
}

const uint8_t* kxBandReader::getRow(uint32_t y)
{
    const uint32_t band = y / m_info.tileHeight;
    if (band != m_band)
        readBand(band);
    return m_rows.data() + size_t(y % m_info.tileHeight) * m_paddedWidth * 4;
}

void kxBandReader::readBand(uint32_t band)
{
    m_band = band;
    const uint8_t* source = m_pixels + m_bandBytes * band;
    if (m_info.isIndexed())
        return unpackIndices(source, m_rows.data(), m_width, m_info.bitsPerPixel, m_palette);
    if (m_info.kind == kxTextureFormatInfo::BLOCKS)
    {
        const size_t blockBytes = getBlockBytes(m_info.format), stride = size_t(m_paddedWidth) * 4;
        for (uint32_t x = 0; x < m_paddedWidth; x += 4, source += blockBytes)
        {
            uint8_t block[64];
            decodeBlock(m_info.format, source, block);
            for (size_t y = 0; y < 4; ++y)
                std::memcpy(m_rows.data() + y * stride + x * 4, block + 16 * y, 16);
        }
        return;
    }
    const kxRowFunction unpack = getUnpackRow(m_info.format);
    if (!m_info.isTiled())
        return unpack(source, m_rows.data(), m_width);
    unpack(source, m_tiles.data(), size_t(m_paddedWidth) * m_info.tileHeight);
    const TileMover move = m_info.tileWidth == 4 ? moveTiles<16> : moveTiles<32>;
    move(m_tiles.data(), m_rows.data(), m_paddedWidth, m_info, true);
}

kxBandWriter::kxBandWriter(const kxTextureFormatInfo& info, uint8_t* pixels, uint32_t width, uint32_t height)
    : m_info(info),
      m_pixels(pixels),
      m_width(width),
      m_height(height),
      m_paddedWidth(filledUp(width, info.tileWidth)),
      m_bandBytes(getTextureByteSize(info.format, width, info.tileHeight))
{
    if (info.tileHeight > 1)
        m_rows.resize(size_t(m_paddedWidth) * info.tileHeight * 4);
    if (info.isTiled())
        m_tiles.resize(m_rows.size());
}

void kxBandWriter::putRow(const uint8_t* rgba)
{
    if (m_info.tileHeight == 1)
    {
        getPackRow(m_info.format)(rgba, m_pixels + m_bandBytes * m_row++, m_width);
        return;
    }
    const size_t stride = size_t(m_paddedWidth) * 4;
    uint8_t* row = m_rows.data() + m_row % m_info.tileHeight * stride;
    std::memcpy(row, rgba, size_t(m_width) * 4);
    // What lies beyond the picture repeats its border: blocks gain nothing from other colours there.
    for (uint32_t x = m_width; x < m_paddedWidth; ++x)
        std::memcpy(row + size_t(x) * 4, row + size_t(m_width - 1) * 4, 4);
    ++m_row;
    if (m_row == m_height)
        for (uint32_t below = m_row; below % m_info.tileHeight; ++below, row += stride)
            std::memcpy(row + stride, row, stride);
    if (m_row % m_info.tileHeight == 0 || m_row == m_height)
        writeBand();
}

void kxBandWriter::writeBand()
{
    uint8_t* target = m_pixels + m_bandBytes * ((m_row - 1) / m_info.tileHeight);
    if (m_info.kind == kxTextureFormatInfo::BLOCKS)
    {
        const size_t stride = size_t(m_paddedWidth) * 4;
        for (uint32_t x = 0; x < m_paddedWidth; x += 4, target += getBlockBytes(m_info.format))
        {
            uint8_t block[64];
            for (size_t y = 0; y < 4; ++y)
                std::memcpy(block + 16 * y, m_rows.data() + y * stride + size_t(x) * 4, 16);
            encodeBlock(m_info.format, block, target);
        }
        return;
    }
    const TileMover move = m_info.tileWidth == 4 ? moveTiles<16> : moveTiles<32>;
    move(m_tiles.data(), m_rows.data(), m_paddedWidth, m_info, false);
    getPackRow(m_info.format)(m_tiles.data(), target, size_t(m_paddedWidth) * m_info.tileHeight);
}

} // namespace Kel::Gfx
