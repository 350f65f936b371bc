// What a scene holds, counted.
#pragma once

#include "platform/core/kxDirectory.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Kel::Tool
{

/// Counts over everything that a file's roots reach. Each object counts once, however often it is used; what is drawn
/// counts once for each path that draws it.
struct kxInventory
{
    struct Values
    {
        uint64_t count = 0;
        uint64_t distinct = 0; ///< of those, the ones that differ in type or value
    };
    struct Image
    {
        std::string name;
        std::string format; ///< media type, or the format of the pixels of an image that has no encoded bytes
        uint64_t bytes = 0;
        uint32_t width = 0; ///< in pixels; 0 for an image that no codec knows
        uint32_t height = 0;
        std::string file; ///< empty for an image inside the scene's file
    };

    uint64_t scenes = 0;

    uint64_t nodes = 0;
    uint64_t depth = 0;       ///< nodes on the longest path from a scene's root
    uint64_t sharedNodes = 0; ///< nodes with several parents
    uint64_t instances = 0;   ///< paths from a scene's root to any node, instance arrays included
    std::map<std::string, uint64_t> nodeTypes;

    uint64_t geometries = 0;
    uint64_t geometriesDrawn = 0;
    uint64_t triangles = 0;
    uint64_t trianglesDrawn = 0;
    uint64_t vertices = 0;
    uint64_t vertexBytes = 0; ///< of vertex data, indices and morph targets

    Values attributes;
    std::map<std::string, Values> attributeTypes;
    Values materials;
    Values textures;

    std::vector<Image> images;
    uint64_t imageBytes = 0;

    uint64_t animations = 0;
    uint64_t skins = 0;
    uint64_t joints = 0;
    uint64_t cameras = 0;
    uint64_t lights = 0;

    /// Cost: a walk of the graph and a hash of every attribute; of images the heads are read. Paths beyond 2^64 count as 2^64 - 1.
    static kxInventory collect(const Core::kxDirectory& directory);
};

} // namespace Kel::Tool
