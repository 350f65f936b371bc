#include "opt/image/kxConvertImage.h"

#include "opt/framework/kxNumberText.h"
#include "opt/image/kxQuantizeImage.h"
#include "platform/gfx/kxImageUtils.h"
#include "platform/utils/kxIntHistogram.h"

#include <algorithm>
#include <cstdio>

namespace Kel::Opt
{

KX_IMPLEMENT(kxConvertImage)

const char kxConvertImage::formatToken[] = "format";
const char kxConvertImage::orderToken[] = "order";
const char kxConvertImage::preserveAlphaToken[] = "preserveAlpha";
const char kxConvertImage::imageListFilenameToken[] = "imageListFilename";
const char kxConvertImage::isExcludeToken[] = "isExclude";
const char kxConvertImage::palettizationThresholdToken[] = "palettizationThreshold";

namespace
{

struct FormatName
{
    const char* name;
    int32_t format;
};
/// The names that scripts use. rgba_4444_16 stands twice: tools that list the names show 23 of them.
const FormatName kFormatNames[] = {
    {"l_8", l_8},
    {"a_8", a_8},
    {"la_44_8", la_44_8},
    {"la_88_16", la_88_16},
    {"rgb_332_8", rgb_332_8},
    {"rgb_888_24", rgb_888_24},
    {"rgba_2222_8", rgba_2222_8},
    {"rgba_4444_16", rgba_4444_16},
    {"rgba_8888_32", rgba_8888_32},
    {"rgba_5551_16", rgba_5551_16},
    {"rgba_4444_16", rgba_4444_16},
    {"rgb_565_16", rgb_565_16},
    {"rgba_3328_16", rgba_3328_16},
    {"rgba_5553_16", rgba_5553_16},
    {"tiled_rgba_5553_16_gamecube", tiled_rgba_5553_16_gamecube},
    {"tiled_rgb_565_16_gamecube", tiled_rgb_565_16_gamecube},
    {"tiled_l_8_gamecube", tiled_l_8_gamecube},
    {"tiled_la_88_16_gamecube", tiled_la_88_16_gamecube},
    {"tiled_la_44_8_gamecube", tiled_la_44_8_gamecube},
    {"x_8", x_8},
    {"x_4", x_4},
    {"dxt1", dxt1},
    {"dxt3", dxt3},
};

kxSmartPointer<kxStringObj> lowerCaseOf(kxStringRef text)
{
    auto lower = kxNew<kxStringObj>(text.view());
    lower->toLower();
    return lower;
}

} // namespace

int32_t parseTextureFormat(kxStringRef name)
{
    const auto lower = lowerCaseOf(name);
    for (const FormatName& entry : kFormatNames)
        if (lower->getString().view() == entry.name)
            return entry.format;
    // Not through the log: hosts that run silently still see why a script is refused.
    std::printf("Format %s not recognized\n", name.c_str());
    return -1;
}

void kxConvertImage::listFields(kxFields<kxConvertImage>& fields)
{
    fields.add(&kxConvertImage::_format, "_format", "format to convert to");
    fields.add(&kxConvertImage::_order, "_order", "order of the components; recorded, the conversion does not need it");
    fields.add(&kxConvertImage::_preserveAlpha, "_preserveAlpha",
               "leave images alone whose alphas the format cannot hold");
    fields.add(&kxConvertImage::_targetAlphaBits, "_targetAlphaBits",
               "bits of alpha that the format keeps; found from the format when alpha is preserved");
    fields.add(&kxConvertImage::_imageList, "_imageList", "names of image files, without folders");
    fields.add(&kxConvertImage::_isExclude, "_isExclude",
               "true: the listed images are left alone; false: only they are converted");
    fields.add(&kxConvertImage::_totalSizeSavings, "_totalSizeSavings",
               "bytes of pixels saved so far; stops at what 31 bits hold");
    fields.add(&kxConvertImage::_imageListFilename, "_imageListFilename", "text file with the names for the list");
    fields.add(&kxConvertImage::_palettizationThreshold, "_palettizationThreshold",
               "largest root mean square error of a palette that is accepted, in steps of 255");
    fields.add(&kxConvertImage::_convertIfSmaller, "_convertIfSmaller",
               "leave images alone that take fewer bits a pixel than the format");
}

kxConvertImage::kxConvertImage()
{
    reset();
    _visitedMetaObject = getVisitedObjectMeta();
}

kxMetaObject* kxConvertImage::getVisitedObjectMeta()
{
    return kxImage::staticMetaObject();
}

void kxConvertImage::reset()
{
    _format = rgba_5551_16;
    _order = DEFAULT;
    _preserveAlpha = false;
    _targetAlphaBits = 0;
    _imageList->clear();
    _isExclude = true;
    _totalSizeSavings = 0;
    _imageListFilename->setString("");
    _palettizationThreshold = 100;
}

bool kxConvertImage::configure(int section)
{
    if (!_registry)
        return true;
    kxStringRef text;
    if (_registry->getValue(section, formatToken, text))
    {
        const int32_t format = parseTextureFormat(text);
        if (format < 0)
            return false;
        _format = static_cast<KX_GFX_TEXTURE_FORMAT>(format);
    }
    if (_registry->getValue(section, orderToken, text))
    {
        const std::string order = lowerCaseOf(text)->str();
        if (order == "default")
            _order = DEFAULT;
        else if (order == "dx")
            _order = DX;
        else if (order == "psx2")
            _order = PSX2;
        else
        {
            printf("order %s not recognized (DEFAULT, DX, PSX2)\n", text.c_str());
            return false;
        }
    }
    // Scripts that inherit sections rely on it: only "true" counts, nothing takes it back.
    if (_registry->getValue(section, preserveAlphaToken, text) && lowerCaseOf(text)->str() == "true")
        _preserveAlpha = true;
    if (_preserveAlpha)
    {
        const kxSmartPointer<kxImage> pixel(new (getCreationMemoryPool()) kxImage);
        pixel->setSize(1, 1, _format);
        _targetAlphaBits = pixel->getAlphaBits();
    }
    if (_registry->getValue(section, imageListFilenameToken, text) && !text.isEmpty())
    {
        _imageListFilename->setString(text);
        kxFile file;
        if (file.open(text.c_str(), kxFile::READ))
            parseImageListFile(file);
    }
    if (_registry->getValue(section, isExcludeToken, text))
    {
        const std::string mode = lowerCaseOf(text)->str();
        if (mode == "exclude")
            _isExclude = true;
        else if (mode == "include")
            _isExclude = false;
    }
    return true;
}

bool kxConvertImage::readsItself(kxStringRef key, std::string_view value) const
{
    const std::string word = lowerCaseOf(kxStringRef(value))->str();
    const auto isOneOf = [&](std::initializer_list<const char*> words)
    { return std::find(words.begin(), words.end(), word) != words.end(); };
    // Names spelt as the fields have them, and numbers, are set and echoed as fields. `configure` speaks of what is neither.
    int32_t number;
    const bool isNumber = looksLikeNumber(value);
    if (key.view() == formatToken)
        return !isNumber && !kxMetaEnumOf(_format).findValue(value, number);
    if (key.view() == orderToken)
        return !isNumber && !kxMetaEnumOf(_order).findValue(value, number);
    return key.view() == isExcludeToken && isOneOf({"exclude", "include"});
}

int kxConvertImage::parseImageListFile(kxFile& file)
{
    const int result = kxImageUtils::parseTextFile(file, *_imageList);
    for (kxStringObj* name : *_imageList)
        name->setString(kxImageUtils::getFileName(name->getString()));
    return result;
}

void kxConvertImage::visitor(kxObject* object)
{
    convertImage(kxCast<kxImage>(object), _format, _order);
}

void kxConvertImage::postVisit()
{
    reportStatistics();
    reset();
}

void kxConvertImage::reportStatistics()
{
    printf("total savings of image size = (%d)\n", _totalSizeSavings);
}

bool kxConvertImage::passesNameFilter(const kxImage& image)
{
    const kxStringRef path = image.getFileName();
    if (path.isEmpty())
    {
        if (_imageList->isEmpty() || _isExclude)
            return true;
        printf("Image not included in conversion because it has no name\n");
        return false;
    }
    // The name may say more or less than that of the file; lists are made from either.
    const kxStringRef name = kxImageUtils::getFileName(path), fileName = kxImageUtils::getFileName(image._uri);
    bool isListed = false;
    for (const kxStringObj* listed : *_imageList)
        isListed |= listed->getString() == name || (!fileName.isEmpty() && listed->getString() == fileName);
    if (isListed != _isExclude)
        return true;
    if (_isExclude)
        printf("Image (%s) excluded from conversion\n", path.c_str());
    else
        printf("Image (%s) not included in conversion\n", path.c_str());
    return false;
}

bool kxConvertImage::keepsAlpha(kxImage& image) const
{
    const uint32_t kept = _targetAlphaBits, stored = image.getAlphaBits();
    if (stored == 0 || stored <= kept)
        return true;
    auto alphas = kxNew<kxImage>();
    auto histogram = kxNew<Utils::kxIntHistogram>();
    histogram->initialize(0, 255, 256);
    if (!alphas->extractComponent(&image, 3) || !alphas->computeHistogram(0, *histogram))
        return false;
    if (kept == 0)
        return histogram->getSampleCount(255) == uint64_t(image.getWidth()) * image.getHeight();
    const auto topBits = [](uint32_t value, uint32_t bits) { return value & (255u << (8 - bits)) & 255; };
    for (uint32_t value = 0; value < histogram->getBinCount(); ++value)
    {
        if (histogram->getSampleCount(value) == 0)
            continue;
        uint32_t copy = topBits(value, kept), widened = copy;
        for (uint32_t bits = kept; bits < stored; bits += kept)
        {
            copy >>= kept;
            widened |= copy;
        }
        if (topBits(value, stored) != topBits(widened, stored))
            return false;
    }
    return true;
}

bool kxConvertImage::palettize(kxImage& image, KX_GFX_TEXTURE_FORMAT format)
{
    auto quantized = kxNew<kxImage>();
    quantized->copyFrom(&image);
    if (kxImage::isPacked(quantized->getFormat()))
        quantized->unpack(quantized);
    if (quantized->getFormat() == l_8)
        return false;
    auto quantizer = kxNew<kxQuantizeImage>();
    float l2Error = 0, lInfinityError = 0;
    const int colorCount = quantizer->quantize(*quantized, format, true, l2Error, lInfinityError);
    if (colorCount <= 0)
        return false;
    const bool isGood = static_cast<float>(_palettizationThreshold) >= l2Error;
    printf(isGood
               ? "palettization: paletteColorsCount (%d), l2Error = (%g). lInfinity error = (%d), image name (%s)\n"
               : "probable bad palettization: paletteColorsCount (%d), l2Error = (%g). lInfinity error = (%d), image "
                 "name (%s)\n",
           colorCount, static_cast<double>(l2Error), static_cast<int>(lInfinityError), image.getFileName().c_str());
    if (!isGood)
    {
        refuse("palette error above the threshold", &image);
        return false;
    }
    return image.convert(format, quantized);
}

bool kxConvertImage::convertDirectly(kxImage& image, KX_GFX_TEXTURE_FORMAT format)
{
    const KX_GFX_TEXTURE_FORMAT source = image.getFormat();
    if (source != rgba_8888_32 && (format == dxt1 || format == dxt3))
    {
        if (image.canConvert(rgba_8888_32))
            image.convert(rgba_8888_32, &image);
        else
        {
            printf("Cannot do implicit converion to RGBA_32 from format (%d).\n", static_cast<int>(source));
            printf("  This Conversion is required for subsequent DXT conversion.\n");
        }
    }
    if (image.canConvert(format))
        return image.convert(format, &image);
    if (kxImage::isIndexed(source))
        return false;
    const KX_GFX_TEXTURE_FORMAT between = kxImage::hasAlpha(source) ? rgba_8888_32 : rgb_888_24;
    if (!image.canConvert(between))
        return false;
    auto temporary = kxNew<kxImage>();
    temporary->setSize(1, 1, between);
    return temporary->canConvert(format) && temporary->convert(between, &image) && image.convert(format, temporary);
}

void kxConvertImage::convertImage(kxImage* image, KX_GFX_TEXTURE_FORMAT format, KX_GFX_IMAGE_ORDER)
{
    if (!image)
        return;
    const kxStringRef name = image->getFileName();
    const KX_GFX_TEXTURE_FORMAT source = image->getFormat();
    if (image->getWidth() == 0)
        return refuse("unreadable image", image);
    uint32_t bits[6], bitSum = 0;
    kxImage::estimateBitDepths(format, bits);
    for (const uint32_t depth : bits)
        bitSum += depth;
    if (_convertIfSmaller && image->getTotalBitsPerPixel() < bitSum)
    {
        printf("Image (%s) is already using a smaller image format\n", name.c_str());
        return refuse("already smaller", image);
    }
    const auto oldBytes = static_cast<int>(image->getByteSize());
    const auto oldBits = static_cast<int>(image->getTotalBitsPerPixel());
    if (!passesNameFilter(*image))
        return refuse("left out by name", image);
    if (!image->ensurePixels())
        return refuse("unreadable image", image);
    if (_preserveAlpha && !keepsAlpha(*image))
    {
        printf("Not converting image %s to preserve alpha values.\n", name.c_str());
        return refuse("alpha would be lost", image);
    }
    bool isConverted;
    if (kxImage::isIndexed(source) ? source == x_8 && format == x_4 : kxImage::isIndexed(format))
    {
        // A palette that turns out too small for the image must not cost it the one that it has.
        kxSmartPointer<kxImage> original;
        if (kxImage::isIndexed(source))
        {
            original = kxNew<kxImage>();
            original->copyFrom(image);
            image->convert(rgba_8888_32, image);
        }
        isConverted = palettize(*image, format);
        if (!isConverted && original)
            image->copyFrom(original);
    }
    else
        isConverted = convertDirectly(*image, format);
    if (!isConverted)
    {
        printf("NOT converted (%s) from format (%d) to format (%d)\n", name.c_str(),
               static_cast<int>(image->getFormat()), static_cast<int>(format));
        return;
    }
    const auto newBytes = static_cast<int>(image->getByteSize());
    _totalSizeSavings = static_cast<int32_t>(
        std::clamp<int64_t>(int64_t(_totalSizeSavings) + oldBytes - newBytes, INT32_MIN, INT32_MAX));
    printf("converted %s from (%d bytes) (%d bpp) to format %d (%d bytes)(%d bpp)\n", name.c_str(), oldBytes, oldBits,
           static_cast<int>(image->getFormat()), newBytes, static_cast<int>(image->getTotalBitsPerPixel()));
    if (image->getFormat() != source)
    {
        count("images converted");
        count("bytes of pixels saved", oldBytes - newBytes);
    }
}

} // namespace Kel::Opt
