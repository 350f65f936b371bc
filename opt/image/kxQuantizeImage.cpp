#include "opt/image/kxQuantizeImage.h"

#include "platform/gfx/kxNearestColor.h"

#include <cmath>
#include <cstring>

namespace Kel::Opt
{

KX_IMPLEMENT(kxQuantizeImage)

const kxMetaEnum& kxMetaEnumOf(kxQuantizeImagePhaseEnum)
{
    static const kxMetaEnum metaEnum("kxQuantizeImagePhaseEnum", {{"eInit", eInit},
                                                                  {"eComputePalette", eComputePalette},
                                                                  {"eInverseColormap", eInverseColormap},
                                                                  {"eFinished", eFinished}});
    return metaEnum;
}

void kxQuantizeImage::listFields(kxFields<kxQuantizeImage>& fields)
{
    fields.add(&kxQuantizeImage::_bboxList, "_bboxList", "the colour boxes, sorted by the current key");
    fields.add(&kxQuantizeImage::_histogram, "_histogram", "histogram of the image");
    fields.add(&kxQuantizeImage::_phase, "_phase", "how far the work has come");
    fields.add(&kxQuantizeImage::_errorLimit, "_errorLimit",
               "error limits for each component, 32-bit numbers; kept for tools, nothing reads them");
}

namespace
{

bool hasFewerPixels(const kxCBBox& a, const kxCBBox& b)
{
    return a._colorCount < b._colorCount;
}

bool isSmaller(const kxCBBox& a, const kxCBBox& b)
{
    return a._volume < b._volume;
}

kxSmartPointer<kxImageHistogramBase> makeHistogram(KX_GFX_TEXTURE_FORMAT format)
{
    switch (format)
    {
    case rgba_8888_32: return kxNew<kxImageHistogram_RGBA>();
    case rgb_888_24: return kxNew<kxImageHistogram_RGB>();
    case la_88_16: return kxNew<kxImageHistogram_LA>();
    default: return nullptr;
    }
}

} // namespace

uint32_t kxQuantizeImage::cutBoxes(std::span<const kxSmartPointer<kxImage>> images, uint32_t targetCount)
{
    kxCBBoxList& boxes = *_bboxList;
    _histogram->build(images);
    _phase = eComputePalette;
    boxes.clear();
    boxes.reserve(targetCount);
    auto whole = kxNew<kxCBBox>();
    _histogram->initializeBox(*whole);
    _histogram->shrinkBox(*whole);
    boxes.append(whole);
    _phase = eInverseColormap;

    kxCBBoxList::Less less = hasFewerPixels;
    while (boxes.getCount() < targetCount)
    {
        // The largest box that can be cut at all: a single cell stays as it is, however many pixels it holds.
        uint32_t at = boxes.getCount();
        while (at > 0 && boxes.get(at - 1)->_volume == 0)
            --at;
        if (at == 0 || boxes.get(at - 1)->_colorCount < 2)
            break;
        const kxSmartPointer<kxCBBox> lower(boxes.get(at - 1));
        auto upper = kxNew<kxCBBox>();
        _histogram->splitBox(*lower, *upper);
        _histogram->shrinkBox(*lower);
        _histogram->shrinkBox(*upper);
        boxes.removeAt(at - 1);
        boxes.insertSorted(lower, less);
        if (!upper->isEmpty())
            boxes.insertSorted(upper, less);
        // The first half by population, so that common colours are told apart; the second by size, so that rare ones are kept.
        if (2 * boxes.getCount() > targetCount && less == hasFewerPixels)
        {
            less = isSmaller;
            boxes.sort(less);
        }
    }
    for (uint32_t i = boxes.getCount(); i-- > 0;)
        if (boxes.get(i)->isEmpty())
            boxes.removeAt(i);
    return boxes.getCount();
}

uint32_t kxQuantizeImage::makePalette(uint8_t* entries) const
{
    std::memset(entries, 0, 4);
    std::memset(entries + 4, 255, 4);
    uint32_t count = 2;
    for (uint32_t i = _bboxList->getCount(); i-- > 0;)
    {
        uint8_t* entry = entries + 4 * count;
        std::memset(entry, 255, 4);
        _histogram->computeMean(*_bboxList->get(i), entry);
        // Only components count: the alpha of an image that has none is not black's.
        uint32_t color;
        std::memcpy(&color, entry, 4);
        color &= _histogram->getComponentMask();
        count += color != 0 && color != _histogram->getComponentMask();
    }
    return count;
}

int kxQuantizeImage::quantize(kxImage& image, KX_GFX_TEXTURE_FORMAT format, bool isExact, float& l2Error,
                              float& lInfinityError)
{
    l2Error = 0;
    lInfinityError = 0;
    _phase = eInit;
    const uint32_t limit = format == x_4 ? 16 : 256;
    _histogram = image.ensurePixels() ? makeHistogram(image.getFormat()) : nullptr;
    if (!_histogram)
        return 0;
    const kxSmartPointer<kxImage> images[] = {kxSmartPointer<kxImage>(&image)};
    if (cutBoxes(images, limit - 2) == 0)
        return 0;
    uint8_t entries[(256 + 1) * 4]; // one to try the last colour in
    const uint32_t colorCount = makePalette(entries);

    auto indexed = kxNew<kxImage>();
    indexed->setSize(image.getWidth(), image.getHeight(), x_8);
    indexed->_order = image._order;
    indexed->_clut = kxClut::create(entries, colorCount);
    // The reserved black has an alpha of 0; in an image without alpha it is as opaque as the others.
    indexed->_clut->_isOpaque = !kxImage::hasAlpha(image.getFormat());
    if (isExact ? !mapExactly(image, *indexed, l2Error, lInfinityError) : !mapByCells(image, *indexed))
        return -1;
    image.convert(x_8, indexed);
    if (format == x_4)
        image.convert(x_4, &image);
    return static_cast<int>(colorCount);
}

bool kxQuantizeImage::mapExactly(kxImage& image, kxImage& indexed, float& l2Error, float& lInfinityError) const
{
    kxNearestColor nearest(indexed._clut->getEntries(), indexed._clut->_entryCount, _histogram->getComponentMask());
    const uint32_t width = image.getWidth();
    uint8_t* indices = indexed.getWritablePixels();
    uint64_t squares = 0;
    uint32_t largest = 0;
    const bool isRead = image.forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            squares += nearest.mapRow(reinterpret_cast<const uint32_t*>(row), indices, width, largest);
            indices += width;
        });
    const double values = double(width) * image.getHeight() * _histogram->getComponentCount();
    l2Error = static_cast<float>(std::sqrt(static_cast<double>(squares) / values));
    lInfinityError = static_cast<float>(largest);
    return isRead;
}

bool kxQuantizeImage::mapByCells(kxImage& image, kxImage& indexed) const
{
    kxNearestColor nearest(indexed._clut->getEntries(), indexed._clut->_entryCount, _histogram->getComponentMask());
    // Every component goes to the middle of its cell.
    uint32_t kept = 0, middle = 0;
    for (uint32_t c = 0, count = _histogram->getComponentCount(); c < count; ++c)
    {
        const uint32_t byte = count == 2 && c == 1 ? 3 : c, shift = _histogram->getComponent(c).shift();
        kept |= (255u >> shift << shift) << 8 * byte;
        middle |= ((1u << shift) >> 1) << 8 * byte;
    }
    const uint32_t width = image.getWidth();
    uint8_t* indices = indexed.getWritablePixels();
    std::vector<uint32_t> colors(width);
    uint32_t largest = 0;
    return image.forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            std::memcpy(colors.data(), row, size_t(width) * 4);
            for (uint32_t& color : colors)
                color = (color & kept) | middle;
            nearest.mapRow(colors.data(), indices, width, largest);
            indices += width;
        });
}

} // namespace Kel::Opt
