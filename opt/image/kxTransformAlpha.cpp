#include "opt/image/kxTransformAlpha.h"

#include <cmath>

namespace Kel::Opt
{

KX_IMPLEMENT(kxTransformAlpha)

void kxTransformAlpha::listFields(kxFields<kxTransformAlpha>& fields)
{
    fields.add(&kxTransformAlpha::_scale, "_scale", "the alpha is divided by this; not 0");
    fields.add(&kxTransformAlpha::_offset, "_offset", "added after the division; only its low 8 bits matter");
}

kxTransformAlpha::kxTransformAlpha()
{
    _visitedMetaObject = kxImage::staticMetaObject();
}

kxMetaObject* kxTransformAlpha::getVisitedObjectMeta()
{
    return kxImage::staticMetaObject();
}

bool kxTransformAlpha::checkScale(float scale)
{
    if (std::isfinite(1.0 / scale) && std::isfinite(scale))
        return true;
    printf("ERROR: kxTransformAlpha cannot divide by a _scale of %g\n", static_cast<double>(scale));
    return false;
}

bool kxTransformAlpha::configure(int)
{
    return checkScale(_scale);
}

void kxTransformAlpha::visitor(kxObject* object)
{
    scale(kxCast<kxImage>(object), _scale, _offset);
}

void kxTransformAlpha::scale(kxImage* image, float scale, int32_t offset)
{
    if (!image || image->getBytesPerPixel() != 4 || image->getHeight() < 1 || !checkScale(scale))
        return;
    // In the widest type: the defaults map 255 onto exactly -128, and a factor rounded to fewer bits would cut that to -127.
    const long double factor = 1.0L / static_cast<long double>(scale);
    uint8_t table[256];
    bool isChange[256];
    for (int alpha = 0; alpha < 256; ++alpha)
    {
        // Modulo 256 before it becomes a whole number: tiny scales give values beyond any integer.
        const long double value = std::fmod(std::trunc(alpha * factor), 256.0L);
        table[alpha] = static_cast<uint8_t>(static_cast<int>(value) + offset);
        isChange[alpha] = table[alpha] != alpha;
    }
    const uint8_t* pixels = image->getPixels();
    if (!pixels)
        return;
    const size_t byteSize = size_t(image->getWidth()) * image->getHeight() * 4;
    size_t first = 3;
    while (first < byteSize && !isChange[pixels[first]])
        first += 4;
    if (first >= byteSize)
        return;
    uint8_t* target = image->getWritablePixels();
    for (size_t i = first; i < byteSize; i += 4)
        target[i] = table[target[i]];
    count("images transformed");
}

} // namespace Kel::Opt
