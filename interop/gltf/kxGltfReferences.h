// Where extensions keep the numbers of other things: by rules for those that are known, by the usual names for all others.
#pragma once

#include "interop/gltf/kxGltfObjects.h"

#include <unordered_map>

namespace Kel::Gltf
{

/// Numbers of a JSON value that are indices, and of what.
using kxGltfMarks = std::unordered_map<const kxJsonValue*, kxGltfKind>;

/// True for a property that is a use of a texture: called "...Texture", with an index.
bool isTextureUse(std::string_view key, const kxJsonValue& value);

/// Indices of an extension of an object of the kind `place`, "node" or the like.
kxGltfMarks markIndices(std::string_view name, std::string_view place, const kxJsonValue& extension);
/// Indices of buffer views and accessors in extras.
kxGltfMarks markData(const kxJsonValue& extras);

/// True when an extension of a material is known to hold references, or holds JSON pointers, indices of data, or uses of
/// textures that are no properties of its objects.
bool holdsReferences(std::string_view name, const kxJsonValue& extension);
/// True when numbers besides the marked ones could be indices of who knows what.
bool mayHoldMoreIndices(std::string_view name, const kxJsonValue& extension, const kxGltfMarks& marks);

} // namespace Kel::Gltf
