// PNG through libspng. A file with a wrong checksum or missing rows is broken.
#include "interop/images/kxPngCodec.h"

#include "interop/images/kxColorProfile.h"
#include "interop/images/kxOrientation.h"
#include "interop/images/kxPngChecksum.h"
#include "platform/core/kxReport.h"

#include <spng.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Kel::Interop
{

KX_IMPLEMENT(kxPngCodec)

namespace
{

struct FreeContext
{
    void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};
using Context = std::unique_ptr<spng_ctx, FreeContext>;

constexpr uint32_t kLargestSide = 1u << 24;
constexpr size_t kLargestChunk = size_t(64) << 20;
/// Deflate makes at most this many bytes of one; what claims more is cut short, and is refused before memory is taken for it.
constexpr uint64_t kLargestRatio = 1032;

/// What decides the format that the pixels get.
struct Layout
{
    spng_ihdr head = {};
    spng_plte palette = {};
    spng_trns transparency = {};
    bool hasTransparency = false;
    KX_GFX_TEXTURE_FORMAT format = rgba_8888_32;
};

bool readLayout(spng_ctx* context, const uint8_t* bytes, size_t byteCount, Layout& layout, std::string& fault)
{
    int error = spng_set_image_limits(context, kLargestSide, kLargestSide);
    if (!error)
        error = spng_set_chunk_limits(context, kLargestChunk, kLargestChunk);
    if (!error)
        error = spng_set_png_buffer(context, bytes, byteCount);
    if (!error)
        error = spng_get_ihdr(context, &layout.head);
    const bool isIndexed = layout.head.color_type == SPNG_COLOR_TYPE_INDEXED;
    if (!error && isIndexed)
        error = spng_get_plte(context, &layout.palette);
    if (error)
    {
        fault = kxFormat("PNG: %s", spng_strerror(error));
        return false;
    }
    layout.hasTransparency = spng_get_trns(context, &layout.transparency) == 0;
    switch (layout.head.color_type)
    {
    case SPNG_COLOR_TYPE_GRAYSCALE: layout.format = layout.hasTransparency ? la_88_16 : l_8; break;
    case SPNG_COLOR_TYPE_TRUECOLOR: layout.format = layout.hasTransparency ? rgba_8888_32 : rgb_888_24; break;
    case SPNG_COLOR_TYPE_INDEXED: layout.format = layout.head.bit_depth <= 4 ? x_4 : x_8; break;
    case SPNG_COLOR_TYPE_GRAYSCALE_ALPHA: layout.format = la_88_16; break;
    default: layout.format = rgba_8888_32;
    }
    return true;
}

uint32_t channelCount(const spng_ihdr& head)
{
    switch (head.color_type)
    {
    case SPNG_COLOR_TYPE_TRUECOLOR: return 3;
    case SPNG_COLOR_TYPE_GRAYSCALE_ALPHA: return 2;
    case SPNG_COLOR_TYPE_TRUECOLOR_ALPHA: return 4;
    default: return 1;
    }
}

/// Reads samples of any depth from rows as the file has them.
struct SampleReader
{
    const uint8_t* row;
    uint32_t depth;

    uint32_t get(size_t index) const
    {
        if (depth == 16)
            return static_cast<uint32_t>(row[2 * index] << 8 | row[2 * index + 1]);
        const size_t bit = index * depth;
        return row[bit / 8] >> (8 - depth - bit % 8) & ((1u << depth) - 1);
    }
    uint8_t get8(size_t index) const
    {
        const uint32_t largest = (1u << depth) - 1;
        return static_cast<uint8_t>((get(index) * 255 + largest / 2) / largest);
    }
};

void convertRow(const Layout& layout, const uint8_t* source, uint8_t* target)
{
    const SampleReader samples{source, layout.head.bit_depth};
    const spng_trns& trns = layout.transparency;
    for (uint32_t x = 0; x < layout.head.width; ++x)
        switch (layout.head.color_type)
        {
        case SPNG_COLOR_TYPE_INDEXED: target[x / 2] |= static_cast<uint8_t>(samples.get(x) << (x % 2 ? 0 : 4)); break;
        case SPNG_COLOR_TYPE_GRAYSCALE:
            *target++ = samples.get8(x);
            if (layout.hasTransparency)
                *target++ = samples.get(x) == trns.gray ? 0 : 255;
            break;
        case SPNG_COLOR_TYPE_TRUECOLOR:
            for (size_t c = 0; c < 3; ++c)
                *target++ = samples.get8(3 * size_t(x) + c);
            if (layout.hasTransparency)
                *target++ = samples.get(3 * size_t(x)) == trns.red && samples.get(3 * size_t(x) + 1) == trns.green &&
                                    samples.get(3 * size_t(x) + 2) == trns.blue
                                ? 0
                                : 255;
            break;
        default:
            for (size_t c = 0, count = channelCount(layout.head); c < count; ++c)
                *target++ = samples.get8(count * x + c);
        }
}

void readColorInformation(spng_ctx* context, kxImage& image)
{
    uint32_t gamma = 0;
    if (spng_get_gama_int(context, &gamma) == 0)
        image._gamma = gamma;
    spng_iccp profile;
    if (spng_get_iccp(context, &profile) == 0 && profile.profile_len)
        image._colorProfile = kxMemoryBlock::copyOf(profile.profile, profile.profile_len);
    if (uint8_t intent = 0; spng_get_srgb(context, &intent) == 0)
        image._srgbIntent = intent + 1u;
    spng_chrm_int chromaticities;
    if (spng_get_chrm_int(context, &chromaticities) == 0)
        image._chromaticities = kxMemoryBlock::copyOf(&chromaticities, sizeof chromaticities);
    if (spng_exif notes; spng_get_exif(context, &notes) == 0)
        image._orientation = readOrientation(reinterpret_cast<const uint8_t*>(notes.data), notes.length);
}

kxSmartPointer<kxClut> makePalette(const Layout& layout)
{
    uint8_t entries[4 * 256];
    for (uint32_t i = 0; i < layout.palette.n_entries; ++i)
    {
        const spng_plte_entry& entry = layout.palette.entries[i];
        const bool hasAlpha = layout.hasTransparency && i < layout.transparency.n_type3_entries;
        const uint8_t rgba[4] = {entry.red, entry.green, entry.blue,
                                 hasAlpha ? layout.transparency.type3_alpha[i] : uint8_t(255)};
        std::copy_n(rgba, 4, entries + 4 * i);
    }
    return kxClut::create(entries, layout.palette.n_entries);
}

size_t rowBytesOf(const spng_ihdr& head)
{
    return (size_t(head.width) * channelCount(head) * head.bit_depth + 7) / 8;
}

/// Decodes the pixels as the file has them, samples of 16 bits high byte first, and checks all of the file.
bool decodeRaw(spng_ctx* context, const Layout& layout, const uint8_t* bytes, size_t byteCount, uint8_t* raw,
               size_t rawBytes, std::string& fault)
{
    const spng_ihdr& head = layout.head;
    const size_t rowBytes = rowBytesOf(head);
    kxPngChecksum sum(rowBytes, std::max(1u, channelCount(head) * head.bit_depth / 8));
    const bool isInterlaced = head.interlace_method != 0;
    int error = 0;
    if (isInterlaced)
        error = spng_decode_image(context, raw, rawBytes, SPNG_FMT_RAW, 0);
    else
        error = spng_decode_image(context, nullptr, 0, SPNG_FMT_RAW, SPNG_DECODE_PROGRESSIVE);
    for (size_t y = 0; !isInterlaced && !error && y < head.height; ++y)
    {
        uint8_t* row = raw + y * rowBytes;
        spng_row_info info = {};
        error = spng_get_row_info(context, &info);
        if (!error)
            error = spng_decode_row(context, row, rowBytes);
        if (error == SPNG_EOI) // with the last row
            error = y + 1 == head.height ? 0 : SPNG_EIDAT_TOO_SHORT;
        if (!error)
            sum.addRow(info.filter, row, y ? row - rowBytes : nullptr);
    }
    // The decoder stops at the last pixel; the checksum of the piece that holds it stands behind that, and so does the one of
    // the compressed stream.
    if (!error)
        error = spng_decode_chunks(context);
    if (error == SPNG_EBADSTATE) // the decoder's word for it
        fault = "PNG: no pixels";
    else if (error)
        fault = kxFormat("PNG: %s", spng_strerror(error));
    else if (!isPngChecksumRight(bytes, byteCount, isInterlaced ? nullptr : &sum))
        fault = "PNG: the checksum of the pixels is wrong";
    else
        return true;
    return false;
}

} // namespace

bool kxPngCodec::claims(const uint8_t* bytes, size_t byteCount) const
{
    static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    return byteCount >= 8 && std::equal(signature, signature + 8, bytes);
}

bool kxPngCodec::readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const
{
    const Context context(spng_ctx_new(0));
    Layout layout;
    if (!readLayout(context.get(), bytes, byteCount, layout, fault))
        return false;
    header = {layout.head.width, layout.head.height, layout.format};
    return true;
}

bool kxPngCodec::decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const
{
    const Context context(spng_ctx_new(0));
    Layout layout;
    if (!readLayout(context.get(), bytes, byteCount, layout, fault))
        return false;
    const spng_ihdr& head = layout.head;
    const size_t rowBytes = rowBytesOf(head), rawBytes = rowBytes * head.height;
    if (rawBytes / kLargestRatio > byteCount)
    {
        fault = kxFormat("PNG: %u x %u pixels cannot come out of %zu bytes", head.width, head.height, byteCount);
        return false;
    }
    image.setSize(head.width, head.height, layout.format);
    uint8_t* pixels = image.getWritablePixels();
    const bool isAsItIs =
        head.bit_depth == 8 && (head.color_type == SPNG_COLOR_TYPE_INDEXED || !layout.hasTransparency);
    if (isAsItIs)
    {
        if (!decodeRaw(context.get(), layout, bytes, byteCount, pixels, rawBytes, fault))
            return false;
    }
    else
    {
        const auto raw = kxMemoryBlock::create(rawBytes);
        std::memset(raw->getWritableData(), 0, rawBytes); // pixels of less than a byte are put in bit by bit
        if (!decodeRaw(context.get(), layout, bytes, byteCount, raw->getWritableData(), rawBytes, fault))
            return false;
        const size_t stride = getTextureByteSize(layout.format, head.width, 1);
        for (size_t y = 0; y < head.height; ++y)
            convertRow(layout, raw->getData() + y * rowBytes, pixels + y * stride);
    }
    if (head.color_type == SPNG_COLOR_TYPE_INDEXED)
        image._clut = makePalette(layout);
    readColorInformation(context.get(), image);
    return true;
}

kxImageCodec::Fit kxPngCodec::getFit(kxImage& image) const
{
    const KX_GFX_TEXTURE_FORMAT format = image.getFormat();
    return kxImage::isPacked(format) || format == a_8 ? LOSES_FORMAT : EXACT;
}

kxSmartPointer<kxMemoryBlock> kxPngCodec::encode(kxImage& image, std::string& fault) const
{
    kxSmartPointer<kxImage> source(&image);
    if (getFit(image) == LOSES_FORMAT)
    {
        source = kxNew<kxImage>();
        if (!(image._format == a_8 ? source->convert(rgba_8888_32, &image) : source->unpack(&image)))
            return nullptr;
    }
    const KX_GFX_TEXTURE_FORMAT format = source->getFormat();
    const uint8_t* pixels = source->getPixels();
    const Context context(spng_ctx_new(SPNG_CTX_ENCODER));
    spng_set_option(context.get(), SPNG_ENCODE_TO_BUFFER, 1);

    spng_ihdr head = {};
    head.width = source->getWidth();
    head.height = source->getHeight();
    head.bit_depth = format == x_4 ? 4 : 8;
    head.color_type = kxImage::isIndexed(format) ? SPNG_COLOR_TYPE_INDEXED
                      : format == l_8            ? SPNG_COLOR_TYPE_GRAYSCALE
                      : format == la_88_16       ? SPNG_COLOR_TYPE_GRAYSCALE_ALPHA
                      : format == rgb_888_24     ? SPNG_COLOR_TYPE_TRUECOLOR
                                                 : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    int error = spng_set_ihdr(context.get(), &head);
    if (!error && head.color_type == SPNG_COLOR_TYPE_INDEXED)
    {
        // A file's palette holds every index in use; colours beyond the image's own palette are black.
        uint32_t colors[256];
        source->_clut->fillTable(colors);
        uint32_t count = std::clamp(source->_clut->_entryCount, 1u, format == x_4 ? 16u : 256u);
        const size_t byteSize = source->getByteSize();
        if (format == x_8)
            for (size_t i = 0; i < byteSize; ++i)
                count = std::max(count, pixels[i] + 1u);
        else
            for (size_t i = 0; i < byteSize; ++i)
                count = std::max({count, (pixels[i] >> 4) + 1u, (pixels[i] & 15) + 1u});
        spng_plte palette = {};
        spng_trns transparency = {};
        palette.n_entries = count;
        for (uint32_t i = 0; i < count; ++i)
        {
            palette.entries[i] = {static_cast<uint8_t>(colors[i]), static_cast<uint8_t>(colors[i] >> 8),
                                  static_cast<uint8_t>(colors[i] >> 16), 255};
            transparency.type3_alpha[i] = static_cast<uint8_t>(colors[i] >> 24);
            if (transparency.type3_alpha[i] != 255)
                transparency.n_type3_entries = i + 1;
        }
        error = spng_set_plte(context.get(), &palette);
        if (!error && transparency.n_type3_entries)
            error = spng_set_trns(context.get(), &transparency);
    }
    if (!error && image._gamma)
        error = spng_set_gama_int(context.get(), image._gamma);
    spng_chrm_int chromaticities;
    if (!error && image._chromaticities && image._chromaticities->getSize() == sizeof chromaticities)
    {
        std::memcpy(&chromaticities, image._chromaticities->getData(), sizeof chromaticities);
        error = spng_set_chrm_int(context.get(), &chromaticities);
    }
    const bool isGray =
        head.color_type == SPNG_COLOR_TYPE_GRAYSCALE || head.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA;
    if (!error && isProfileOf(image._colorProfile, isGray))
    {
        auto* bytes = const_cast<uint8_t*>(image._colorProfile->getData()); // only read
        spng_iccp profile = {};
        std::strcpy(profile.profile_name, "profile");
        profile.profile_len = image._colorProfile->getSize();
        profile.profile = reinterpret_cast<char*>(bytes);
        error = spng_set_iccp(context.get(), &profile);
    }
    else if (!error && image._srgbIntent > 0 && image._srgbIntent <= 4) // a file has one or the other
        error = spng_set_srgb(context.get(), static_cast<uint8_t>(image._srgbIntent - 1));
    auto directory = writeOrientation(image._orientation);
    spng_exif notes = {directory.size(), reinterpret_cast<char*>(directory.data())};
    if (!error && image._orientation >= 1 && image._orientation <= 8)
        error = spng_set_exif(context.get(), &notes);
    if (!error)
        error = spng_encode_image(context.get(), pixels, source->getByteSize(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    if (!error)
    {
        size_t fileBytes = 0;
        const std::unique_ptr<void, decltype(&std::free)> file(spng_get_png_buffer(context.get(), &fileBytes, &error),
                                                               &std::free);
        if (file)
            return kxMemoryBlock::copyOf(file.get(), fileBytes);
    }
    fault = kxFormat("PNG: %s", spng_strerror(error));
    return nullptr;
}

} // namespace Kel::Interop
