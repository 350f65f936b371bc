#include "opt/verify/kxImageSamples.h"

#include <algorithm>

namespace Kel::Opt
{

uint64_t hashPixels(kxImage& image)
{
    const uint64_t size[2] = {image.getWidth(), image.getHeight()};
    uint64_t hash = hashBytes(size, sizeof size);
    if (!image.forEachRgbaRow([&](uint32_t, const uint8_t* row) { hash = hashBytes(row, size[0] * 4, hash); }))
        return 0;
    return std::max<uint64_t>(hash, 1);
}

uint32_t kxImageSamples::add(const kxImage* image, uint64_t look)
{
    if (!image)
        return kNone;
    const auto [at, isNew] = m_numbers.try_emplace(look, static_cast<uint32_t>(m_samples.size()));
    if (!isNew)
        return at->second;
    Sample& sample = m_samples.emplace_back();
    sample.look = look;
    if (image->_encoded)
    {
        // The bytes never change; an image whose pixels do lets go of them.
        sample.image = kxNew<kxImage>();
        sample.image->_name = image->_name;
        sample.image->_uri = image->_uri;
        sample.image->_encoded = image->_encoded;
    }
    else if (image->_pixels)
    {
        sample.pixels = hashPixels(const_cast<kxImage&>(*image));
        if (m_keepsPixels)
        {
            sample.image = kxNew<kxImage>();
            sample.image->copyFrom(image);
        }
    }
    return at->second;
}

} // namespace Kel::Opt
