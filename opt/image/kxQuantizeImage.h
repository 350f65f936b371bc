// Palettes for images.
#pragma once

#include "opt/image/kxImageHistogram.h"

namespace Kel::Opt
{

/// How far a quantizer has come.
enum kxQuantizeImagePhaseEnum : int32_t
{
    eInit = 0,
    eComputePalette = 1,
    eInverseColormap = 2,
    eFinished = 3
};
const kxMetaEnum& kxMetaEnumOf(kxQuantizeImagePhaseEnum);

/// Reduces one image to a palette: a median cut over a colour histogram makes the palette, of which black and white are
/// always part, and every pixel gets the index of the nearest colour. An image of one or two different alphas gets a palette
/// of the alphas 0 (for those below 128) and 255. The same image gives the same bytes in every run.
class kxQuantizeImage : public kxObject
{
    KX_OBJECT(kxQuantizeImage, kxObject)
    static void listFields(kxFields<kxQuantizeImage>& fields);

    kxSmartPointer<kxCBBoxList> _bboxList = kxNew<kxCBBoxList>();
    kxSmartPointer<kxImageHistogramBase> _histogram;
    kxQuantizeImagePhaseEnum _phase = eInit;
    kxSmartPointer<kxMemoryBlock> _errorLimit;

    /// Replaces an image of rgba_8888_32, rgb_888_24 or la_88_16 by indices, of 4 bits for the format x_4 and else of 8.
    ///
    /// With `isExact` every pixel gets the nearest colour and the errors are measured, over the bytes of the source's format:
    /// root of the mean square, and largest difference. Without it all pixels of a histogram cell get the colour nearest to
    /// the cell's middle, and the errors stay 0. Returns the number of colours; 0 or less when there is no palette, -1 when
    /// the image could not be mapped, and the image is unchanged then. Cost: a few nanoseconds a pixel.
    int quantize(kxImage& image, KX_GFX_TEXTURE_FORMAT format, bool isExact, float& l2Error, float& lInfinityError);

private:
    uint32_t cutBoxes(std::span<const kxSmartPointer<kxImage>> images, uint32_t targetCount);
    uint32_t makePalette(uint8_t* entries) const;
    bool mapExactly(kxImage& image, kxImage& indexed, float& l2Error, float& lInfinityError) const;
    bool mapByCells(kxImage& image, kxImage& indexed) const;
};

} // namespace Kel::Opt
