// Images and captured text for the tests of the image optimizations.
#pragma once

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptBase.h"
#include "opt/libKXOpt.h"
#include "platform/gfx/kxImage.h"

#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// Gives an optimization a log that collects its text.
class ImageLog
{
public:
    explicit ImageLog(kxOptBase& optimization)
    {
        m_log->_verbose = true;
        m_log->setSink([](const char* text, size_t length, void* context)
                       { static_cast<ImageLog*>(context)->m_text.append(text, length); },
                       this);
        optimization._logInterface = m_log;
    }
    ~ImageLog() { m_log->setSink(nullptr, nullptr); }
    ImageLog(const ImageLog&) = delete;
    ImageLog& operator=(const ImageLog&) = delete;

    /// The text since the last call.
    std::string take() { return std::exchange(m_text, std::string()); }

private:
    kxSmartPointer<kxLogInterface> m_log = kxNew<kxLogInterface>();
    std::string m_text;
};

/// An image with the pixel bytes repeated from a pattern; without one they are random.
inline kxSmartPointer<kxImage> makeTestImage(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height,
                                             const std::vector<uint8_t>& pattern = {}, const char* name = "image")
{
    std::mt19937 random(2);
    auto image = kxNew<kxImage>();
    image->_name = name;
    image->setSize(width, height, format);
    uint8_t* pixels = image->getWritablePixels();
    for (uint64_t i = 0; i < image->getByteSize(); ++i)
        pixels[i] = pattern.empty() ? static_cast<uint8_t>(random()) : pattern[i % pattern.size()];
    return image;
}

inline std::vector<uint8_t> rgbaOf(kxImage& image)
{
    std::vector<uint8_t> pixels;
    image.forEachRgbaRow([&](uint32_t, const uint8_t* row)
                         { pixels.insert(pixels.end(), row, row + size_t(image.getWidth()) * 4); });
    return pixels;
}

} // namespace Kel::Opt
