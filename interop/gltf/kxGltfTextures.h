// Which images of a texture go into a file.
#pragma once

#include "interop/gltf/kxGltfImages.h"
#include "platform/attrs/kxTextureAttr.h"

#include <set>

namespace Kel::Gltf
{

using namespace Kel::Attrs;

/// Gives each image of a texture its role in the file: the one that every reader knows, or that of an extension. Each role
/// is given once, to the first image that asks for it. An image that has become of a kind that not every reader knows brings a
/// second one along, which every reader knows, when nothing else has that role.
class kxGltfTextures
{
public:
    kxGltfTextures(kxGltfFaults& faults, kxGltfImages& images) : m_faults(faults), m_images(images) {}

    /// Textures get no second images; their extensions become required.
    void setNoFallback(bool noFallback) { m_noFallback = noFallback; }

    struct Source
    {
        const kxImage* image = nullptr;
        std::string extension;   ///< empty: the source that every reader knows
        bool isFallback = false; ///< the image's second form
    };
    /// Sources of a texture, in the order of its images. Encodes images whose pixels were changed; the file is refused when
    /// that fails.
    const std::vector<Source>& sourcesOf(const kxTextureAttr& texture);

    /// Images that are written a second time, in the order in which they were met.
    const std::vector<const kxImage*>& getFallbacks() const { return m_fallbacks; }
    uint32_t fallbackNumberOf(const kxImage& image) const { return m_fallbackNumbers.at(&image); }

    /// Extensions that the textures use, those among them without which a texture has no image, and whether images were
    /// encoded anew.
    const std::set<std::string>& getUsed() const { return m_used; }
    const std::set<std::string>& getRequired() const { return m_required; }
    bool hasNewImages() const { return m_hasNewImages; }

private:
    void warnOfBlocks(const kxTextureAttr& texture, const kxImage& image);

    kxGltfFaults& m_faults;
    kxGltfImages& m_images;
    bool m_noFallback = false;
    bool m_hasNewImages = false;
    std::unordered_map<const kxTextureAttr*, std::vector<Source>> m_sources;
    std::vector<const kxImage*> m_fallbacks;
    std::unordered_map<const kxImage*, uint32_t> m_fallbackNumbers;
    std::set<std::string> m_used, m_required;
};

} // namespace Kel::Gltf
