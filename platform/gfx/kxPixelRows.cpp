// The row functions are made from the table of formats: one pair for each of its rows, each with its places of bits as
// constants, so that the compiler vectorises the loops.
#include "platform/gfx/kxPixelRows.h"

#include "platform/gfx/kxVectorTarget.h"

#include <algorithm>
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

// Pixels of up to 16 bits are worked on as 16-bit numbers, and RGBA pixels as two of them: a vector holds twice as many as it
// would of 32-bit numbers. Every step is cut to 16 bits, or the compiler would widen it.
struct Halves
{
    uint16_t redGreen;
    uint16_t blueAlpha;
};

constexpr uint16_t low16(uint32_t value)
{
    return static_cast<uint16_t>(value);
}

constexpr uint16_t swapBytes(uint16_t word)
{
    return low16(word << 8 | word >> 8);
}

/// The factors of narrowing, by bits. Read through a volatile: of a factor that it knows the compiler makes shifts and
/// additions, which in these loops take longer than the product.
struct NarrowFactors
{
    NarrowFactors()
    {
        static const volatile uint16_t known[9] = {
            0,
            getNarrowing(1).factor,
            getNarrowing(2).factor,
            getNarrowing(3).factor,
            getNarrowing(4).factor,
            getNarrowing(5).factor,
            getNarrowing(6).factor,
            getNarrowing(7).factor,
            getNarrowing(8).factor,
        };
        for (size_t bits = 0; bits < 9; ++bits)
            of[bits] = known[bits];
    }
    uint16_t of[9];
};

template <kxComponentBits C>
constexpr uint16_t fieldOf(uint16_t word)
{
    return low16(word >> C.shift) & low16((1u << C.bits) - 1);
}
template <kxComponentBits C>
constexpr uint16_t widened(uint16_t word)
{
    constexpr kxWidening widening = getWidening(C.bits);
    return low16(fieldOf<C>(word) * widening.factor) >> widening.shift;
}

/// The field of a component, from a number whose highest bits are its value.
template <kxComponentBits C>
constexpr uint16_t placed(uint16_t top)
{
    return low16(top >> (16 - C.bits - C.shift)) & low16(((1u << C.bits) - 1) << C.shift);
}
template <kxComponentBits C>
uint16_t narrowed(uint16_t value, const NarrowFactors& factors)
{
    return placed<C>(low16(low16(value * factors.of[C.bits]) + getNarrowing(C.bits).half));
}

template <Info F>
Halves wordToRgba(uint16_t word)
{
    uint16_t redGreen = 0xffff, blue = 0xff, alpha = 0xff;
    if constexpr (F.luminance.bits)
    {
        blue = widened<F.luminance>(word);
        redGreen = low16(blue | blue << 8);
    }
    else if constexpr (F.red.bits)
    {
        redGreen = low16(widened<F.red>(word) | widened<F.green>(word) << 8);
        blue = widened<F.blue>(word);
    }
    if constexpr (F.alpha.bits)
        alpha = widened<F.alpha>(word);
    return {redGreen, low16(blue | alpha << 8)};
}

template <Info F>
uint16_t rgbaToWord(Halves rgba, const NarrowFactors& factors)
{
    const uint16_t red = rgba.redGreen & 255, green = rgba.redGreen >> 8, blue = rgba.blueAlpha & 255,
                   alpha = rgba.blueAlpha >> 8;
    uint16_t word = 0;
    if constexpr (F.luminance.bits)
        word = narrowed<F.luminance>(low16(red * 77 + green * 150 + blue * 29 + 128) >> 8, factors);
    if constexpr (F.red.bits)
        word =
            low16(narrowed<F.red>(red, factors) | narrowed<F.green>(green, factors) | narrowed<F.blue>(blue, factors));
    if constexpr (F.alpha.bits)
        word = low16(word | narrowed<F.alpha>(alpha, factors));
    return word;
}

