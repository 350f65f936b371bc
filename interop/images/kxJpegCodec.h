// JPEG files.
#pragma once

#include "platform/gfx/kxImageCodec.h"

namespace Kel::Interop
{

using namespace Kel::Gfx;

/// JPEG files: baseline and progressive, grey, colours, and the four inks of print, which become colours on reading. Written at
/// the quality and with the thinning of colours that the image came with.
class kxJpegCodec : public kxImageCodec
{
    KX_OBJECT(kxJpegCodec, kxImageCodec)

    kxStringRef getMimeType() const override { return "image/jpeg"; }
    kxStringRef getExtension() const override { return "jpg"; }
    bool isCommon() const override { return true; }
    bool claims(const uint8_t* bytes, size_t byteCount) const override;
    bool readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const override;
    bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const override;
    Fit getFit(kxImage& image) const override;
    kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string& fault) const override;
};

} // namespace Kel::Interop
