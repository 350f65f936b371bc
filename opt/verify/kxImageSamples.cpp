#include "opt/verify/kxImageSamples.h"

namespace Kel::Opt
{

uint32_t kxImageSamples::add(const kxImage* image, uint64_t look)
{
    if (!image)
        return kNone;
    const auto [at, isNew] = m_numbers.try_emplace(look, static_cast<uint32_t>(m_samples.size()));
    if (!isNew)
        return at->second;
    auto copy = kxNew<kxImage>();
    copy->_name = image->_name;
    copy->_uri = image->_uri;
    copy->_encoded = image->_encoded;
    if (!image->_encoded)
    {
        copy->_width = image->_width;
        copy->_height = image->_height;
        copy->_format = image->_format;
        copy->_pixels = image->_pixels;
        copy->_clut = image->_clut ? image->_clut->clone() : nullptr;
    }
    m_samples.push_back({copy, look});
    return at->second;
}

} // namespace Kel::Opt
