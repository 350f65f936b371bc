// A scene as the JSON of glTF 2.0.
#ifndef KX_GLTF_WRITER_H
#define KX_GLTF_WRITER_H

#include "kxGltfLayout.h"
#include "kxJsonStream.h"
#include "kxSceneMaker.h"

#include <string_view>

namespace Kel::Examples
{

/// Writes all of a scene whose data have been laid out. `bufferName` is the URI of the buffer, empty in a binary file.
void writeGltf(const kxScene& scene, const kxGltfLayout& layout, std::string_view bufferName, kxJsonStream& json);

} // namespace Kel::Examples

#endif