// Formats with two layouts: the table has the coarse one. What differs is chosen before the products, so that there is one for
// each component and not two.
constexpr kxComponentBits kFineRed = {5, 10}, kFineGreen = {5, 5}, kFineBlue = {5, 0};
constexpr uint16_t kFineBit = 0x8000;

constexpr uint16_t choose(uint16_t mask, uint16_t ifSet, uint16_t ifClear)
{
    return low16((ifSet & mask) | (ifClear & ~mask));
}

template <kxComponentBits Fine, kxComponentBits Coarse>
uint16_t widenedOneOfTwo(uint16_t word, uint16_t isFine)
{
    constexpr kxWidening fine = getWidening(Fine.bits), coarse = getWidening(Coarse.bits);
    constexpr uint16_t shift = std::max(fine.shift, coarse.shift);
    const uint16_t value = choose(isFine, fieldOf<Fine>(word), fieldOf<Coarse>(word));
    const uint16_t factor =
        choose(isFine, fine.factor << (shift - fine.shift), coarse.factor << (shift - coarse.shift));
    return low16(value * factor) >> shift;
}

template <Info F>
Halves twoWayToRgba(uint16_t word)
{
    const uint16_t isFine = low16(0 - (word >> 15));
    const uint16_t red = widenedOneOfTwo<kFineRed, F.red>(word, isFine);
    const uint16_t green = widenedOneOfTwo<kFineGreen, F.green>(word, isFine);
    const uint16_t blue = widenedOneOfTwo<kFineBlue, F.blue>(word, isFine);
    const uint16_t alpha = low16(widened<F.alpha>(word) | isFine);
    return {low16(red | green << 8), low16(blue | alpha << 8)};
}

template <Info F>
uint16_t rgbaToTwoWay(Halves rgba, const NarrowFactors& factors)
{
    static_assert(F.red.bits == F.green.bits && F.red.bits == F.blue.bits);
    constexpr kxNarrowing fine = getNarrowing(kFineRed.bits), coarse = getNarrowing(F.red.bits);
    constexpr uint16_t fullAlpha = low16(((1u << F.alpha.bits) - 1) << F.alpha.shift);
    const uint16_t alpha = narrowed<F.alpha>(rgba.blueAlpha >> 8, factors);
    const bool isFine = alpha == fullAlpha;
    const uint16_t factor = isFine ? fine.factor : coarse.factor, half = isFine ? fine.half : coarse.half;
    const uint16_t red = low16(low16((rgba.redGreen & 255) * factor) + half);
    const uint16_t green = low16(low16((rgba.redGreen >> 8) * factor) + half);
    const uint16_t blue = low16(low16((rgba.blueAlpha & 255) * factor) + half);
    const uint16_t fineWord =
        low16(placed<kFineRed>(red) | placed<kFineGreen>(green) | placed<kFineBlue>(blue) | kFineBit);
    const uint16_t coarseWord = low16(placed<F.red>(red) | placed<F.green>(green) | placed<F.blue>(blue) | alpha);
    return isFine ? fineWord : coarseWord;
}

// Three bytes are no word of the processor: eight pixels at a time go through one shuffle of two halves of sixteen bytes, of
// which the last four belong to the pixels behind, and the last pixels go one by one.
typedef uint8_t Bytes16 __attribute__((vector_size(16), aligned(1), may_alias));
typedef uint8_t Bytes32 __attribute__((vector_size(32), aligned(1), may_alias));

