#include "interop/gltf/kxGltfTextures.h"

#include "interop/gltf/kxGltfImageType.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

bool isBlocks(KX_GFX_TEXTURE_FORMAT format)
{
    const kxTextureFormatInfo* info = findTextureFormat(format);
    return info && info->kind == kxTextureFormatInfo::BLOCKS;
}

} // namespace

// Graphics interfaces are strict about compressed images; who finds a black texture should not have to guess.
void kxGltfTextures::warnOfBlocks(const kxTextureAttr& texture, const kxImage& image)
{
    if (!isBlocks(image._format))
        return;
    if (image._width % 4 || image._height % 4)
        m_faults.warn("block-compressed image whose sides are no multiples of 4 may be refused by graphics hardware",
                      labelOf(image));
    if (texture.isMipmapped())
        m_faults.warn("block-compressed image has one level, but the sampler of its texture asks for smaller ones",
                      labelOf(image));
}

const std::vector<kxGltfTextures::Source>& kxGltfTextures::sourcesOf(const kxTextureAttr& texture)
{
    const auto [at, isNewTexture] = m_sources.try_emplace(&texture);
    std::vector<Source>& sources = at->second;
    if (!isNewTexture)
        return sources;
    const Source* changed = nullptr; // that has become of a kind that not every reader knows
    sources.reserve(texture._imageList->getCount() + 1);
    const auto has = [&](std::string_view extension)
    { return std::any_of(sources.begin(), sources.end(), [&](const Source& s) { return s.extension == extension; }); };
    for (uint32_t i = 0; i < texture._imageList->getCount(); ++i)
    {
        const kxImage* image = texture._imageList->get(i);
        if (!image)
            continue;
        std::string_view given;
        if (i < texture._imageExtensions->getCount())
            given = texture._imageExtensions->get(i).view();
        // An image of a kind that not every reader knows needs its extension, wherever it stands; one that was encoded
        // anew may have become of a kind that needs none, or of one that an image before it has too.
        const bool isNew = !image->_encoded && image->_pixels;
        std::string_view extension = given;
        if (given.empty() || isNew)
            extension = sourceExtensionOf(m_images.formOf(*image).mimeType.view());
        m_hasNewImages |= isNew;
        if (has(extension))
            continue;
        sources.push_back({image, std::string(extension), false});
        if (isNew && extension != given && !extension.empty() && !changed)
            changed = &sources.back();
        if (isNew && !extension.empty())
            warnOfBlocks(texture, *image);
    }
    if (changed && !has(""))
    {
        const kxImage* image = changed->image;
        if (m_noFallback)
            m_required.insert(changed->extension);
        else
        {
            if (m_fallbackNumbers.try_emplace(image, static_cast<uint32_t>(m_fallbacks.size())).second)
                m_fallbacks.push_back(image);
            sources.push_back({image, std::string(), true});
        }
    }
    for (const Source& source : sources)
        if (!source.extension.empty())
            m_used.insert(source.extension);
    return sources;
}

} // namespace Kel::Gltf
