// Where the images of a scene go when it is written.
#pragma once

#include "interop/gltf/kxGltfData.h"
#include "platform/gfx/kxImage.h"

#include <map>
#include <memory>

namespace Kel::Core
{
class kxAtomicFile;
}

namespace Kel::Gltf
{

using namespace Kel::Gfx;

/// Writes the images of one scene file: into its binary part, into its text, or as files beside it. A file that is there
/// already and holds something else is never overwritten; the image gets another name then.
class kxGltfImages
{
public:
    kxGltfImages(kxGltfFaults& faults, kxGltfData& data, bool isBinary);
    ~kxGltfImages();

    /// Writes the members "uri" or "bufferView", and "mimeType". False when the scene cannot be written.
    bool writeSource(kxJsonText& json, const kxImage& image);
    /// Puts the image files in their places.
    bool commit();

private:
    bool placeFile(const kxImage& image, std::string& uri);

    kxGltfFaults& m_faults;
    kxGltfData& m_data;
    bool m_isBinary;
    std::string m_folder;
    std::vector<std::unique_ptr<kxAtomicFile>> m_files;
    std::map<std::string, const kxMemoryBlock*> m_taken; // path below the folder, and what it holds
};

} // namespace Kel::Gltf
