// DDS files.
#pragma once

#include "platform/gfx/kxImageCodec.h"

namespace Kel::Interop
{

using namespace Kel::Gfx;

/// DDS files: DXT1, DXT3, DXT5 and components at any place of up to 32 bits. The first level of flat images is read; what has
/// more than one face or layer is refused. Written with the layouts that other readers know best.
class kxDdsCodec : public kxImageCodec
{
    KX_OBJECT(kxDdsCodec, kxImageCodec)

    kxStringRef getMimeType() const override { return "image/vnd-ms.dds"; }
    kxStringRef getExtension() const override { return "dds"; }
    bool isCommon() const override { return false; }
    bool claims(const uint8_t* bytes, size_t byteCount) const override;
    bool readHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header, std::string& fault) const override;
    bool decode(const uint8_t* bytes, size_t byteCount, kxImage& image, std::string& fault) const override;
    Fit getFit(kxImage& image) const override;
    kxSmartPointer<kxMemoryBlock> encode(kxImage& image, std::string& fault) const override;
};

} // namespace Kel::Interop
