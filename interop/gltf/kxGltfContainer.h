// A scene file as it lies on disk: its JSON text and, in a binary file, the bytes behind it.
#pragma once

#include "interop/gltf/kxGltfFaults.h"
#include "interop/gltf/kxGltfJson.h"
#include "platform/core/kxMappedFile.h"

namespace Kel::Gltf
{

constexpr uint32_t kGlbMagic = 0x46546c67;
constexpr uint32_t kGlbJsonChunk = 0x4e4f534a;
constexpr uint32_t kGlbBinChunk = 0x004e4942;
constexpr size_t kGlbHeaderBytes = 12;
constexpr size_t kGlbChunkHeaderBytes = 8;

struct kxGltfContainer
{
    kxSmartPointer<kxMappedFile> file;
    bool isBinary = false;
    kxJsonDocument json;
    kxSmartPointer<kxMemoryBlock> binChunk; ///< null when there is none

    /// Opens a file and parses its JSON text.
    bool open(kxGltfFaults& faults, const kxJsonDocument::Listener& listener);

private:
    bool splitBinary(kxGltfFaults& faults, uint64_t& jsonOffset, uint64_t& jsonBytes);
};

} // namespace Kel::Gltf
