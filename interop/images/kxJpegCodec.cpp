// JPEG through libjpeg. The library jumps out of its calls on errors, so each function that calls it keeps what has to be
// freed in one object outside the call, and has no local variables with destructors.
#include "interop/images/kxJpegCodec.h"

#include "interop/images/kxColorProfile.h"
#include "interop/images/kxOrientation.h"
#include "platform/core/kxReport.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <jerror.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace Kel::Interop
{

KX_IMPLEMENT(kxJpegCodec)

namespace
{

/// Progressive files may repeat scans without end; no encoder makes more than a few dozen.
constexpr int kLargestScan = 200;

/// What stands before a camera's notes.
constexpr std::string_view kExifHead("Exif\0\0", 6);

struct Errors
{
    jpeg_error_mgr base;
    std::jmp_buf exit;
    bool isDamaged = false;
    char text[JMSG_LENGTH_MAX] = "";
};

void exitOnError(j_common_ptr common)
{
    auto* errors = reinterpret_cast<Errors*>(common->err);
    common->err->format_message(common, errors->text);
    std::longjmp(errors->exit, 1);
}

/// Warnings tell of pixels that are guessed: such a file is damaged. Some only tell of strange but whole files.
void noteWarning(j_common_ptr common, int level)
{
    auto* errors = reinterpret_cast<Errors*>(common->err);
    const int code = common->err->msg_code;
    if (level >= 0 || errors->isDamaged || code == JWRN_EXTRANEOUS_DATA || code == JWRN_ADOBE_XFORM ||
        code == JWRN_JFIF_MAJOR || code == JWRN_TOO_MUCH_DATA || code == JWRN_BOGUS_ICC || code == JWRN_NOT_SEQUENTIAL)
        return;
    errors->isDamaged = true;
    common->err->format_message(common, errors->text);
}

void countScans(j_common_ptr common)
{
    if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > kLargestScan)
    {
        common->err->msg_code = JERR_BAD_PROGRESSION;
        exitOnError(common);
    }
}

void useErrors(j_common_ptr common, Errors& errors)
{
    common->err = jpeg_std_error(&errors.base);
    errors.base.error_exit = exitOnError;
    errors.base.emit_message = noteWarning;
    errors.base.output_message = [](j_common_ptr) {};
}

struct Decoder
{
    Decoder()
    {
        useErrors(reinterpret_cast<j_common_ptr>(&codec), errors);
        progress.progress_monitor = countScans;
    }
    ~Decoder() { jpeg_destroy_decompress(&codec); }

    bool readHeader(const uint8_t* bytes, size_t byteCount)
    {
        if (setjmp(errors.exit))
            return false;
        jpeg_create_decompress(&codec);
        codec.progress = &progress;
        jpeg_mem_src(&codec, bytes, static_cast<unsigned long>(byteCount));
        jpeg_save_markers(&codec, JPEG_APP0 + 1, 0xffff); // a camera's notes
        jpeg_save_markers(&codec, JPEG_APP0 + 2, 0xffff); // the colour profile
        jpeg_read_header(&codec, TRUE);
        if (codec.num_components == 4)
            codec.out_color_space = JCS_CMYK;
        else if (codec.num_components != 1)
            codec.out_color_space = JCS_RGB;
        else
            codec.out_color_space = JCS_GRAYSCALE;
        return true;
    }

    /// Rows go to `target`, those of four inks through `inks`.
    bool readPixels(uint8_t* target, size_t stride, uint8_t* inks)
    {
        if (setjmp(errors.exit))
            return false;
        jpeg_start_decompress(&codec);
        while (codec.output_scanline < codec.output_height)
        {
            uint8_t* const place = target + codec.output_scanline * stride;
            JSAMPROW row = inks ? inks : place;
            jpeg_read_scanlines(&codec, &row, 1);
            if (inks)
                convertInks(inks, place);
        }
        if (jpeg_read_icc_profile(&codec, &profile, &profileBytes) == FALSE)
            profile = nullptr;
        orientation = findOrientation();
        jpeg_finish_decompress(&codec); // drops the markers
        return !errors.isDamaged;
    }

    uint32_t findOrientation() const
    {
        for (const jpeg_marker_struct* marker = codec.marker_list; marker; marker = marker->next)
            if (marker->marker == JPEG_APP0 + 1 && marker->data_length > kExifHead.size() &&
                std::memcmp(marker->data, kExifHead.data(), kExifHead.size()) == 0)
                return readOrientation(marker->data + kExifHead.size(), marker->data_length - kExifHead.size());
        return 0;
    }

    void convertInks(const uint8_t* inks, uint8_t* target) const
    {
        // Files with the Adobe marker hold the inks inverted.
        const uint32_t flip = codec.saw_Adobe_marker ? 0 : 255;
        for (uint32_t x = 0; x < codec.output_width; ++x)
            for (uint32_t c = 0; c < 3; ++c)
                target[3 * x + c] =
                    static_cast<uint8_t>(((inks[4 * x + c] ^ flip) * (inks[4 * x + 3] ^ flip) + 127) / 255);
    }

    jpeg_decompress_struct codec = {};
    jpeg_progress_mgr progress = {};
    Errors errors;
    JOCTET* profile = nullptr; // of malloc, freed by the caller
    unsigned int profileBytes = 0;
    uint32_t orientation = 0;
};

struct Encoder
{
    Encoder() { useErrors(reinterpret_cast<j_common_ptr>(&codec), errors); }
    ~Encoder()
    {
        jpeg_destroy_compress(&codec);
        std::free(file);
    }

    bool write(const uint8_t* pixels, uint32_t width, uint32_t height, int channelCount, int quality, int subsampling,
               uint32_t orientation, const kxMemoryBlock* colorProfile)
    {
        if (setjmp(errors.exit))
            return false;
        jpeg_create_compress(&codec);
        jpeg_mem_dest(&codec, &file, &fileBytes);
        codec.image_width = width;
        codec.image_height = height;
        codec.input_components = channelCount;
        codec.in_color_space = channelCount == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&codec);
        jpeg_set_quality(&codec, quality, TRUE);
        codec.optimize_coding = TRUE;
        if (channelCount == 3 && subsampling)
        {
            codec.comp_info[0].h_samp_factor = subsampling / 10;
            codec.comp_info[0].v_samp_factor = subsampling % 10;
        }
        jpeg_start_compress(&codec, TRUE);
        if (orientation >= 1 && orientation <= 8)
        {
            JOCTET notes[6 + 26];
            std::copy(kExifHead.begin(), kExifHead.end(), notes);
            const auto directory = writeOrientation(orientation);
            std::copy(directory.begin(), directory.end(), notes + kExifHead.size());
            jpeg_write_marker(&codec, JPEG_APP0 + 1, notes, sizeof notes);
        }
        if (colorProfile)
            jpeg_write_icc_profile(&codec, colorProfile->getData(), static_cast<unsigned>(colorProfile->getSize()));
        const size_t stride = size_t(width) * static_cast<size_t>(channelCount);
        while (codec.next_scanline < height)
        {
            JSAMPROW row = const_cast<JSAMPROW>(pixels + codec.next_scanline * stride); // only read
            jpeg_write_scanlines(&codec, &row, 1);
        }
        jpeg_finish_compress(&codec);
        return true;
    }

    /// The quality whose table for brightness is nearest to that of a file.
    uint32_t estimateQuality(const JQUANT_TBL* table)
    {
        if (!table || setjmp(errors.exit))
            return 0;
        jpeg_create_compress(&codec);
        codec.in_color_space = JCS_GRAYSCALE;
        codec.input_components = 1;
        jpeg_set_defaults(&codec);
        for (int quality = 100; quality >= 1; --quality)
        {
            jpeg_set_quality(&codec, quality, TRUE);
            long difference = 0;
            for (size_t i = 0; i < DCTSIZE2; ++i)
                difference += std::labs(long(table->quantval[i]) - long(codec.quant_tbl_ptrs[0]->quantval[i]));
            if (nearestQuality == 0 || difference < smallestDifference)
            {
                nearestQuality = static_cast<uint32_t>(quality);
                smallestDifference = difference;
            }
        }
        return nearestQuality;
    }

    jpeg_compress_struct codec = {};
    Errors errors;
    unsigned char* file = nullptr;
    unsigned long fileBytes = 0;
    uint32_t nearestQuality = 0;
    long smallestDifference = 0;
};

