// Makes a scene from a glTF file.
#pragma once

#include "interop/gltf/kxGltfAnimation.h"
#include "interop/gltf/kxGltfArrays.h"
#include "interop/gltf/kxGltfInfo.h"
#include "platform/attrs/kxLightAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxDirectory.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxTransform.h"

#include <deque>

namespace Kel::Gltf
{

/// Reads one file. The objects of each kind are made in the order of their indices, so that the order by creation is that of
/// the file. Used once.
class kxGltfReader
{
public:
    kxGltfReader(const char* path, const kxFileOptions& options);
    /// Adds the scenes of the file, and what belongs to it as a whole, to the directory. On failure the reason has been
    /// reported and the directory is unchanged.
    bool read(kxDirectory& directory);

private:
    struct Material
    {
        kxSmartPointer<kxMaterialAttr> attr;
        std::vector<kxSmartPointer<kxTextureBindAttr>> binds;
        bool used = false;
    };
    struct Mesh
    {
        kxSmartPointer<kxMesh> mesh;
        bool used = false;
        size_t targetCount = 0; // morph targets
        int64_t lastJoint = -2; // largest joint that a vertex follows, -1 none, -2 not known
    };
    template <class T>
    struct Counted
    {
        kxSmartPointer<T> object;
        bool used = false;
    };

    /// A node as it stands in the file. The nodes are most of a large scene, so they are taken from the text one by one
    /// and kept short; one with more than a name, a place, a mesh and children keeps its JSON.
    struct NodeRecord
    {
        kxStringRef name;
        kxVec3f translation{0, 0, 0};
        float rotation[4] = {0, 0, 0, 1};
        kxVec3f scale{1, 1, 1};
        uint32_t mesh = UINT32_MAX;
        bool isObject = false;
        bool isPlaced = false;
        bool hasBrokenChildren = false;
        const kxJsonValue* json = nullptr; // null when all is above
    };

    bool readAll();
    void takeNode(const kxJsonValue& json, const std::function<const kxJsonValue*()>& keep);
    bool checkVersion(const kxJsonValue& root);
    bool checkExtensions(const kxJsonValue& root);
    /// A list of objects at the root; an empty one when the file has none. Null, with the file refused, when it is none.
    const kxJsonValue* listOf(const char* name);
    bool checkObjects(const kxJsonValue& list, const char* name);

    // kxGltfReader.cpp
    kxStringRef nameOf(const kxJsonValue& object, const char* what, uint32_t index);
    /// Index that a property gives; false when it is missing, or names nothing, for which there is a warning.
    bool readReference(const kxJsonValue& object, const char* key, size_t count, const char* kind,
                       const std::string& where, uint32_t& index);
    void readFloatMember(const kxJsonValue& object, const char* key, float& number, const std::string& where);
    void readFloatsMember(const kxJsonValue& object, const char* key, float* numbers, size_t count,
                          const std::string& where);
    void lock(kxObject* object, kxStringRef reason);
    void finishInfo();

    // kxGltfReaderMaterials.cpp
    bool readImages();
    bool readTextures();
    bool readMaterials();
    void readImageSource(kxImage& image, const kxJsonValue& json, const std::string& where);
    void readSampler(kxTextureAttr& texture, const kxJsonValue& sampler, uint32_t index);
    void readMaterial(Material& material, const kxJsonValue& json, uint32_t index);
    void readMaterialExtension(Material& material, const std::string& name, const kxJsonValue& json,
                               const std::string& where);
    void writeWithoutTextures(kxJsonText& text, const kxJsonValue& json, const std::string& slot, Material& material,
                              const std::string& where);
    void readTextureUse(Material& material, const std::string& slot, const kxJsonValue& json, const std::string& where);

    // kxGltfReaderMeshes.cpp
    bool readMeshes();
    bool readMesh(Mesh& mesh, const kxJsonValue& json, uint32_t index);
    bool readPrimitive(kxMesh& mesh, const kxJsonValue& json, const std::string& where);
    bool readAttributes(kxVertexArrayList& arrays, const kxJsonValue& json, const std::string& where,
                        const char*& fault);
    bool readVertexData(kxGeometryAttr& data, const kxJsonValue& json, const std::string& where, const char*& fault);
    void readVariants(kxGeometry& geometry, const kxJsonValue& json, const std::string& where);
    void takeTargetNames(kxMesh& mesh, const kxJsonValue& json, size_t targetCount);
    void appendMaterial(kxAttrList& attrs, uint32_t index);
    int64_t lastJointOf(Mesh& mesh);
    template <class Visit>
    static void forEachGeometry(const kxMesh& mesh, Visit visit);

    // kxGltfReaderNodes.cpp
    bool readCameras();
    bool readLights();
    bool makeNodes();
    bool readSkins();
    bool readNodes();
    bool readNode(uint32_t index);
    bool readWholeNode(const kxJsonValue& json, uint32_t index);
    void attachMesh(kxGroup& node, const kxJsonValue& json, const std::string& where);
    bool readInstances(kxSmartPointer<kxGroup>& outermost, const kxJsonValue& json, const std::string& where);
    bool linkNodes();
    void lockJointRoots();
    bool readScenes();
    bool readAnimations();

    kxGltfFaults m_faults;
    const kxFileOptions& m_options;
    kxGltfContainer m_container;
    kxGltfObjects m_objects;
    kxGltfCarriedReader m_carried;
    kxGltfArrays m_arrays;

    kxSmartPointer<kxGltfInfo> m_info = kxNew<kxGltfInfo>();
    kxSmartPointer<kxAnimationDatabase> m_database = kxNew<kxAnimationDatabase>();
    kxSmartPointer<kxDataPumpInfo> m_pumps = kxNew<kxDataPumpInfo>();
    std::vector<kxSmartPointer<kxSceneInfo>> m_scenes;
    std::vector<Counted<kxImage>> m_images;
    std::vector<bool> m_usedSamplers;
    std::vector<Counted<kxTextureAttr>> m_textures;
    std::vector<Material> m_materials;
    std::vector<Counted<kxCamera>> m_cameras;
    std::vector<Counted<kxLightAttr>> m_lights;
    std::vector<Mesh> m_meshes;
    std::vector<kxSmartPointer<kxSkin>> m_skins; // null for one that cannot be used
    std::vector<NodeRecord> m_nodeRecords;
    std::vector<kxSmartPointer<kxGroup>> m_nodes;
    std::vector<uint32_t> m_childStart; // children of node i: m_children from m_childStart[i] to m_childStart[i + 1]
    std::vector<uint32_t> m_children;
    std::vector<bool> m_isChild; // of another node
    kxTSerialMap<bool> m_locked;
    std::deque<std::vector<std::string_view>> m_knownExtensions; // of materials, until the carried ones are finished
    std::deque<kxKnownKeys> m_knownKeys;
};

} // namespace Kel::Gltf
