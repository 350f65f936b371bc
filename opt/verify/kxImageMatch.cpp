#include "opt/verify/kxImageMatch.h"

#include "opt/image/kxZoomImage.h"

#include <algorithm>
#include <cmath>

namespace Kel::Opt
{

namespace
{

// What is decoded of a file goes with the copy; the sample keeps its bytes alone.
kxSmartPointer<kxImage> readerOf(const kxImageSamples::Sample& sample)
{
    if (!sample.image->_encoded)
        return sample.image;
    auto copy = kxNew<kxImage>();
    copy->copyFrom(sample.image);
    return copy;
}

// Of size and pixels, as they look, whatever the format; 0 for an image without pixels.
uint64_t hashPixels(kxImage& image)
{
    const uint64_t size[2] = {image.getWidth(), image.getHeight()};
    uint64_t hash = hashBytes(size, sizeof size);
    if (!image.forEachRgbaRow([&](uint32_t, const uint8_t* row) { hash = hashBytes(row, size[0] * 4, hash); }))
        return 0;
    return std::max<uint64_t>(hash, 1);
}

kxSmartPointer<kxImage> rgbaOf(kxImage& image, uint32_t width, uint32_t height)
{
    auto rgba = kxNew<kxImage>();
    if (!rgba->convert(rgba_8888_32, &image))
        return nullptr;
    if (rgba->getWidth() == width && rgba->getHeight() == height)
        return rgba;
    auto scaled = kxNew<kxImage>();
    auto zoom = kxNew<kxZoomImage>();
    zoom->setSource(rgba);
    zoom->setDestination(scaled);
    zoom->setFilter(kxNew<kxTriangleFilterFun>());
    return scaled->setSize(width, height, rgba_8888_32) && zoom->zoom() ? scaled : nullptr;
}

} // namespace

double imageDifference(kxImage& a, kxImage& b)
{
    if (!a.ensurePixels() || !b.ensurePixels())
        return -1;
    const uint32_t width = std::max(a.getWidth(), b.getWidth()), height = std::max(a.getHeight(), b.getHeight());
    const kxSmartPointer<kxImage> images[2] = {rgbaOf(a, width, height), rgbaOf(b, width, height)};
    if (!images[0] || !images[1])
        return -1;
    const uint8_t *x = images[0]->getPixels(), *y = images[1]->getPixels();
    uint64_t colors = 0, alphas = 0;
    bool isOpaque = true;
    for (uint64_t i = 0, count = uint64_t(width) * height; i < count; ++i, x += 4, y += 4)
    {
        uint32_t squares = 0;
        for (size_t c = 0; c < 3; ++c)
            squares += static_cast<uint32_t>((x[c] - y[c]) * (x[c] - y[c]));
        colors += squares;
        alphas += static_cast<uint32_t>((x[3] - y[3]) * (x[3] - y[3]));
        isOpaque &= (x[3] & y[3]) == 255;
    }
    const double values = double(width) * height * (isOpaque ? 3 : 4);
    return std::sqrt((double(colors) + double(alphas)) / values);
}

uint64_t kxImageMatch::pixelsOf(const kxImageSamples::Sample& sample)
{
    const auto [at, isNew] = m_pixels.try_emplace(sample.look, 0);
    if (isNew)
        at->second = hashPixels(*readerOf(sample));
    return at->second;
}

double kxImageMatch::getDifference(const kxImageSamples::Sample& a, const kxImageSamples::Sample& b)
{
    if (a.look == b.look)
        return 0;
    const auto [at, isNew] = m_differences.try_emplace({a.look, b.look}, -1);
    if (!isNew)
        return at->second;
    if (m_tolerance > 0)
        at->second = imageDifference(*readerOf(a), *readerOf(b));
    else if (const uint64_t pixels = pixelsOf(a); pixels && pixels == pixelsOf(b))
        at->second = 0;
    return at->second;
}

bool kxImageMatch::isSame(const kxImageSamples::Sample& a, const kxImageSamples::Sample& b)
{
    const double difference = getDifference(a, b);
    return difference >= 0 && difference <= m_tolerance;
}

} // namespace Kel::Opt
