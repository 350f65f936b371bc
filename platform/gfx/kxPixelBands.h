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
    /// `pixels` hold an image of that size and format; `palette` (256 colours) is asked for indices only. All stay where they
    /// are while the reader lives.
    kxBandReader(const kxTextureFormatInfo& info, const uint8_t* pixels, uint32_t width, uint32_t height,
                 const uint32_t* palette);

    /// Row `y` as `width` RGBA pixels, valid until the next call. Rows are cheap when asked for from the top down.
    const uint8_t* getRow(uint32_t y);

private:
    void readBand(uint32_t band);

    const kxTextureFormatInfo& m_info;
    const uint8_t* m_pixels;
    uint32_t m_width;
    uint32_t m_paddedWidth;
    uint64_t m_bandBytes;
    const uint32_t* m_palette;
    uint32_t m_band = UINT32_MAX;
    std::vector<uint8_t> m_rows;
    std::vector<uint8_t> m_tiles;
};

/// Writes the rows of an image from RGBA bytes; not for indices.
class kxBandWriter
{
public:
    kxBandWriter(const kxTextureFormatInfo& info, uint8_t* pixels, uint32_t width, uint32_t height);

    /// Takes the next row from the top, `width` RGBA pixels. With the last row the image is whole.
    void putRow(const uint8_t* rgba);

private:
    void writeBand();

    const kxTextureFormatInfo& m_info;
    uint8_t* m_pixels;
    uint32_t m_width;
    uint32_t m_height;
    uint32_t m_paddedWidth;
    uint64_t m_bandBytes;
    uint32_t m_row = 0;
    std::vector<uint8_t> m_rows;
    std::vector<uint8_t> m_tiles;
};

} // namespace Kel::Gfx
