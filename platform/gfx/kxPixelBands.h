// Images of every format as rows of RGBA bytes, a band at a time.
#pragma once

#include "platform/gfx/kxTextureFormat.h"

#include <vector>

namespace Kel::Gfx
{

/// Reads the rows of an image as RGBA bytes, whatever its format.
class kxBandReader
{
public:
    /// `pixels` hold an image of that width and format; `palette` (256 colours) is asked for indices only. All stay where they
    /// are while the reader lives.
    kxBandReader(const kxTextureFormatInfo& info, const uint8_t* pixels, uint32_t width, const uint32_t* palette);

    /// Row `y` as `width` RGBA pixels, valid until the next call. Rows are cheap when asked for from the top down.
    const uint8_t* getRow(uint32_t y);
    /// The same into memory of the caller's.
    void readRow(uint32_t y, uint8_t* rgba);

private:
    void askForNextBand(uint32_t y) const;
    const uint8_t* rowOfBlocks(uint32_t y);
    const uint8_t* rowOfTiles(uint32_t y);

    const kxTextureFormatInfo& m_info;
    const uint8_t* m_pixels;
    uint32_t m_width;
    uint32_t m_paddedWidth;
    uint64_t m_bandBytes;
    const uint32_t* m_palette;
    uint32_t m_band = UINT32_MAX;
    std::vector<uint8_t> m_rgba;  // one row, of blocks one band
    std::vector<uint8_t> m_words; // of tiles one band, in rows
};

/// Writes the rows of an image from RGBA bytes; not for indices.
class kxBandWriter
{
public:
    kxBandWriter(const kxTextureFormatInfo& info, uint8_t* pixels, uint32_t width, uint32_t height);

    /// Takes the next row from the top, `width` RGBA pixels. With the last row the image is whole.
    void putRow(const uint8_t* rgba);

private:
    void writeBand(uint8_t* target, size_t stride) const;

    const kxTextureFormatInfo& m_info;
    uint8_t* m_pixels;
    uint32_t m_width;
    uint32_t m_height;
    uint32_t m_paddedWidth;
    size_t m_pixelBytes; // in m_rows
    uint64_t m_bandBytes;
    bool m_isFar; // the image is too large for the caches
    uint32_t m_row = 0;
    std::vector<uint8_t> m_rows; // one band: RGBA for blocks, words of the format for tiles
};

} // namespace Kel::Gfx
