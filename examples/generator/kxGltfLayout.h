// The one buffer of a glTF file: which bytes it holds and where everything of a scene lies in it.
#ifndef KX_GLTF_LAYOUT_H
#define KX_GLTF_LAYOUT_H

#include "kxSceneMaker.h"

#include <utility>

namespace Kel::Examples
{

struct kxBufferView
{
    size_t offset = 0;
    size_t byteCount = 0;
    int target = 0; // what glTF calls it: vertices, indices, or 0 for neither
};

struct kxAccessor
{
    size_t view = 0;
    int componentType = 0;
    size_t count = 0;
    const char* type = "SCALAR";
    bool normalized = false;
    std::vector<float> lowest; // empty: no bounds are written
    std::vector<float> highest;
};

/// The accessors of one geometry; -1 for what it does not have.
struct kxGeometryAccessors
{
    int positions = -1, normals = -1, uvs = -1, colors = -1, joints = -1, weights = -1, morphPositions = -1;
    int indices = -1;
};

struct kxGltfLayout
{
    std::vector<uint8_t> bytes;
    std::vector<kxBufferView> views;
    std::vector<kxAccessor> accessors;

    std::vector<kxGeometryAccessors> geometries;
    std::vector<size_t> imageViews;
    std::vector<int> skinMatrices;
    std::vector<std::vector<std::pair<int, int>>> samplers; // per animation, per channel: times, values
};

/// Lays the geometries, pictures, skins and keys of `scene` out, each in a view of its own. Cost: a copy of all of it.
kxGltfLayout layOut(const kxScene& scene);

} // namespace Kel::Examples

#endif
