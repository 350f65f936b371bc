// Images as they were when a picture was looked at.
#pragma once

#include "platform/gfx/kxImage.h"

#include <unordered_map>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// What images showed at a time: copies that share the bytes of their files, or the pixels where there are no such bytes. An
/// image that is changed lets go of either, so a sample costs memory only once its image has become another one.
class kxImageSamples
{
public:
    struct Sample
    {
        kxSmartPointer<kxImage> image; ///< for reading; without bytes and pixels where the image had none
        uint64_t look = 0;             ///< as given to `add`
    };
    static constexpr uint32_t kNone = UINT32_MAX;

    /// Notes what an image shows now and gives the sample's number; `kNone` for null. Images of equal `look` are one sample.
    uint32_t add(const kxImage* image, uint64_t look);
    const Sample& get(uint32_t number) const { return m_samples[number]; }

private:
    std::vector<Sample> m_samples;
    std::unordered_map<uint64_t, uint32_t> m_numbers;
};

} // namespace Kel::Opt
