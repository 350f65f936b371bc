// The row functions are made from the table of formats: one pair for each of its rows, each with its places of bits as
// constants, so that the compiler vectorises the loops.
#include "platform/gfx/kxPixelRows.h"

#include "platform/gfx/kxVectorTarget.h"

#include <array>
#include <cstring>
#include <type_traits>
#include <utility>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "pixels are read as words of the processor");

namespace Kel::Gfx
{

namespace
{

using Info = kxTextureFormatInfo;

template <class W>
uint32_t swapBytes(uint32_t word)
{
    return sizeof(W) == 2 ? static_cast<uint16_t>(word << 8 | word >> 8) : word;
}

template <kxComponentBits C>
constexpr uint32_t widened(uint32_t word)
{
    return widenBits(word >> C.shift & ((1u << C.bits) - 1), C.bits);
}
template <kxComponentBits C>
constexpr uint32_t narrowed(uint32_t value)
{
    return narrowBits(value, C.bits) << C.shift;
}

template <size_t I>
constexpr uint32_t wordToRgba(uint32_t word)
{
    constexpr const Info& f = kTextureFormats[I];
    if constexpr (f.kind == Info::TWO_WAY)
    {
        const uint32_t opaque = widened<kxComponentBits{5, 10}>(word) | widened<kxComponentBits{5, 5}>(word) << 8 |
                                widened<kxComponentBits{5, 0}>(word) << 16 | 0xff000000u;
        const uint32_t other = widened<f.red>(word) | widened<f.green>(word) << 8 | widened<f.blue>(word) << 16 |
                               widened<f.alpha>(word) << 24;
        return word & 0x8000u ? opaque : other;
    }
    else
    {
        uint32_t rgba = 0x00ffffffu;
        if constexpr (f.luminance.bits)
            rgba = widened<f.luminance>(word) * 0x010101u;
        else if constexpr (f.red.bits)
            rgba = widened<f.red>(word) | widened<f.green>(word) << 8 | widened<f.blue>(word) << 16;
        if constexpr (f.alpha.bits)
            return rgba | widened<f.alpha>(word) << 24;
        else
            return rgba | 0xff000000u;
    }
}

template <size_t I>
constexpr uint32_t rgbaToWord(uint32_t rgba)
{
    constexpr const Info& f = kTextureFormats[I];
    const uint32_t red = rgba & 255, green = rgba >> 8 & 255, blue = rgba >> 16 & 255, alpha = rgba >> 24;
    if constexpr (f.kind == Info::TWO_WAY)
    {
        const uint32_t alphaBits = narrowBits(alpha, f.alpha.bits);
        const uint32_t opaque = 0x8000u | narrowBits(red, 5) << 10 | narrowBits(green, 5) << 5 | narrowBits(blue, 5);
        const uint32_t other =
            alphaBits << f.alpha.shift | narrowed<f.red>(red) | narrowed<f.green>(green) | narrowed<f.blue>(blue);
        return alphaBits == 7 ? opaque : other;
    }
    else
    {
        uint32_t word = 0;
        if constexpr (f.luminance.bits)
            word |= narrowed<f.luminance>((red * 77 + green * 150 + blue * 29 + 128) >> 8);
        if constexpr (f.red.bits)
            word |= narrowed<f.red>(red) | narrowed<f.green>(green) | narrowed<f.blue>(blue);
        if constexpr (f.alpha.bits)
            word |= narrowed<f.alpha>(alpha);
        return word;
    }
}

// Three bytes are no word of the processor: four pixels at a time go through one shuffle of sixteen bytes, whose last four
// bytes belong to the pixels behind, and the last pixels go one by one.
typedef uint8_t Bytes16 __attribute__((vector_size(16), aligned(1), may_alias));

KX_ROW_BODY void rgbToRgbaBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    size_t i = 0;
    for (; i + 6 <= pixelCount; i += 4)
    {
        const Bytes16 in = *reinterpret_cast<const Bytes16*>(source + 3 * i);
        const Bytes16 opaque = Bytes16() + uint8_t(255);
        *reinterpret_cast<Bytes16*>(target + 4 * i) =
            __builtin_shufflevector(in, opaque, 0, 1, 2, 16, 3, 4, 5, 16, 6, 7, 8, 16, 9, 10, 11, 16);
    }
    for (; i < pixelCount; ++i)
    {
        std::memcpy(target + 4 * i, source + 3 * i, 3);
        target[4 * i + 3] = 255;
    }
}

KX_ROW_BODY void rgbaToRgbBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    size_t i = 0;
    for (; i + 6 <= pixelCount; i += 4)
    {
        const Bytes16 in = *reinterpret_cast<const Bytes16*>(source + 4 * i);
        *reinterpret_cast<Bytes16*>(target + 3 * i) =
            __builtin_shufflevector(in, in, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15);
    }
    for (; i < pixelCount; ++i)
        std::memcpy(target + 3 * i, source + 4 * i, 3);
}