/// How many pixels share a colour, 10 times the number across plus the number down; 0 for what the encoder cannot repeat.
uint32_t subsamplingOf(const jpeg_component_info* components)
{
    const auto factorOf = [](int brightness, int color, int otherColor)
    {
        const bool isWhole = color == otherColor && color > 0 && brightness % color == 0;
        return isWhole && brightness / color <= 2 ? static_cast<uint32_t>(brightness / color) : 0;
    };
    const uint32_t across =
        factorOf(components[0].h_samp_factor, components[1].h_samp_factor, components[2].h_samp_factor);
    const uint32_t down =
        factorOf(components[0].v_samp_factor, components[1].v_samp_factor, components[2].v_samp_factor);
    return across && down ? across * 10 + down : 0;
}

} // namespace

bool kxJpegCodec::claims(const uint8_t* bytes, size_t byteCount) const
{
    return byteCount >= 3 && bytes[0] == 0xff && bytes[1] == 0xd8 && bytes[2] == 0xff;
}

bool kxJpegCodec::readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const
{
    const auto decoder = std::make_unique<Decoder>();
    if (!decoder->readHeader(bytes, byteCount))
    {
        fault = kxFormat("JPEG: %s", decoder->errors.text);
        return false;
    }
    header = {decoder->codec.image_width, decoder->codec.image_height,
              decoder->codec.num_components == 1 ? l_8 : rgb_888_24};
    return true;
}

