// Images as they were when a picture was looked at.
#pragma once

#include "platform/gfx/kxImage.h"

#include <unordered_map>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// What images showed at a time, in a form that outlives changes of them: the bytes of their files, which are shared, or of
/// images without such bytes a hash of the pixels, and the pixels themselves when those are wanted.
class kxImageSamples
{
public:
    struct Sample
    {
        kxSmartPointer<kxImage> image; ///< a copy to decode; null when the hash is all that is left
        uint64_t look = 0;             ///< as given to `add`
        uint64_t pixels = 0;           ///< hash of size and pixels; 0 when it is not known yet, or there are none
    };
    static constexpr uint32_t kNone = UINT32_MAX;

    /// Keeps the pixels of images that have no bytes of a file, at their full size in memory.
    void setKeepPixels(bool keep) { m_keepsPixels = keep; }
    /// Notes what an image shows now and gives the sample's number; `kNone` for null. Images of equal `look` are one sample.
    uint32_t add(const kxImage* image, uint64_t look);
    const Sample& get(uint32_t number) const { return m_samples[number]; }

private:
    bool m_keepsPixels = false;
    std::vector<Sample> m_samples;
    std::unordered_map<uint64_t, uint32_t> m_numbers;
};

/// Hash of an image's size and pixels, as they look, whatever the format; 0 for an image without pixels.
uint64_t hashPixels(kxImage& image);

} // namespace Kel::Opt