template <class W, bool Swapped, size_t I>
KX_ROW_BODY void unpackWords(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    for (size_t i = 0; i < pixelCount; ++i)
    {
        W word;
        std::memcpy(&word, source + sizeof(W) * i, sizeof(W));
        const uint32_t rgba = wordToRgba<I>(Swapped ? swapBytes<W>(word) : word);
        std::memcpy(target + 4 * i, &rgba, 4);
    }
}

template <class W, bool Swapped, size_t I>
KX_ROW_BODY void packWords(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    for (size_t i = 0; i < pixelCount; ++i)
    {
        uint32_t rgba;
        std::memcpy(&rgba, source + 4 * i, 4);
        const uint32_t bits = rgbaToWord<I>(rgba);
        const W word = static_cast<W>(Swapped ? swapBytes<W>(bits) : bits);
        std::memcpy(target + sizeof(W) * i, &word, sizeof(W));
    }
}

template <size_t I>
KX_ROW_BODY void unpackBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    constexpr const Info& f = kTextureFormats[I];
    if constexpr (f.bitsPerPixel == 24)
        rgbToRgbaBody(source, target, pixelCount);
    else if constexpr (f.bitsPerPixel == 32)
        std::memcpy(target, source, 4 * pixelCount);
    else
        unpackWords<std::conditional_t<f.bitsPerPixel == 16, uint16_t, uint8_t>, f.isTiled(), I>(source, target,
                                                                                                 pixelCount);
}
template <size_t I>
KX_ROW_BODY void packBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    constexpr const Info& f = kTextureFormats[I];
    if constexpr (f.bitsPerPixel == 24)
        rgbaToRgbBody(source, target, pixelCount);
    else if constexpr (f.bitsPerPixel == 32)
        std::memcpy(target, source, 4 * pixelCount);
    else
        packWords<std::conditional_t<f.bitsPerPixel == 16, uint16_t, uint8_t>, f.isTiled(), I>(source, target,
                                                                                               pixelCount);
}

template <size_t I>
void unpackPlain(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    unpackBody<I>(source, target, pixelCount);
}
template <size_t I>
KX_WIDE_VECTORS void unpackWide(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    unpackBody<I>(source, target, pixelCount);
}
template <size_t I>
void packPlain(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    packBody<I>(source, target, pixelCount);
}
template <size_t I>
KX_WIDE_VECTORS void packWide(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    packBody<I>(source, target, pixelCount);
}

struct RowPair
{
    kxRowFunction unpack = nullptr;
    kxRowFunction pack = nullptr;
};

template <size_t I>
RowPair makePair()
{
    constexpr const Info& f = kTextureFormats[I];
    if constexpr (f.kind == Info::WORDS || f.kind == Info::TWO_WAY)
        return hasWideVectors() ? RowPair{unpackWide<I>, packWide<I>} : RowPair{unpackPlain<I>, packPlain<I>};
    else
        return {};
}

RowPair rowsOf(KX_GFX_TEXTURE_FORMAT format)
{
    static const auto pairs = []<size_t... I>(std::index_sequence<I...>)
    {
        return std::array<RowPair, kTextureFormatCount>{makePair<I>()...};
    }
    (std::make_index_sequence<kTextureFormatCount>());
    const Info* info = findTextureFormat(format);
    return info ? pairs[static_cast<size_t>(info - kTextureFormats)] : RowPair{};
}

template <size_t BytesPerPixel>
void copyRow(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    std::memcpy(target, source, BytesPerPixel * pixelCount);
}

} // namespace

kxRowFunction getUnpackRow(KX_GFX_TEXTURE_FORMAT format)
{
    return rowsOf(format).unpack;
}

kxRowFunction getPackRow(KX_GFX_TEXTURE_FORMAT format)
{
    return rowsOf(format).pack;
}

kxRowFunction getShortRow(KX_GFX_TEXTURE_FORMAT source, KX_GFX_TEXTURE_FORMAT target)
{
    const Info* info = findTextureFormat(source);
    if (!info || info->kind == Info::BLOCKS || info->kind == Info::INDICES)
        return nullptr;
    if (source == target)
    {
        const kxRowFunction copies[] = {nullptr, copyRow<1>, copyRow<2>, copyRow<3>, copyRow<4>};
        return copies[info->bytesPerPixel()];
    }
    if (target == rgba_8888_32)
        return getUnpackRow(source);
    if (source == rgba_8888_32)
        return getPackRow(target);
    return nullptr;
}

} // namespace Kel::Gfx