bool kxJpegCodec::decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const
{
    const auto decoder = std::make_unique<Decoder>();
    const jpeg_decompress_struct& codec = decoder->codec;
    bool isRead = decoder->readHeader(bytes, byteCount);
    if (isRead)
    {
        const KX_GFX_TEXTURE_FORMAT format = codec.num_components == 1 ? l_8 : rgb_888_24;
        image.setSize(codec.image_width, codec.image_height, format);
        image._subsampling = codec.num_components == 3 ? subsamplingOf(codec.comp_info) : 0;
        std::vector<uint8_t> inks(codec.num_components == 4 ? size_t(codec.image_width) * 4 : 0);
        isRead = decoder->readPixels(image.getWritablePixels(), getTextureByteSize(format, codec.image_width, 1),
                                     inks.empty() ? nullptr : inks.data());
    }
    const std::unique_ptr<JOCTET, decltype(&std::free)> profile(decoder->profile, &std::free);
    if (!isRead)
    {
        fault = kxFormat("JPEG: %s", decoder->errors.text);
        return false;
    }
    // A profile of four inks says nothing about the colours made of them.
    if (profile && codec.num_components != 4)
        image._colorProfile = kxMemoryBlock::copyOf(profile.get(), decoder->profileBytes);
    image._orientation = decoder->orientation;
    image._quality = std::make_unique<Encoder>()->estimateQuality(codec.quant_tbl_ptrs[0]);
    return true;
}

kxImageCodec::Fit kxJpegCodec::getFit(kxImage& image) const
{
    const bool isHoldable = image.getFormat() == rgb_888_24 || image.getFormat() == l_8;
    const bool isInside = image.getWidth() <= JPEG_MAX_DIMENSION && image.getHeight() <= JPEG_MAX_DIMENSION;
    return isHoldable && isInside && image._mimeType == getMimeType() && image._quality ? AS_IT_CAME : CANNOT;
}

kxSmartPointer<kxMemoryBlock> kxJpegCodec::encode(kxImage& image, std::string& fault) const
{
    const auto encoder = std::make_unique<Encoder>();
    if (encoder->write(image.getPixels(), image.getWidth(), image.getHeight(), image.getFormat() == l_8 ? 1 : 3,
                       image._quality ? static_cast<int>(image._quality) : 90, static_cast<int>(image._subsampling),
                       image._orientation,
                       isProfileOf(image._colorProfile, image.getFormat() == l_8) ? image._colorProfile.get()
                                                                                  : nullptr))
        return kxMemoryBlock::copyOf(encoder->file, encoder->fileBytes);
    fault = kxFormat("JPEG: %s", encoder->errors.text);
    return nullptr;
}

} // namespace Kel::Interop
