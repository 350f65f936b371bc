// WebP files.
#pragma once

#include "platform/gfx/kxImageCodec.h"

namespace Kel::Interop
{

using namespace Kel::Gfx;

/// WebP files, lossy and lossless, without animation. Images that came as lossy ones are written so, others without loss.
class kxWebpCodec : public kxImageCodec
{
    KX_OBJECT(kxWebpCodec, kxImageCodec)

    kxStringRef getMimeType() const override { return "image/webp"; }
    kxStringRef getExtension() const override { return "webp"; }
    bool isCommon() const override { return false; }
    bool claims(const uint8_t* bytes, size_t byteCount) const override;
    bool readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const override;
    bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const override;
    Fit getFit(kxImage& image) const override;
    kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string& fault) const override;
};

} // namespace Kel::Interop
