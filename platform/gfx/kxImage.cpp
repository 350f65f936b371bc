#include "platform/gfx/kxImage.h"

#include "platform/core/kxReport.h"
#include "platform/gfx/kxImageCodec.h"
#include "platform/gfx/kxPixelBands.h"
#include "platform/gfx/kxPixelRows.h"
#include "platform/utils/kxIntHistogram.h"

#include <algorithm>
#include <cstring>

namespace Kel::Gfx
{

KX_IMPLEMENT(kxImage)
KX_IMPLEMENT(kxImageList)

void kxImage::listFields(kxFields<kxImage>& fields)
{
    fields.add(&kxImage::_name, "_name", "name of the image, often its file name");
    fields.add(&kxImage::_uri, "_uri",
               "path of the image's own file relative to the scene, null for an image inside the scene's file");
    fields.add(&kxImage::_mimeType, "_mimeType", "media type of the encoded bytes");
    fields.add(&kxImage::_encoded, "_encoded", "bytes of the image's file, null when the pixels have changed");
    fields.add(&kxImage::_width, "_width", "width in pixels, 0 until decoded");
    fields.add(&kxImage::_height, "_height", "height in pixels, 0 until decoded");
    fields.add(&kxImage::_format, "_format", "format of the pixels");
    fields.add(&kxImage::_order, "_order", "order of a pixel's components");
    fields.add(&kxImage::_pixels, "_pixels", "pixel rows from the top, null until decoded");
    fields.add(&kxImage::_clut, "_clut", "palette of an indexed image");
    fields.add(&kxImage::_userData, "_userData", "what a file says beyond these fields");
    fields.add(&kxImage::_quality, "_quality", "quality from 1 to 100 of the lossy file it came in, 0 for none");
    fields.add(&kxImage::_subsampling, "_subsampling",
               "how a lossy file thins out colours: 10 times the factor across plus the factor down, 0 for none");
    fields.add(&kxImage::_gamma, "_gamma", "gamma that the file gives, in 1/100000, 0 for none");
    fields.add(&kxImage::_colorProfile, "_colorProfile", "colour profile that the file carries");
    fields.add(&kxImage::_srgbIntent, "_srgbIntent",
               "rendering intent of a file that calls its colours sRGB, plus 1; 0 for none");
    fields.add(&kxImage::_chromaticities, "_chromaticities",
               "x and y of white, red, green and blue that the file gives, in 1/100000, each of 32 bits");
    fields.add(&kxImage::_orientation, "_orientation",
               "how the file asks viewers to turn the picture, 1 to 8 as cameras note it, 0 for not at all");
}

bool kxImage::userCheckLoaded(std::string& fault) const
{
    if (!findTextureFormat(_format))
        fault = kxFormat("image of the unknown format %d", static_cast<int>(_format));
    else if (_pixels && (_width == 0 || _height == 0 || uint64_t(_width) * _height > kMaxPixelCount))
        fault = kxFormat("image of %u x %u pixels", _width, _height);
    else if (_pixels && _pixels->getSize() < getTextureByteSize(_format, _width, _height))
        fault = kxFormat("image of %u x %u pixels in %zu bytes", _width, _height, _pixels->getSize());
    else if (_pixels && isIndexed(_format) && !_clut)
        fault = "indexed image without a palette";
    else
        return true;
    return false;
}

// What the image is

uint32_t kxImage::getWidth()
{
    return ensureHeader() ? _width : 0;
}

uint32_t kxImage::getHeight()
{
    return ensureHeader() ? _height : 0;
}

KX_GFX_TEXTURE_FORMAT kxImage::getFormat()
{
    ensureHeader();
    return _format;
}

uint64_t kxImage::getByteSize()
{
    return ensureHeader() ? getTextureByteSize(_format, _width, _height) : 0;
}

uint32_t kxImage::getTotalBitsPerPixel()
{
    const kxTextureFormatInfo* info = findTextureFormat(getFormat());
    return info ? info->bitsPerPixel : 0;
}

uint32_t kxImage::getBytesPerPixel()
{
    return getTotalBitsPerPixel() / 8;
}

uint32_t kxImage::getAlphaBits()
{
    const kxTextureFormatInfo* info = findTextureFormat(getFormat());
    if (info && info->isIndexed())
        return ensurePixels() && _clut && _clut->hasAlpha() ? 8 : 0;
    return info ? info->alpha.bits : 0;
}

// What a format is

void kxImage::estimateBitDepths(KX_GFX_TEXTURE_FORMAT format, uint32_t bits[6])
{
    std::fill(bits, bits + 6, 0u);
    if (const kxTextureFormatInfo* info = findTextureFormat(format))
    {
        const uint32_t depths[6] = {info->red.bits,   info->green.bits,     info->blue.bits,
                                    info->alpha.bits, info->luminance.bits, info->otherBits};
        std::copy(depths, depths + 6, bits);
    }
}

bool kxImage::isIndexed(KX_GFX_TEXTURE_FORMAT format)
{
    const kxTextureFormatInfo* info = findTextureFormat(format);
    return info && info->isIndexed();
}

bool kxImage::hasAlpha(KX_GFX_TEXTURE_FORMAT format)
{
    const kxTextureFormatInfo* info = findTextureFormat(format);
    return info && info->hasAlpha();
}

bool kxImage::isPacked(KX_GFX_TEXTURE_FORMAT format)
{
    const kxTextureFormatInfo* info = findTextureFormat(format);
    return info && info->isPacked();
}

// Pixels

void kxImage::reportFault(const std::string& fault)
{
    m_isBroken = true;
    const kxStringRef name = getFileName();
    kxReport::error("image %s: %s", name.isEmpty() ? "without a name" : name.c_str(), fault.c_str());
}

bool kxImage::ensureHeader()
{
    if (_pixels || (_width && _height && !m_isBroken))
        return true;
    if (!_encoded || m_isBroken)
        return false;
    kxImageHeader header;
    std::string fault = "a kind of image file that no codec reads";
    const kxImageCodec* codec = kxImageCodec::find(_encoded->getData(), _encoded->getSize());
    if (!codec || !codec->readCheckedHeader(_encoded->getData(), _encoded->getSize(), header, fault))
    {
        reportFault(fault);
        return false;
    }
    _width = header.width;
    _height = header.height;
    _format = header.format;
    return true;
}

bool kxImage::ensurePixels()
{
    if (_pixels)
        return true;
    if (!_encoded || m_isBroken)
        return false;
    kxImageHeader header;
    std::string fault = "a kind of image file that no codec reads";
    const kxImageCodec* codec = kxImageCodec::find(_encoded->getData(), _encoded->getSize());
    // Decoded beside this image: what a broken file leaves half done goes with it.
    auto decoded = kxNew<kxImage>();
    if (!codec || !codec->readCheckedHeader(_encoded->getData(), _encoded->getSize(), header, fault) ||
        !codec->decode(_encoded->getData(), _encoded->getSize(), *decoded, fault))
    {
        _width = 0;
        _height = 0;
        reportFault(fault);
        return false;
    }
    _width = decoded->_width;
    _height = decoded->_height;
    _format = decoded->_format;
    _pixels = decoded->_pixels;
    _clut = decoded->_clut;
    _quality = decoded->_quality;
    _subsampling = decoded->_subsampling;
    _gamma = decoded->_gamma;
    _colorProfile = decoded->_colorProfile;
    _srgbIntent = decoded->_srgbIntent;
    _chromaticities = decoded->_chromaticities;
    _orientation = decoded->_orientation;
    if (_mimeType.isEmpty())
        _mimeType = codec->getMimeType();
    return true;
}

const uint8_t* kxImage::getPixels()
{
    return ensurePixels() ? _pixels->getData() : nullptr;
}

uint8_t* kxImage::getWritablePixels()
{
    if (!ensurePixels())
        return nullptr;
    _encoded = nullptr;
    // Who else holds the pixels wants them as they are.
    if (_pixels->getRefCount() > 1)
        _pixels = kxMemoryBlock::copyOf(_pixels->getData(), _pixels->getSize());
    return _pixels->getWritableData();
}

bool kxImage::setSize(uint32_t width, uint32_t height, KX_GFX_TEXTURE_FORMAT format)
{
    const uint64_t byteSize = getTextureByteSize(format, width, height);
    if (byteSize == 0 || uint64_t(width) * height > kMaxPixelCount)
        return false;
    _encoded = nullptr;
    m_isBroken = false;
    _width = width;
    _height = height;
    _format = format;
    _pixels = kxMemoryBlock::create(byteSize);
    std::memset(_pixels->getWritableData(), 0, byteSize);
    if (!isIndexed(format))
        _clut = nullptr;
    return true;
}

void kxImage::copyFrom(const kxImage* source)
{
    if (source == this)
        return;
    copyFieldsFrom(source);
    m_isBroken = source->m_isBroken;
    if (_pixels)
        _pixels = kxMemoryBlock::copyOf(_pixels->getData(), _pixels->getSize());
    if (_clut)
        _clut = _clut->clone();
}

namespace
{

/// The colours of an image's indices, whatever indices its pixels hold.
struct Palette
{
    explicit Palette(const kxClut* clut)
    {
        if (clut)
            clut->fillTable(colors);
        else
            std::fill(colors, colors + 256, 0xff000000u);
    }
    uint32_t colors[256];
};

} // namespace

bool kxImage::forEachRgbaRow(const std::function<void(uint32_t, const uint8_t*)>& callback)
{
    if (!ensurePixels())
        return false;
    const Palette palette(_clut);
    kxBandReader reader(*findTextureFormat(_format), _pixels->getData(), _width, palette.colors);
    for (uint32_t y = 0; y < _height; ++y)
        callback(y, reader.getRow(y));
    return true;
}

// Conversions

bool kxImage::canConvert(KX_GFX_TEXTURE_FORMAT format)
{
    const kxTextureFormatInfo* target = findTextureFormat(format);
    const kxTextureFormatInfo* source = findTextureFormat(getFormat());
    if (!target || !source || !ensureHeader())
        return false;
    if (source == target)
        return true;
    if (target->isIndexed())
        return source->isIndexed() &&
               (target->bitsPerPixel > source->bitsPerPixel || (ensurePixels() && _clut && _clut->_entryCount <= 16));
    if (target->kind == kxTextureFormatInfo::BLOCKS)
        return source->format == rgba_8888_32;
    const bool isTargetAlphaOnly = !target->hasColor() && !target->luminance.bits;
    const bool isSourceAlphaOnly = !source->isIndexed() && !source->hasColor() && !source->luminance.bits;
    if (isTargetAlphaOnly && !source->isIndexed())
        return source->hasAlpha();
    return !isSourceAlphaOnly || target->hasAlpha();
}

namespace
{

/// Indices of 8 or 4 bits into indices of 8 or 4 bits.
void convertIndices(const uint8_t* source, uint8_t* target, uint32_t width, uint32_t height, bool isWidening)
{
    const size_t narrowRow = (size_t(width) + 1) / 2;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
        {
            if (isWidening)
                target[size_t(y) * width + x] = source[y * narrowRow + x / 2] >> (x % 2 ? 0 : 4) & 15;
            else
                target[y * narrowRow + x / 2] |=
                    static_cast<uint8_t>((source[size_t(y) * width + x] & 15) << (x % 2 ? 0 : 4));
        }
}

template <size_t BytesPerPixel>
void pickPixels(const uint8_t* source, uint8_t* target, const std::vector<uint32_t>& columns)
{
    for (size_t x = 0; x < columns.size(); ++x)
        std::memcpy(target + x * BytesPerPixel, source + size_t(columns[x]) * BytesPerPixel, BytesPerPixel);
}

/// For each place at the new size the old place whose middle is nearest.
std::vector<uint32_t> nearestPlaces(uint32_t oldSize, uint32_t newSize)
{
    std::vector<uint32_t> places(newSize);
    for (uint64_t i = 0; i < newSize; ++i)
        places[i] = static_cast<uint32_t>((2 * i + 1) * oldSize / (2 * uint64_t(newSize)));
    return places;
}

} // namespace

bool kxImage::convert(KX_GFX_TEXTURE_FORMAT format, kxImage* source)
{
    if (!source->canConvert(format) || !source->ensurePixels())
        return false;
    const KX_GFX_TEXTURE_FORMAT oldFormat = source->_format;
    if (source == this && oldFormat == format)
        return true;
    const uint32_t width = source->_width, height = source->_height;
    auto pixels = kxMemoryBlock::create(getTextureByteSize(format, width, height));
    uint8_t* target = pixels->getWritableData();
    if (const kxRowFunction convertRow = getShortRow(oldFormat, format);
        convertRow && !findTextureFormat(oldFormat)->isTiled() && !findTextureFormat(format)->isTiled())
        convertRow(source->_pixels->getData(), target, size_t(width) * height);
    else if (oldFormat == format)
        std::memcpy(target, source->_pixels->getData(), pixels->getSize());
    else if (isIndexed(format))
    {
        std::memset(target, 0, pixels->getSize());
        convertIndices(source->_pixels->getData(), target, width, height, format == x_8);
    }
    else
    {
        const Palette palette(source->_clut);
        kxBandReader reader(*findTextureFormat(oldFormat), source->_pixels->getData(), width, palette.colors);
        kxBandWriter writer(*findTextureFormat(format), target, width, height);
        for (uint32_t y = 0; y < height; ++y)
            if (format == rgba_8888_32)
                reader.readRow(y, target + size_t(y) * width * 4);
            else
                writer.putRow(reader.getRow(y));
    }
    if (isIndexed(format) && source != this)
        _clut = source->_clut->clone();
    else if (!isIndexed(format))
        _clut = nullptr;
    _encoded = nullptr;
    m_isBroken = false;
    _width = width;
    _height = height;
    _format = format;
    _pixels = pixels;
    return true;
}

bool kxImage::unpack(kxImage* source)
{
    const kxTextureFormatInfo* info = findTextureFormat(source->getFormat());
    return info && convert(info->unpacked, source);
}

bool kxImage::resize(kxImage* source, uint32_t width, uint32_t height)
{
    if (!source->ensurePixels() || width == 0 || height == 0 || uint64_t(width) * height > kMaxPixelCount)
        return false;
    const kxTextureFormatInfo& info = *findTextureFormat(source->_format);
    if (info.tileHeight > 1)
    {
        auto unpacked = kxNew<kxImage>();
        auto resized = kxNew<kxImage>();
        return unpacked->convert(rgba_8888_32, source) && resized->resize(unpacked, width, height) &&
               convert(info.format, resized);
    }
    const uint32_t oldWidth = source->_width, oldHeight = source->_height;
    const kxSmartPointer<kxMemoryBlock> oldPixels = source->_pixels;
    const kxSmartPointer<kxClut> clut = source->_clut;
    const std::vector<uint32_t> columns = nearestPlaces(oldWidth, width), rows = nearestPlaces(oldHeight, height);
    setSize(width, height, info.format);
    _clut = clut && source != this ? clut->clone() : clut;
    const size_t oldStride = getTextureByteSize(info.format, oldWidth, 1);
    const size_t stride = getTextureByteSize(info.format, width, 1);
    uint8_t* target = _pixels->getWritableData();
    for (uint32_t y = 0; y < height; ++y, target += stride)
    {
        const uint8_t* row = oldPixels->getData() + rows[y] * oldStride;
        switch (info.bitsPerPixel)
        {
        case 8: pickPixels<1>(row, target, columns); break;
        case 16: pickPixels<2>(row, target, columns); break;
        case 24: pickPixels<3>(row, target, columns); break;
        case 32: pickPixels<4>(row, target, columns); break;
        default: // pairs of indices
            for (uint32_t x = 0; x < width; ++x)
                target[x / 2] |=
                    static_cast<uint8_t>((row[columns[x] / 2] >> (columns[x] % 2 ? 0 : 4) & 15) << (x % 2 ? 0 : 4));
        }
    }
    return true;
}

bool kxImage::extractComponent(kxImage* source, uint32_t component)
{
    if (component > 3 || !source->ensurePixels())
        return false;
    const uint32_t width = source->_width, height = source->_height;
    auto pixels = kxMemoryBlock::create(size_t(width) * height);
    uint8_t* target = pixels->getWritableData();
    source->forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            for (uint32_t x = 0; x < width; ++x)
                target[x] = row[4 * x + component];
            target += width;
        });
    _encoded = nullptr;
    m_isBroken = false;
    _clut = nullptr;
    _width = width;
    _height = height;
    _format = l_8;
    _pixels = pixels;
    return true;
}

bool kxImage::computeHistogram(uint32_t component, Utils::kxIntHistogram& histogram)
{
    if (component > 3)
        return false;
    uint64_t counts[256] = {};
    const bool hasCounted = forEachRgbaRow(
        [&](uint32_t, const uint8_t* row)
        {
            for (uint32_t x = 0; x < _width; ++x)
                ++counts[row[4 * x + component]];
        });
    for (int32_t value = 0; value < 256; ++value)
        if (counts[value])
            histogram.add(value, counts[value]);
    return hasCounted;
}

} // namespace Kel::Gfx
