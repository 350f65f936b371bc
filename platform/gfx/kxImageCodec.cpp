#include "platform/gfx/kxImageCodec.h"

#include "platform/core/kxReport.h"

#include <unordered_map>

namespace Kel::Gfx
{

KX_IMPLEMENT(kxImageCodec)

namespace
{

/// One object of each class of codecs, in order of registration; codecs hold no state.
const std::vector<kxSmartPointer<kxImageCodec>>& allCodecs()
{
    static auto* codecs = new std::vector<kxSmartPointer<kxImageCodec>>;
    static uint32_t generation = UINT32_MAX;
    if (generation != kxMetaObject::getGeneration())
    {
        generation = kxMetaObject::getGeneration();
        codecs->clear();
        if (kxImageCodec::staticMetaObject())
            for (const kxMetaObject* type : kxImageCodec::staticMetaObject()->getDerived())
                if (!type->isAbstract())
                    codecs->push_back(type->createInstanceRef<kxImageCodec>());
    }
    return *codecs;
}

std::string labelOf(const kxImage& image)
{
    const kxStringRef name = image.getFileName();
    return name.isEmpty() ? "image without a name" : "image " + name.str();
}

} // namespace

const kxImageCodec* kxImageCodec::find(const uint8_t* bytes, size_t byteCount)
{
    for (const kxSmartPointer<kxImageCodec>& codec : allCodecs())
        if (codec->claims(bytes, byteCount))
            return codec;
    return nullptr;
}

const kxImageCodec* kxImageCodec::findBest(kxImage& image, bool commonOnly)
{
    const kxImageCodec* best = nullptr;
    Fit bestFit = CANNOT;
    for (const kxSmartPointer<kxImageCodec>& codec : allCodecs())
    {
        if (commonOnly && !codec->isCommon())
            continue;
        const Fit fit = codec->getFit(image);
        if (fit > bestFit)
        {
            bestFit = fit;
            best = codec;
        }
    }
    return best;
}

bool kxImageCodec::readCheckedHeader(const uint8_t* bytes, size_t byteCount, kxImageHeader& header,
                                     std::string& fault) const
{
    if (!readHeader(bytes, byteCount, header, fault))
        return false;
    if (header.width == 0 || header.height == 0)
        fault = "a side of 0 pixels";
    else if (uint64_t(header.width) * header.height > kxImage::kMaxPixelCount)
        fault = kxFormat("%u x %u pixels, the limit is %llu", header.width, header.height,
                         static_cast<unsigned long long>(kxImage::kMaxPixelCount));
    else
        return true;
    return false;
}

bool kxImageCodec::encodeForFile(kxImage& image, bool commonOnly, kxImageFileForm& form)
{
    form = {};
    if (image._encoded)
    {
        const kxImageCodec* codec = find(image._encoded->getData(), image._encoded->getSize());
        form.isCommon = codec && codec->isCommon();
        // What cannot be read is passed on as it came.
        if (!commonOnly || form.isCommon || !image.ensurePixels())
        {
            form.bytes = image._encoded;
            form.mimeType = image._mimeType;
            if (codec)
            {
                form.extension = codec->getExtension();
                if (form.mimeType.isEmpty())
                    form.mimeType = codec->getMimeType();
            }
            return true;
        }
    }
    std::string fault = "no pixels";
    if (const kxImageCodec* codec = image.ensurePixels() ? findBest(image, commonOnly) : nullptr)
    {
        form.bytes = codec->encode(image, fault);
        form.mimeType = codec->getMimeType();
        form.extension = codec->getExtension();
        form.isExact = codec->getFit(image) != LOSES_FORMAT;
        form.isCommon = codec->isCommon();
    }
    else if (image.hasPixels())
        fault = "no codec writes its format";
    if (form.bytes)
        return true;
    kxReport::error("%s: %s", labelOf(image).c_str(), fault.c_str());
    return false;
}

} // namespace Kel::Gfx
