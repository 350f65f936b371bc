// PNG files with a small deflate of our own: one block of the fixed code, matches found through one hash table.
#include "kxPngMaker.h"

#include <zlib.h>

namespace Kel::Examples
{

namespace
{

constexpr size_t kWindow = 32768;
constexpr size_t kLongestMatch = 258;
constexpr size_t kShortestMatch = 4; // a match of three rarely beats three literals of the fixed code
constexpr uint32_t kHashBits = 15;

class kxBitWriter
{
public:
    explicit kxBitWriter(std::vector<uint8_t>& bytes) : m_bytes(bytes) {}

    /// Lowest bit first, as deflate wants its numbers.
    void writeNumber(uint32_t value, uint32_t bitCount)
    {
        m_pending |= static_cast<uint64_t>(value) << m_pendingCount;
        m_pendingCount += bitCount;
        while (m_pendingCount >= 8)
        {
            m_bytes.push_back(static_cast<uint8_t>(m_pending));
            m_pending >>= 8;
            m_pendingCount -= 8;
        }
    }

    /// Highest bit first, as deflate wants its codes.
    void writeCode(uint32_t code, uint32_t bitCount)
    {
        uint32_t mirrored = 0;
        for (uint32_t bit = 0; bit < bitCount; ++bit)
            mirrored |= ((code >> bit) & 1u) << (bitCount - 1 - bit);
        writeNumber(mirrored, bitCount);
    }

    void finishByte()
    {
        if (m_pendingCount > 0)
            writeNumber(0, 8 - m_pendingCount);
    }

private:
    std::vector<uint8_t>& m_bytes;
    uint64_t m_pending = 0;
    uint32_t m_pendingCount = 0;
};

void writeSymbol(kxBitWriter& bits, uint32_t symbol)
{
    if (symbol < 144)
        bits.writeCode(0x30 + symbol, 8);
    else if (symbol < 256)
        bits.writeCode(0x190 + symbol - 144, 9);
    else if (symbol < 280)
        bits.writeCode(symbol - 256, 7);
    else
        bits.writeCode(0xc0 + symbol - 280, 8);
}

void writeMatch(kxBitWriter& bits, size_t length, size_t distance)
{
    // Both code tables of deflate double their step every few codes: every 4 for lengths, every 2 for distances.
    if (length == kLongestMatch)
    {
        writeSymbol(bits, 285);
    }
    else
    {
        uint32_t extraBits = 0;
        size_t first = 3;
        uint32_t symbol = 257;
        for (; length >= first + (size_t(1) << extraBits); ++symbol)
        {
            first += size_t(1) << extraBits;
            if (symbol >= 264 && (symbol - 264) % 4 == 0)
                ++extraBits;
        }
        writeSymbol(bits, symbol);
        bits.writeNumber(static_cast<uint32_t>(length - first), extraBits);
    }
    uint32_t extraBits = 0;
    size_t first = 1;
    uint32_t symbol = 0;
    for (; distance >= first + (size_t(1) << extraBits); ++symbol)
    {
        first += size_t(1) << extraBits;
        if (symbol >= 3 && symbol % 2 == 1)
            ++extraBits;
    }
    bits.writeCode(symbol, 5);
    bits.writeNumber(static_cast<uint32_t>(distance - first), extraBits);
}

std::vector<uint8_t> deflateBytes(const std::vector<uint8_t>& source)
{
    std::vector<uint8_t> packed{0x78, 0x01};
    kxBitWriter bits(packed);
    bits.writeNumber(1, 1); // the last block
    bits.writeNumber(1, 2); // of the fixed code
    std::vector<size_t> newest(size_t(1) << kHashBits, SIZE_MAX);
    size_t position = 0;
    const auto hashAt = [&source](size_t at)
    {
        const uint32_t word = source[at] | (source[at + 1] << 8) | (source[at + 2] << 16);
        return (word * 0x9e3779b1u) >> (32 - kHashBits);
    };
    while (position < source.size())
    {
        size_t length = 0;
        size_t distance = 0;
        if (position + kShortestMatch <= source.size())
        {
            size_t& candidate = newest[hashAt(position)];
            if (candidate != SIZE_MAX && position - candidate <= kWindow)
            {
                distance = position - candidate;
                while (length < kLongestMatch && position + length < source.size() &&
                       source[candidate + length] == source[position + length])
                    ++length;
            }
            candidate = position;
        }
        if (length >= kShortestMatch)
        {
            writeMatch(bits, length, distance);
            position += length;
        }
        else
        {
            writeSymbol(bits, source[position]);
            ++position;
        }
    }
    writeSymbol(bits, 256);
    bits.finishByte();
    const uLong check = adler32(adler32(0, nullptr, 0), source.data(), static_cast<uInt>(source.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        packed.push_back(static_cast<uint8_t>(check >> shift));
    return packed;
}

void appendBigEndian(std::vector<uint8_t>& bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

void appendChunk(std::vector<uint8_t>& file, const char* type, const std::vector<uint8_t>& data)
{
    appendBigEndian(file, static_cast<uint32_t>(data.size()));
    const size_t checkedFrom = file.size();
    file.insert(file.end(), type, type + 4);
    file.insert(file.end(), data.begin(), data.end());
    const size_t checkedBytes = file.size() - checkedFrom;
    appendBigEndian(
        file, static_cast<uint32_t>(crc32(crc32(0, nullptr, 0), &file[checkedFrom], static_cast<uInt>(checkedBytes))));
}

} // namespace

std::vector<uint8_t> makePng(const kxSceneImage& image)
{
    std::vector<uint8_t> file{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    std::vector<uint8_t> header;
    appendBigEndian(header, image.width);
    appendBigEndian(header, image.height);
    header.insert(header.end(), {8, static_cast<uint8_t>(image.channelCount == 4 ? 6 : 2), 0, 0, 0});
    appendChunk(file, "IHDR", header);

    // No row filter: few colours repeat better as they are.
    const size_t rowBytes = size_t(image.width) * image.channelCount;
    std::vector<uint8_t> rows;
    rows.reserve((rowBytes + 1) * image.height);
    for (size_t row = 0; row < image.height; ++row)
    {
        rows.push_back(0);
        rows.insert(rows.end(), image.pixels.begin() + static_cast<std::ptrdiff_t>(row * rowBytes),
                    image.pixels.begin() + static_cast<std::ptrdiff_t>((row + 1) * rowBytes));
    }
    appendChunk(file, "IDAT", deflateBytes(rows));
    appendChunk(file, "IEND", {});
    return file;
}

} // namespace Kel::Examples
