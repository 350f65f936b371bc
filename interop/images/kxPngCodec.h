// PNG files.
#pragma once

#include "platform/gfx/kxImageCodec.h"

namespace Kel::Interop
{

using namespace Kel::Gfx;

/// PNG files: grey, grey with alpha, colours, colours with alpha, palettes, of every depth, interlaced or not. Components of
/// 16 bits become the nearest of 8; grey of less than 8 bits becomes l_8, indices of less become x_4.
class kxPngCodec : public kxImageCodec
{
    KX_OBJECT(kxPngCodec, kxImageCodec)

    kxStringRef getMimeType() const override { return "image/png"; }
    kxStringRef getExtension() const override { return "png"; }
    bool isCommon() const override { return true; }
    bool claims(const uint8_t* bytes, size_t byteCount) const override;
    bool readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const override;
    bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const override;
    Fit getFit(kxImage& image) const override;
    kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string& fault) const override;
};

} // namespace Kel::Interop
