// Where the images of a scene go when it is written.
#pragma once

#include "interop/gltf/kxGltfData.h"
#include "platform/gfx/kxImageCodec.h"

#include <map>
#include <memory>

namespace Kel::Core
{
class kxAtomicFile;
}

namespace Kel::Gltf
{

using namespace Kel::Gfx;

/// What messages call an image.
std::string labelOf(const kxImage& image);

/// Writes the images of one scene file: into its binary part, into its text, or as files beside it. A file that is there
/// already and holds something else is never overwritten; the image gets another name then.
class kxGltfImages
{
public:
    kxGltfImages(kxGltfFaults& faults, kxGltfData& data, bool isBinary);
    ~kxGltfImages();

    /// Images without files of their own go into the text of a text file.
    void setInText(bool inText) { m_isInText = inText; }
    /// Bytes of an image and their media type: those that it came with, or new ones when its pixels were changed. Without
    /// bytes when it has none; the file is refused when they cannot be made.
    const kxImageFileForm& formOf(const kxImage& image);
    /// The same as a kind of file that every reader knows, for an image without encoded bytes.
    const kxImageFileForm& fallbackOf(const kxImage& image);
    /// Writes the members "uri" or "bufferView", and "mimeType", of the image or of its fallback. False when the scene cannot
    /// be written.
    bool writeSource(kxJsonText& json, const kxImage& image, bool isFallback);
    /// Puts the image files in their places.
    bool commit();

private:
    bool placeFile(const kxImage& image, const kxImageFileForm& form, std::string& uri);

    kxGltfFaults& m_faults;
    kxGltfData& m_data;
    bool m_isBinary;
    bool m_isInText = false;
    std::string m_folder;
    std::unordered_map<const kxImage*, kxImageFileForm> m_forms, m_fallbacks;
    std::vector<std::unique_ptr<kxAtomicFile>> m_files;
    std::map<std::string, const kxMemoryBlock*> m_taken; // path below the folder, and what it holds
};

} // namespace Kel::Gltf
