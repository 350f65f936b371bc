// How much a scene holds, for the tables and reports of a run.
#pragma once

#include "platform/core/kxFileInfo.h"
#include "platform/gfx/kxImage.h"

#include <cstdint>
#include <functional>

namespace Kel::Tool
{

/// Amounts that optimizations are there to make smaller, over all scenes of a file; what is shared counts once.
struct kxSceneAmounts
{
    uint64_t nodes = 0;
    uint64_t depth = 0; ///< nodes on the longest path from a root
    uint64_t draws = 0; ///< paths from a root to a geometry, instances of arrays included
    uint64_t triangles = 0;
    uint64_t attributes = 0;
    uint64_t distinctAttributes = 0; ///< of those, the ones that differ in type or value
    uint64_t materials = 0;          ///< combinations of material and textures that geometries are drawn with
    uint64_t textures = 0;
    uint64_t images = 0;
    uint64_t imageBytes = 0; ///< as they stand in the file

    using ImageBytes = std::function<uint64_t(const Gfx::kxImage&)>;
    /// `imageBytes` says what an image takes. Cost: one walk over the nodes, once for
    /// each material that they inherit, and a hash of every attribute.
    static kxSceneAmounts count(const Core::kxFileInfo* file, const ImageBytes& imageBytes);

    /// Calls `callback(name, amount)` for every amount, in the order above.
    template <class F>
    void forEach(F callback) const
    {
        callback("nodes", nodes);
        callback("depth", depth);
        callback("draws", draws);
        callback("triangles", triangles);
        callback("attributes", attributes);
        callback("distinctAttributes", distinctAttributes);
        callback("materials", materials);
        callback("textures", textures);
        callback("images", images);
        callback("imageBytes", imageBytes);
    }
};

/// Bytes of an image that came from a file: those of the image file, pixels where there is none.
uint64_t getStoredBytes(const Gfx::kxImage& image);

} // namespace Kel::Tool
