#include "interop/images/kxWebpCodec.h"

#include "interop/images/kxColorProfile.h"
#include "platform/core/kxReport.h"
#include "platform/gfx/kxPixelRows.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <memory>

namespace Kel::Interop
{

KX_IMPLEMENT(kxWebpCodec)

namespace
{

/// Files do not tell their quality; this is what pictures are usually stored at, and a little above.
constexpr uint32_t kQualityOfLossy = 90;

bool readFeatures(const uint8_t* bytes, size_t byteCount, WebPBitstreamFeatures& features, std::string& fault)
{
    if (WebPGetFeatures(bytes, byteCount, &features) != VP8_STATUS_OK)
        fault = "WebP: the head is damaged";
    else if (features.has_animation)
        fault = "WebP: an animation, which is no texture";
    else
        return true;
    return false;
}

void readColorProfile(const uint8_t* bytes, size_t byteCount, kxImage& image)
{
    const WebPData data = {bytes, byteCount};
    const std::unique_ptr<WebPDemuxer, decltype(&WebPDemuxDelete)> demuxer(WebPDemux(&data), &WebPDemuxDelete);
    WebPChunkIterator chunk;
    if (demuxer && WebPDemuxGetChunk(demuxer.get(), "ICCP", 1, &chunk))
    {
        image._colorProfile = kxMemoryBlock::copyOf(chunk.chunk.bytes, chunk.chunk.size);
        WebPDemuxReleaseChunkIterator(&chunk);
    }
}

/// The file with a colour profile put in; the file itself when that fails.
kxSmartPointer<kxMemoryBlock> withColorProfile(const uint8_t* bytes, size_t byteCount, const kxMemoryBlock* profile)
{
    const WebPData picture = {bytes, byteCount};
    const std::unique_ptr<WebPMux, decltype(&WebPMuxDelete)> mux(WebPMuxNew(), &WebPMuxDelete);
    if (profile && mux && WebPMuxSetImage(mux.get(), &picture, 0) == WEBP_MUX_OK)
    {
        const WebPData profileData = {profile->getData(), profile->getSize()};
        WebPData whole = {};
        if (WebPMuxSetChunk(mux.get(), "ICCP", &profileData, 0) == WEBP_MUX_OK &&
            WebPMuxAssemble(mux.get(), &whole) == WEBP_MUX_OK)
        {
            auto block = kxMemoryBlock::copyOf(whole.bytes, whole.size);
            WebPDataClear(&whole);
            return block;
        }
    }
    return kxMemoryBlock::copyOf(bytes, byteCount);
}

} // namespace

bool kxWebpCodec::claims(const uint8_t* bytes, size_t byteCount) const
{
    return byteCount >= 12 && std::equal(bytes, bytes + 4, "RIFF") && std::equal(bytes + 8, bytes + 12, "WEBP");
}

bool kxWebpCodec::readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const
{
    WebPBitstreamFeatures features;
    if (!readFeatures(bytes, byteCount, features, fault))
        return false;
    header = {static_cast<uint32_t>(features.width), static_cast<uint32_t>(features.height),
              features.has_alpha ? rgba_8888_32 : rgb_888_24};
    return true;
}

bool kxWebpCodec::decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const
{
    WebPBitstreamFeatures features;
    if (!readFeatures(bytes, byteCount, features, fault))
        return false;
    const KX_GFX_TEXTURE_FORMAT format = features.has_alpha ? rgba_8888_32 : rgb_888_24;
    image.setSize(static_cast<uint32_t>(features.width), static_cast<uint32_t>(features.height), format);
    const auto stride = static_cast<int>(getTextureByteSize(format, image._width, 1));
    uint8_t* pixels = image.getWritablePixels();
    const size_t byteSize = image.getByteSize();
    if (!(features.has_alpha ? WebPDecodeRGBAInto(bytes, byteCount, pixels, byteSize, stride)
                             : WebPDecodeRGBInto(bytes, byteCount, pixels, byteSize, stride)))
    {
        fault = "WebP: the pixels are damaged or cut short";
        return false;
    }
    if (features.format == 1)
        image._quality = kQualityOfLossy;
    readColorProfile(bytes, byteCount, image);
    return true;
}

kxImageCodec::Fit kxWebpCodec::getFit(kxImage& image) const
{
    const KX_GFX_TEXTURE_FORMAT format = image.getFormat();
    const bool isHoldable = format == rgb_888_24 || format == rgba_8888_32 || format == l_8 || format == la_88_16;
    const bool isInside = image.getWidth() <= WEBP_MAX_DIMENSION && image.getHeight() <= WEBP_MAX_DIMENSION;
    return isHoldable && isInside && image._mimeType == getMimeType() ? AS_IT_CAME : CANNOT;
}

kxSmartPointer<kxMemoryBlock> kxWebpCodec::encode(kxImage& image, std::string& fault) const
{
    auto source = kxNew<kxImage>();
    WebPConfig settings;
    WebPPicture picture;
    if (!source->convert(rgba_8888_32, &image) || !WebPConfigInit(&settings) || !WebPPictureInit(&picture))
        return nullptr;
    if (image._quality)
        settings.quality = static_cast<float>(image._quality);
    else
    {
        WebPConfigLosslessPreset(&settings, 6);
        settings.exact = 1; // keeps the colours of transparent pixels
    }
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    picture.use_argb = image._quality == 0;
    picture.width = static_cast<int>(source->getWidth());
    picture.height = static_cast<int>(source->getHeight());
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    const bool isWritten =
        WebPPictureImportRGBA(&picture, source->getPixels(), picture.width * 4) && WebPEncode(&settings, &picture);
    const int error = picture.error_code;
    WebPPictureFree(&picture);
    kxSmartPointer<kxMemoryBlock> file;
    if (isWritten)
        file = withColorProfile(writer.mem, writer.size,
                                isProfileOf(image._colorProfile, false) ? image._colorProfile.get() : nullptr);
    else
        fault = kxFormat("WebP: encoder error %d", error);
    WebPMemoryWriterClear(&writer);
    return file;
}

} // namespace Kel::Interop
