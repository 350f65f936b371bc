// Image files in memory, read and written by codecs that are found as the derived classes of one class.
#pragma once

#include "platform/gfx/kxImage.h"

#include <string>

namespace Kel::Gfx
{

/// What the head of an image file tells.
struct kxImageHeader
{
    uint32_t width = 0;
    uint32_t height = 0;
    KX_GFX_TEXTURE_FORMAT format = rgba_8888_32; ///< of the pixels once decoded
};

/// An image as a file holds it.
struct kxImageFileForm
{
    kxSmartPointer<kxMemoryBlock> bytes;
    kxStringRef mimeType;  ///< such as "image/png"; null when the image came without one and was not changed
    kxStringRef extension; ///< of file names, without dot: "png"; null when the bytes are of no known kind
    bool isExact = true;   ///< false when the file shows the picture but cannot hold the format
    bool isCommon = true;  ///< false for a kind of file that not every reader of scenes knows
};

/// A kind of image files. Registering a derived class is all that makes one known.
///
/// Nothing here reports: a function that fails says why in `fault`, and whoever asked reports it once, with the image's name.
class kxImageCodec : public kxObject
{
    KX_OBJECT(kxImageCodec, kxObject)

    /// How well a kind of file holds an image; of several the best one is written.
    enum Fit
    {
        CANNOT,
        LOSES_FORMAT, ///< shows the same picture, in another format
        EXACT,
        AS_IT_CAME ///< the kind of file that the image came in, and it can hold the image still
    };

    virtual kxStringRef getMimeType() const = 0;
    virtual kxStringRef getExtension() const = 0;
    /// True for a kind of file that every reader of scenes knows.
    virtual bool isCommon() const = 0;

    /// True when the bytes begin as such a file does.
    virtual bool claims(const uint8_t* bytes, size_t byteCount) const = 0;
    /// Reads size and format. The caller holds them against the limits.
    virtual bool readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header,
                            std::string& fault) const = 0;
    /// Reads the pixels into an image that has none, and what the file says about its colours.
    virtual bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const = 0;

    virtual Fit getFit(kxImage& image) const = 0;
    /// The image, which has pixels, as a file; null on failure.
    virtual kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string& fault) const = 0;

    /// Codec of a file by its first bytes; null when nobody claims them.
    static const kxImageCodec* find(const uint8_t* bytes, size_t byteCount);
    /// Codec that writes an image best, of the common ones alone when asked for; null when none can.
    static const kxImageCodec* findBest(kxImage& image, bool commonOnly);

    /// Reads the header and holds it against the limits.
    bool readCheckedHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const;

    /// The image as the file that holds it best: the bytes it came in while its pixels are unchanged, else an indexed PNG
    /// for indices, a PNG for components of 8 bits, a JPEG at the old quality for an opaque image that came as one, DDS for
    /// blocks and narrow formats. With `commonOnly` an unchanged image of an uncommon kind and what only DDS holds become
    /// PNG. False, with one error line, when the image has neither bytes nor pixels or a codec fails.
    static bool encodeForFile(kxImage& image, bool commonOnly, kxImageFileForm& form);
};

} // namespace Kel::Gfx
