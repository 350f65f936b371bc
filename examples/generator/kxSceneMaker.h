// Makes test scenes of a known shape and writes them as glTF 2.0.
//
// The generator stands apart from the library on purpose: what it writes is an independent source of scenes for the
// library's tests and benchmarks, so it shares no code with what reads them. Everything is made with its own random
// numbers and with basic arithmetic rounded to a fixed grid: the same options give the same bytes on every machine.
#ifndef KX_SCENE_MAKER_H
#define KX_SCENE_MAKER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kel::Examples
{

enum class kxSceneShape
{
    VILLAGE, // a harbour village of about 500 nodes with a bit of everything
    CITY,    // districts, blocks, houses and their parts, 6 to 8 levels deep
    CHAIN,   // one path of nodes, each the only child of the one before
    STAR     // one root with all other nodes as its children
};

struct kxSceneOptions
{
    kxSceneShape shape = kxSceneShape::VILLAGE;
    uint32_t nodeCount = 10000; // at least 1; the village has a count of its own
    uint32_t materialCount = 0; // city, chain and star; 0 gives one per 50 nodes, at least 2
    uint64_t seed = 1;
    double extent = 0.0; // length of the longest side of the scene in metres; 0 gives the shape's natural size
};

enum class kxTransformKind : uint8_t
{
    NONE,        // a plain group
    TRANSLATION, // 3 values
    TRS,         // 10 values: translation, rotation as x y z w, scale
    MATRIX       // 16 values, column after column
};

/// The transform of one node. An identity is a TRANSLATION, TRS or MATRIX that moves nothing; NONE says nothing at all.
struct kxPlacement
{
    kxTransformKind kind = kxTransformKind::NONE;
    std::array<float, 16> values{};

    static size_t valueCount(kxTransformKind kind);
};

/// The hierarchy of a scene as a structure of arrays, one entry per node in each.
///
/// Parents stand before their children, children in their order; a parent of -1 marks a root. Node `i` draws the mesh
/// `mesh[i]` (-1: none) in `material[i]`, which fills the primitives that have no material of their own.
class kxScenePlan
{
public:
    std::vector<int32_t> parent;
    std::vector<int32_t> mesh;
    std::vector<int32_t> material;

    size_t size() const { return parent.size(); }
    std::string_view name(size_t node) const;
    kxPlacement placement(size_t node) const;

    /// The node's own matrix, column after column; the identity for a plain group.
    std::array<double, 16> localMatrix(size_t node) const;

    /// Appends a node and returns its index. `parentNode` is -1 or the index of a node that exists.
    int32_t addNode(int32_t parentNode, std::string_view nodeName, const kxPlacement& where, int32_t meshIndex = -1,
                    int32_t materialIndex = -1);
    void reserve(size_t nodeCount);

private:
    std::vector<kxTransformKind> m_kinds;
    std::vector<uint32_t> m_valueStarts; // into m_values: a million plain groups cost nothing there
    std::vector<float> m_values;
    std::vector<uint32_t> m_nameEnds; // into m_nameBytes
    std::string m_nameBytes;
};

/// Triangles with one normal and one texture coordinate per vertex; the arrays after `indices` may be empty.
struct kxSceneGeometry
{
    std::string name;
    std::vector<float> positions; // 3 per vertex
    std::vector<float> normals;   // 3 per vertex
    std::vector<float> uvs;       // 2 per vertex
    std::vector<uint32_t> indices;
    std::vector<uint8_t> colors;       // 4 per vertex
    std::vector<uint8_t> joints;       // 4 per vertex
    std::vector<float> weights;        // 4 per vertex
    std::vector<float> morphPositions; // 3 per vertex: the one morph target's offsets

    size_t vertexCount() const { return positions.size() / 3; }
};

struct kxScenePrimitive
{
    int32_t geometry = -1;
    int32_t material = -1; // -1: the material of the node that draws the mesh
};

struct kxSceneMesh
{
    std::string name;
    std::vector<kxScenePrimitive> primitives;
};

struct kxSceneMaterial
{
    std::string name;
    std::array<float, 4> color{1, 1, 1, 1}; // linear
    float metallic = 0.0f;
    float roughness = 0.9f;
    int32_t texture = -1;
    std::array<float, 3> emissive{0, 0, 0};
    float emissiveStrength = 1.0f; // other than 1: written through KHR_materials_emissive_strength
    float clearcoat = 0.0f;        // above 0: written through KHR_materials_clearcoat
    bool masked = false;           // alpha below a half is cut away
    bool doubleSided = false;
};

struct kxSceneImage
{
    std::string name;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channelCount = 3; // 3 or 4, 8 bits each
    std::vector<uint8_t> pixels;
};

struct kxSceneTexture
{
    std::string name;
    int32_t image = -1;
    int32_t sampler = 0; // 0: repeats; 1: the same once more; 2: clamps
};

struct kxSceneChannel
{
    int32_t node = -1;
    const char* path = "translation";
    const char* interpolation = "LINEAR";
    std::vector<float> times;  // seconds
    std::vector<float> values; // as many components per key as the path wants; three times that for CUBICSPLINE
};

struct kxSceneAnimation
{
    std::string name;
    std::vector<kxSceneChannel> channels;
};

struct kxSceneSkin
{
    std::string name;
    std::vector<int32_t> joints;            // nodes
    std::vector<float> inverseBindMatrices; // 16 per joint
};

struct kxSceneCamera
{
    std::string name;
    bool perspective = true;
    float size = 1.0f; // vertical field of view in radians, or half the height of an orthographic picture
    float nearDistance = 0.1f;
    float farDistance = 1000.0f;
};

struct kxSceneLight
{
    std::string name;
    const char* type = "point"; // or "directional", "spot"
    std::array<float, 3> color{1, 1, 1};
    float intensity = 1.0f;
    float outerConeAngle = 0.5f; // radians, for a spot
};

/// What few nodes have. A scene lists these in the order of their nodes.
struct kxSceneAttachment
{
    int32_t node = -1;
    int32_t camera = -1;
    int32_t light = -1;
    int32_t skin = -1;
    std::string extras; // JSON text; empty: none
};

struct kxScene
{
    std::string name;
    kxScenePlan plan;
    std::vector<kxSceneGeometry> geometries;
    std::vector<kxSceneMesh> meshes;
    std::vector<kxSceneMaterial> materials;
    std::vector<kxSceneTexture> textures;
    std::vector<kxSceneImage> images;
    std::vector<kxSceneAnimation> animations;
    std::vector<kxSceneSkin> skins;
    std::vector<kxSceneCamera> cameras;
    std::vector<kxSceneLight> lights;
    std::vector<kxSceneAttachment> attachments;
};

/// Makes a scene in memory. City, chain and star have exactly `nodeCount` nodes and one primitive per mesh, which takes
/// the node's material, so that a caller can build them from `plan`, `geometries` and `materials` alone.
kxScene makeScene(const kxSceneOptions& options);

/// Writes `scene` as glTF 2.0: one binary file when `path` ends in ".glb", JSON with a ".bin" file beside it when it
/// ends in ".gltf". The JSON is streamed, so that the hierarchy is not held a second time. False, with the reason in
/// `error`, when the path has another ending or a file cannot be written; what stood at `path` is then as it was.
bool writeScene(const kxScene& scene, const std::string& path, std::string& error);

} // namespace Kel::Examples

#endif
