// An image: the bytes it came in, and its pixels once something asks for them.
#pragma once

#include "platform/core/kxMemoryBlock.h"
#include "platform/core/kxUserData.h"
#include "platform/gfx/kxClut.h"
#include "platform/gfx/kxGfxNames.h"
#include "platform/gfx/kxTextureFormat.h"

#include <functional>

namespace Kel::Utils
{
class kxIntHistogram;
}

namespace Kel::Gfx
{

/// An image. `_encoded` holds the bytes of the file it came in until its pixels are changed; an image that nothing touches
/// is written back from them. `_pixels` is null until the image is decoded, which happens when something first asks for what
/// only the pixels can tell. An image that cannot be decoded is reported once, keeps its bytes, and counts as one without
/// pixels: width, height and byte size 0, no conversion possible.
class kxImage : public kxObject
{
    KX_OBJECT(kxImage, kxObject)
    static void listFields(kxFields<kxImage>& fields);

    kxStringRef _name;
    kxStringRef _uri;
    kxStringRef _mimeType;
    kxSmartPointer<kxMemoryBlock> _encoded;
    uint32_t _width = 0;
    uint32_t _height = 0;
    KX_GFX_TEXTURE_FORMAT _format = rgba_8888_32;
    KX_GFX_IMAGE_ORDER _order = DEFAULT;
    kxSmartPointer<kxMemoryBlock> _pixels;
    kxSmartPointer<kxClut> _clut;
    kxSmartPointer<kxUserData> _userData;
    uint32_t _quality = 0;
    uint32_t _subsampling = 0;
    uint32_t _gamma = 0;
    kxSmartPointer<kxMemoryBlock> _colorProfile;
    uint32_t _srgbIntent = 0;
    kxSmartPointer<kxMemoryBlock> _chromaticities;
    uint32_t _orientation = 0;

    kxStringRef getName() const { return _name; }
    /// Name for messages and name lists: the name, else the path of the image's own file, else null.
    kxStringRef getFileName() const { return _name.isEmpty() && !_uri.isEmpty() ? _uri : _name; }

    // What the image is. The first question decodes the header where the image has not been decoded.

    uint32_t getWidth();
    uint32_t getHeight();
    KX_GFX_TEXTURE_FORMAT getFormat();
    /// Bytes of the pixels in memory, 0 without pixels.
    uint64_t getByteSize();
    uint32_t getTotalBitsPerPixel();
    /// Whole bytes of a pixel; 0 for formats of less than 8 bits and for blocks of less than that.
    uint32_t getBytesPerPixel();
    /// Bits of the alpha: those of the format, or 8 for a palette with a colour that is not opaque. Decodes indexed images.
    uint32_t getAlphaBits();

    // What a format is.

    /// Bits of red, green, blue, alpha, luminance, and of what is no component (an index); of block formats what a pixel has
    /// on average. The sum is what a pixel takes. All 0 for a number that is no format.
    static void estimateBitDepths(KX_GFX_TEXTURE_FORMAT format, uint32_t bits[6]);
    static bool isIndexed(KX_GFX_TEXTURE_FORMAT format);
    /// False for indexed formats, whose palette decides.
    static bool hasAlpha(KX_GFX_TEXTURE_FORMAT format);
    /// True when components do not stand in bytes of their own: narrow, tiled and block formats.
    static bool isPacked(KX_GFX_TEXTURE_FORMAT format);

    // Pixels.

    /// Decodes the image where that is still to be done; false when there are no pixels. One error line for each image.
    bool ensurePixels();
    bool hasPixels() const { return _pixels != nullptr; }
    /// The pixels, null when there are none.
    const uint8_t* getPixels();
    /// The pixels for writing, null when there are none. The encoded bytes are dropped: they no longer show them. Pixels that
    /// somebody else holds as well are copied first.
    uint8_t* getWritablePixels();
    /// Gives the image new pixels, all 0, in place of what it had. False, with nothing changed, for a side of 0, a number
    /// that is no format, and more than `kMaxPixelCount` pixels. The palette stays when the format is indexed.
    bool setSize(uint32_t width, uint32_t height, KX_GFX_TEXTURE_FORMAT format);
    /// Becomes a copy of another image that shares nothing with it; `source` may be this image.
    void copyFrom(const kxImage* source);
    static constexpr uint64_t kMaxPixelCount = uint64_t(1) << 28;

    /// Calls back for every row from the top with its number and its pixels as RGBA bytes, whatever the format. False
    /// without pixels.
    bool forEachRgbaRow(const std::function<void(uint32_t, const uint8_t*)>& callback);

    // Conversions.

    /// True when `convert` can turn this image into the format at once. Blocks are made of rgba_8888_32 alone; a palette is
    /// only widened, or narrowed when its colours are few enough (making one takes the colour quantizer); an image without
    /// alpha does not become one of alpha alone, nor the reverse.
    bool canConvert(KX_GFX_TEXTURE_FORMAT format);
    /// Becomes what `source` shows, in the format; `source` may be this image. Size, pixels and palette change, the rest
    /// stays. False, with nothing changed, when the source cannot be converted so. Converting an image to the format that it
    /// has changes nothing.
    bool convert(KX_GFX_TEXTURE_FORMAT format, kxImage* source);
    /// The same into the format with one byte for each of the source's components.
    bool unpack(kxImage* source);
    /// Becomes the pixels nearest to those of `source` (at the centres) at a new size, in the source's format; `source` may
    /// be this image. Block formats are decoded and coded again.
    bool resize(kxImage* source, uint32_t width, uint32_t height);
    /// Becomes an l_8 image of one component of `source`: 0 red (or luminance), 1 green, 2 blue, 3 alpha. `source` may be
    /// this image.
    bool extractComponent(kxImage* source, uint32_t component);
    /// Adds the values of one component, counted as in `extractComponent`, to a histogram.
    bool computeHistogram(uint32_t component, Utils::kxIntHistogram& histogram);

    /// Refuses an image whose pixels are fewer than its size needs, and indices without a palette.
    bool userCheckLoaded(std::string& fault) const override;

private:
    bool ensureHeader();
    void reportFault(const std::string& fault);

    bool m_isBroken = false;
};

KX_OBJECT_LIST(kxImageList, kxImage)

} // namespace Kel::Gfx
