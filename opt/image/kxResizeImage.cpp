#include "opt/image/kxResizeImage.h"

#include "opt/framework/kxOptInterface.h"

#include <algorithm>
#include <bit>

namespace Kel::Opt
{

KX_IMPLEMENT(kxResizeImage)

const char kxResizeImage::widthHeightToken[] = "widthHeightFactor";

const kxMetaEnum& kxMetaEnumOf(FilterType)
{
    static const kxMetaEnum metaEnum("FilterType", {{"BOX", BOX},
                                                    {"TRIANGLE", TRIANGLE},
                                                    {"BELL", BELL},
                                                    {"BSPLINE", BSPLINE},
                                                    {"LANCZOS3", LANCZOS3},
                                                    {"MITCHELL", MITCHELL},
                                                    {"GAUSSIAN", GAUSSIAN},
                                                    {"NEAREST", NEAREST}});
    return metaEnum;
}

void kxResizeImage::listFields(kxFields<kxResizeImage>& fields)
{
    fields.add(&kxResizeImage::_widthFactor, "_widthFactor", "new width for each pixel of the old one");
    fields.add(&kxResizeImage::_heightFactor, "_heightFactor", "new height for each pixel of the old one");
    fields.add(&kxResizeImage::_minHeight, "_minHeight", "smallest height, 0 for none; never enlarges an image");
    fields.add(&kxResizeImage::_minWidth, "_minWidth", "smallest width, 0 for none; never enlarges an image");
    fields.add(&kxResizeImage::_maxHeight, "_maxHeight", "largest height, 0 or less for none");
    fields.add(&kxResizeImage::_maxWidth, "_maxWidth", "largest width, 0 or less for none");
    fields.add(&kxResizeImage::_resizeMipmap, "_resizeMipmap", "resize mipmapped textures as well");
    fields.add(&kxResizeImage::_useNextPowerOfTwo, "_useNextPowerOfTwo", "raise the new sides to powers of two");
    fields.add(&kxResizeImage::_filterType, "_filterType", "reconstruction filter");
}

kxResizeImage::kxResizeImage()
{
    _visitedMetaObject = kxTextureAttr::staticMetaObject();
}

kxMetaObject* kxResizeImage::getVisitedObjectMeta()
{
    return kxTextureAttr::staticMetaObject();
}

bool kxResizeImage::configure(int section)
{
    float factor = 0;
    if (_registry && _registry->getValue(section, widthHeightToken, factor) && factor > 0)
    {
        _widthFactor = factor;
        _heightFactor = factor;
    }
    return true;
}

// A run that was cancelled ends without `postVisit`; what it left behind is forgotten here.
bool kxResizeImage::applyInfo(kxInfo* info)
{
    m_done.clear();
    m_uses.clear();
    m_uses.collect(info);
    return kxOptVisitObject::applyInfo(info);
}

bool kxResizeImage::apply(kxSmartPointer<kxNode>& root)
{
    m_done.clear();
    m_uses.clear();
    m_uses.collect(root);
    return kxOptVisitObject::apply(root);
}

bool kxResizeImage::applyToInfos()
{
    m_done.clear();
    m_uses.clear();
    if (_optInterface && _optInterface->getInfos())
        for (kxInfo* info : *_optInterface->getInfos())
            m_uses.collect(info);
    return kxOptVisitObject::applyToInfos();
}

void kxResizeImage::visitor(kxObject* object)
{
    auto* texture = kxCast<kxTextureAttr>(object);
    if (!texture || !texture->getFirstImage())
        return;
    if (texture->isMipmapped() && !_resizeMipmap)
        return refuse("mipmapped", texture);
    // The images behind the first show the same picture to readers that know their kinds of files: they go with it.
    for (kxImage* image : *texture->_imageList)
        if (image && m_done.insert(image).second)
            scaleAs(*image, m_uses.meaningOf(*image, kxZoomMeaning::COLORS));
}

void kxResizeImage::postVisit()
{
    m_uses.clear();
    m_done.clear();
}

// Resizing

kxSmartPointer<kxStdFilterFun> kxResizeImage::createFilter() const
{
    switch (_filterType)
    {
    case BOX: return kxNew<kxBoxFilterFun>();
    case TRIANGLE: return kxNew<kxTriangleFilterFun>();
    case BELL: return kxNew<kxBellFilterFun>();
    case BSPLINE: return kxNew<kxBSplineFilterFun>();
    case LANCZOS3: return kxNew<kxLanczos3FilterFun>();
    case MITCHELL: return kxNew<kxMitchellFilterFun>();
    case NEAREST: return nullptr;
    default: return kxNew<kxGaussianFilterFun>(0.8);
    }
}

namespace
{

uint32_t scaledSide(uint32_t side, float factor, int32_t largest, uint32_t smallest)
{
    const float product = static_cast<float>(side) * factor;
    uint32_t scaled = product > 0 ? static_cast<uint32_t>(std::min(product, 2147483520.0f)) : 0;
    if (largest > 0 && static_cast<uint32_t>(largest) < scaled)
        scaled = static_cast<uint32_t>(largest);
    if (smallest != 0)
    {
        scaled = std::max(scaled, smallest);
        if (side < smallest)
            scaled = side;
    }
    return scaled;
}

} // namespace

void kxResizeImage::scale(kxImage* image)
{
    if (image)
        scaleAs(*image, kxZoomMeaning::COLORS);
}

void kxResizeImage::scaleAs(kxImage& image, kxZoomMeaning meaning)
{
    const uint32_t oldWidth = image.getWidth(), oldHeight = image.getHeight();
    if (oldWidth == 0 || oldHeight == 0)
        return refuse("unreadable image", &image);
    uint32_t width = scaledSide(oldWidth, _widthFactor, _maxWidth, _minWidth);
    uint32_t height = scaledSide(oldHeight, _heightFactor, _maxHeight, _minHeight);
    const uint32_t powerWidth = std::bit_ceil(width), powerHeight = std::bit_ceil(height);
    if (_useNextPowerOfTwo)
    {
        width = powerWidth;
        height = powerHeight;
    }
    else if (width != powerWidth || height != powerHeight)
        printf("the new size of the image %s is not power of two (%d %d)\n", image.getFileName().c_str(),
               static_cast<int>(width), static_cast<int>(height));
    if (width == oldWidth && height == oldHeight)
        return;
    if (!image.ensurePixels())
        return refuse("unreadable image", &image);
    auto zoom = kxNew<kxZoomImage>();
    auto destination = kxNew<kxImage>();
    if (!destination->resize(&image, width, height))
        return refuse("a size of 0 or beyond the limit", &image);
    zoom->setSource(&image);
    zoom->setDestination(destination);
    zoom->setMeaning(meaning);
    if (const kxSmartPointer<kxStdFilterFun> filter = createFilter())
    {
        zoom->setFilter(filter);
        zoom->zoom();
    }
    const auto oldBytes = static_cast<int64_t>(image.getByteSize());
    image.convert(destination->getFormat(), destination);
    count("images resized");
    count("bytes of pixels saved", oldBytes - static_cast<int64_t>(image.getByteSize()));
}

} // namespace Kel::Opt
