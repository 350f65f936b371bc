// Where the parts of a scene lie: URIs, folders and data in the text itself.
#pragma once

#include "platform/core/kxMemoryBlock.h"

#include <string>
#include <string_view>

namespace Kel::Gltf
{

using namespace Kel::Core;

/// Folder of a path with its last slash; empty for a bare file name.
std::string folderOf(std::string_view path);

/// Replaces %XX by the byte; what is no such code stays as it is.
std::string decodePercent(std::string_view uri);
/// Writes every byte as %XX that cannot stand in a relative URI; slashes stay.
std::string encodePercent(std::string_view path);

/// What a URI of a scene file leads to.
enum class kxUriKind
{
    DATA,    ///< the bytes are in the URI
    INSIDE,  ///< a file in the scene's folder or below it
    OUTSIDE, ///< a file elsewhere
    OTHER    ///< something else than a file, such as an address on the network
};

/// True for a URI that holds its data itself.
bool isDataUri(std::string_view uri);

/// Tells what `uri` leads to, and for files their path below (or beyond) the scene's folder.
kxUriKind classifyUri(std::string_view uri, std::string& relativePath);

/// Bytes of a data URI and their media type; null, with the reason, for one that is broken.
kxSmartPointer<kxMemoryBlock> decodeDataUri(std::string_view uri, std::string& mediaType, std::string& fault);

/// Appends bytes as base64 text.
void encodeBase64(const uint8_t* bytes, size_t byteCount, std::string& text);

} // namespace Kel::Gltf