KX_ROW_BODY void rgbToRgbaBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    constexpr Bytes32 opaque = {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255,
                                0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255};
    size_t i = 0;
    for (; i + 10 <= pixelCount; i += 8)
    {
        const Bytes16 first = *reinterpret_cast<const Bytes16*>(source + 3 * i);
        const Bytes16 second = *reinterpret_cast<const Bytes16*>(source + 3 * i + 12);
        const Bytes32 in = __builtin_shufflevector(first, second, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15,
                                                   16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
        *reinterpret_cast<Bytes32*>(target + 4 * i) =
            opaque | __builtin_shufflevector(in, in, 0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11, 16, 17, 18, 18,
                                             19, 20, 21, 21, 22, 23, 24, 24, 25, 26, 27, 27);
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

template <class W, Info F>
KX_ROW_BODY void unpackWords(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    for (size_t i = 0; i < pixelCount; ++i)
    {
        W word;
        std::memcpy(&word, source + sizeof(W) * i, sizeof(W));
        const uint16_t bits = F.isTiled() && sizeof(W) == 2 ? swapBytes(word) : word;
        Halves rgba;
        if constexpr (F.kind == Info::TWO_WAY)
            rgba = twoWayToRgba<F>(bits);
        else
            rgba = wordToRgba<F>(bits);
        std::memcpy(target + 4 * i, &rgba.redGreen, 2);
        std::memcpy(target + 4 * i + 2, &rgba.blueAlpha, 2);
    }
}

template <class W, Info F>
KX_ROW_BODY void packWords(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    const NarrowFactors factors;
    for (size_t i = 0; i < pixelCount; ++i)
    {
        Halves rgba;
        std::memcpy(&rgba.redGreen, source + 4 * i, 2);
        std::memcpy(&rgba.blueAlpha, source + 4 * i + 2, 2);
        uint16_t bits;
        if constexpr (F.kind == Info::TWO_WAY)
            bits = rgbaToTwoWay<F>(rgba, factors);
        else
            bits = rgbaToWord<F>(rgba, factors);
        const W word = static_cast<W>(F.isTiled() && sizeof(W) == 2 ? swapBytes(bits) : bits);
        std::memcpy(target + sizeof(W) * i, &word, sizeof(W));
    }
}

template <Info F>
using WordOf = std::conditional_t<F.bitsPerPixel == 16, uint16_t, uint8_t>;

template <Info F>
KX_ROW_BODY void unpackBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    if constexpr (F.bitsPerPixel == 24)
        rgbToRgbaBody(source, target, pixelCount);
    else if constexpr (F.bitsPerPixel == 32)
        std::memcpy(target, source, 4 * pixelCount);
    else
        unpackWords<WordOf<F>, F>(source, target, pixelCount);
}
template <Info F>
KX_ROW_BODY void packBody(const uint8_t* source, uint8_t* target, size_t pixelCount)
{
    if constexpr (F.bitsPerPixel == 24)
        rgbaToRgbBody(source, target, pixelCount);
    else if constexpr (F.bitsPerPixel == 32)
        std::memcpy(target, source, 4 * pixelCount);
    else
        packWords<WordOf<F>, F>(source, target, pixelCount);
}

struct RowPair
{
    kxRowFunction unpack = nullptr;
    kxRowFunction pack = nullptr;
};

// The functions of one format, translated for the processors that a word in front of a function names.
#define KX_ROWS(Name, PROCESSOR)                                                                                       \
    template <Info F>                                                                                                  \
    struct Name                                                                                                        \
    {                                                                                                                  \
        PROCESSOR static void unpack(const uint8_t* source, uint8_t* target, size_t pixelCount)                        \
        {                                                                                                              \
            unpackBody<F>(source, target, pixelCount);                                                                 \
        }                                                                                                              \
        PROCESSOR static void pack(const uint8_t* source, uint8_t* target, size_t pixelCount)                          \
        {                                                                                                              \
            packBody<F>(source, target, pixelCount);                                                                   \
        }                                                                                                              \
    };
KX_ROWS(PlainRows, )
KX_ROWS(WideRows, KX_WIDE_VECTORS)
KX_ROWS(WidestRows, KX_WIDEST_VECTORS)
#undef KX_ROWS

template <size_t I>
RowPair makePair()
{
    constexpr Info f = kTextureFormats[I];
    if constexpr (f.kind == Info::WORDS || f.kind == Info::TWO_WAY)
        return f.bitsPerPixel <= 16 && hasWidestVectors() ? RowPair{WidestRows<f>::unpack, WidestRows<f>::pack}
               : hasWideVectors()                         ? RowPair{WideRows<f>::unpack, WideRows<f>::pack}
                                                          : RowPair{PlainRows<f>::unpack, PlainRows<f>::pack};
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
