// A scene graph as the nodes, meshes and materials that a glTF file can say: attributes resolved, shared nodes copied.
#pragma once

#include "interop/gltf/kxGltfFaults.h"
#include "interop/gltf/kxGltfInfo.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxMorphInstance.h"

#include <map>
#include <unordered_map>
#include <vector>

namespace Kel::Gltf
{

/// Collects what is to be written. Scenes and single things are added one after the other; what several of them reach is
/// written once, but a node that is reached on several paths within the scenes is copied for each, because glTF has no shared
/// nodes. All walks are iterative.
class kxGltfGraph
{
public:
    static constexpr uint32_t kNone = UINT32_MAX;
    /// A graph whose shared nodes unfold into more than this is refused.
    static constexpr uint32_t kMaxNodes = 1u << 24;

    struct Node
    {
        const kxGroup* source = nullptr; ///< null for a node that only holds what its parent cannot
        uint32_t parent = kNone;
        uint32_t mesh = kNone;
        uint32_t more = kNone; ///< index in `more`, for what few nodes have
        uint32_t copy = 0;     ///< 0 for the first node made of the source, then 1, 2 ...
        uint32_t nextCopy = kNone;
        uint32_t scene = 0; ///< of a node without parent: 1 + number of the last scene that lists it, 0 for none
    };
    struct More
    {
        const kxCamera* camera = nullptr;
        const kxLightAttr* light = nullptr;
        const kxSkin* skin = nullptr;
        const kxMorphInstance* morph = nullptr;
        const kxInstanceArray* instances = nullptr;
        int64_t instance = -1; ///< the one element of the source, which is an instance array, that the node stands for
        kxStringRef name;      ///< for nodes without source
    };
    struct Primitive
    {
        const kxGeometry* geometry;
        const kxGeometryAttr* data;
        uint32_t material; ///< kNone for none

        bool operator==(const Primitive&) const = default;
    };
    struct Mesh
    {
        const kxMesh* source = nullptr; ///< null for geometries that no mesh holds together
        kxStringRef name;
        std::vector<Primitive> primitives;
        uint32_t nextCopy = kNone;
        const kxMesh* partOf = nullptr; ///< the mesh that held the geometries together before groups came between
    };
    struct Material
    {
        const kxMaterialAttr* attr = nullptr;
        std::vector<const kxTextureBindAttr*> binds; ///< by unit
        uint32_t nextCopy = kNone;
    };
    struct Scene
    {
        const kxSceneInfo* info = nullptr; ///< null when only a graph was given
        kxStringRef name;
        std::vector<uint32_t> roots;
    };

    explicit kxGltfGraph(kxGltfFaults& faults);

    bool addScene(const kxSceneInfo* info, const kxNode* root, kxStringRef name);
    /// Adds a node that no scene reaches, with what is below it, unless it is there already.
    bool addUnused(const kxNode* node);
    uint32_t addMesh(const kxMesh* mesh);
    uint32_t addMaterial(const kxAttrList& attrs);
    /// True when an object has been added, as a node, mesh or material.
    bool has(const kxObject* object) const { return m_first.get(object) != 0; }
    /// First number of an object among those of its kind.
    uint32_t first(const kxObject* object) const { return m_first.get(object) - 1; }

    std::vector<Node> nodes;
    std::vector<More> more;
    std::vector<Mesh> meshes;
    std::vector<Material> materials;
    std::vector<Scene> scenes;
    /// Children besides those that name their parent: (parent, child) of nodes that a scene lists as well.
    std::vector<std::pair<uint32_t, uint32_t>> extraLinks;

private:
    /// The attributes in effect at a point of a path; equal ones have one number, 0 is none.
    struct Entry
    {
        const kxMetaObject* type;
        uint32_t unit;
        const kxAttr* attr;
        bool overriding;

        bool operator==(const Entry&) const = default;
    };
    /// What changes the drawing of the meshes below; equal ones have one number, 0 is none.
    struct Modifiers
    {
        const kxSkin* skin = nullptr;
        const kxMorphInstance* morph = nullptr;
        const kxInstanceArray* instances = nullptr;

        bool operator==(const Modifiers&) const = default;
    };
    struct Frame
    {
        const kxGroup* group;
        uint32_t next;
        uint32_t owner; ///< node that gets what is drawn, kNone below the root of a scene
        uint32_t state;
        uint32_t modifiers;
        bool opensNode;       ///< the frame is the owner's own: loose geometries are gathered until it ends
        bool withoutGeometry; ///< the geometries below are in a mesh already
        const kxMesh* mesh;   ///< nearest one of the path, null where there is none
    };
    struct Loose
    {
        uint32_t modifiers;
        std::vector<Primitive> primitives;
    };
    struct MeshUse
    {
        uint32_t mesh;
        bool hasOthers; ///< something below the mesh is no geometry
    };

    bool walk();
    bool addBelow(const kxNode* root);
    void visit(const kxNode* node, const Frame& from);
    void visitGroup(const kxGroup* group, const Frame& from);
    void expandInstances(const kxInstanceArray* instances, const Frame& from);
    void push(const kxGroup* group, uint32_t owner, uint32_t state, uint32_t modifiers, bool opensNode,
              bool withoutGeometry);
    void finishOwner(const Frame& frame);
    uint32_t openNode(const kxGroup* source, uint32_t parent);
    uint32_t openHelper(uint32_t parent, kxStringRef name);
    More& moreOf(uint32_t node);
    /// The owner, or a new node when the frame is that of a scene's root.
    void placeMesh(uint32_t owner, uint32_t mesh, uint32_t modifiers);

    uint32_t stateWith(uint32_t state, const kxAttrSet* set);
    uint32_t internState(std::vector<Entry> entries);
    uint32_t internModifiers(const Modifiers& modifiers);
    uint32_t materialOf(uint32_t state);
    uint32_t internMaterial(const kxMaterialAttr* attr, std::vector<const kxTextureBindAttr*> binds);
    void appendPrimitives(std::vector<Primitive>& primitives, const kxGeometry* geometry, uint32_t state);
    MeshUse useMesh(const kxMesh* mesh, uint32_t state);
    uint32_t internMesh(const kxMesh* source, kxStringRef name, std::vector<Primitive> primitives);
    bool isFoldable(const kxInstanceArray* instances) const;
    void warnOfType(const kxObject* object, const char* text);

    kxGltfFaults& m_faults;
    kxTSerialMap<uint32_t> m_first; // number + 1 of nodes, meshes and materials by their objects
    std::vector<std::vector<Entry>> m_states;
    std::unordered_multimap<uint64_t, uint32_t> m_stateNumbers;
    std::unordered_map<uint32_t, uint32_t> m_materialOfState;
    std::vector<Modifiers> m_modifiers;
    std::unordered_multimap<uint64_t, uint32_t> m_materialNumbers;
    std::unordered_multimap<uint64_t, uint32_t> m_meshNumbers;
    kxTSerialMap<uint64_t> m_plainMeshUses;                           // of meshes below no attributes
    std::map<std::pair<const kxMesh*, uint32_t>, MeshUse> m_meshUses; // of all others; only looked up, never walked
    std::vector<Frame> m_frames;
    std::vector<std::vector<Loose>> m_loose; // of the owners of open frames
    bool m_inScene = false;                  // what is met belongs to the last scene
    bool m_failed = false;
};

} // namespace Kel::Gltf
