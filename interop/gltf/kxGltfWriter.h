// Writes a scene as glTF.
#pragma once

#include "interop/gltf/kxGltfAnimation.h"
#include "interop/gltf/kxGltfData.h"
#include "interop/gltf/kxGltfGraph.h"
#include "interop/gltf/kxGltfImages.h"
#include "interop/gltf/kxGltfSkins.h"
#include "interop/gltf/kxGltfTextures.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxDirectory.h"
#include "platform/sg/kxAnimationDatabase.h"

#include <unordered_set>

namespace Kel::Gltf
{

/// Writes one file, and those beside it. What the scenes reach is collected first, then numbered, then written; each kind in
/// the order in which its objects were made, so that what came from a file keeps its order. Used once.
class kxGltfWriter
{
public:
    kxGltfWriter(const char* path, bool isBinary, const kxFileOptions& options);
    /// Write the bounding volumes of nodes as extras; not unless asked for.
    void setVolumesWritten(bool written) { m_writesVolumes = written; }
    /// Writes what the directory holds. On failure the reason has been reported and existing files are unchanged.
    bool write(const kxDirectory& directory);

private:
    /// Objects of one kind in the file: in the order met, then in that of their numbers.
    template <class T>
    struct Numbered
    {
        std::vector<const T*> objects;
        kxTSerialMap<uint32_t> numbers; // + 1

        bool add(const T* object)
        {
            uint32_t& number = numbers[object];
            if (number == 0)
            {
                objects.push_back(object);
                number = static_cast<uint32_t>(objects.size());
            }
            return number == objects.size();
        }
        bool has(const T* object) const { return object && numbers.get(object) != 0; }
        uint32_t operator[](const T* object) const { return numbers.get(object) - 1; }
        void sort();
    };

    // kxGltfWriter.cpp: collecting and numbering
    bool collect(const kxDirectory& directory);
    bool collectInfo(const kxInfo* info, kxStringRef name);
    bool collectUnused();
    bool collectReferred();
    void addReferences(const kxUserData* userData);
    bool addReferred(const kxObject* object);
    void addMaterialTextures(const kxGltfGraph::Material& material);
    void addTexture(const kxTextureAttr* texture);
    void addSkin(const kxSkin* skin);
    void addAnimation(const kxAnimation* animation);
    const kxObject* findBone(kxStringRef name);
    void number();
    bool indexOf(const kxObject* object, kxGltfKind& kind, uint32_t& index) const;
    std::vector<uint32_t> indicesOf(const kxObject* object, kxGltfKind& kind) const;

    // kxGltfWriterFile.cpp: the file as a whole
    bool writeJson();
    void writeAsset();
    void writeScenes();
    void writeExtensionLists();
    void writeRootExtensions();
    void writeBuffers();
    bool writeBinaryFile();
    bool writeTextFile();

    // kxGltfWriterNodes.cpp
    void writeNodes();
    void writeNode(uint32_t index, const uint32_t* children, size_t childCount);
    void writePlace(const kxGltfGraph::Node& node, const kxGltfGraph::More* more);
    std::string nameOf(const kxGltfGraph::Node& node, const kxGltfGraph::More* more);
    void writeCameras();
    void writeSkins();
    void writeAnimations();
    std::string lightsText();

    // kxGltfWriterMeshes.cpp: meshes and materials
    void writeMeshes();
    void writePrimitive(const kxGltfGraph::Primitive& primitive);
    void writeAttributes(const kxVertexArrayList& arrays);
    std::string variantsText(const kxGeometry& geometry);
    void writeMaterials();
    void writeMaterial(const kxGltfGraph::Material& material);
    using Binds = std::vector<const kxTextureBindAttr*>;
    void writeTextureUse(kxJsonText& json, const kxTextureBindAttr& bind);
    void writeWithTextures(kxJsonText& json, const kxJsonValue* value, const std::string& slot, const Binds& binds);
    void writeTextures();
    bool writeImages();
    bool writeImage(const kxImage& image, bool isFallback);

    kxGltfFaults m_faults;
    bool m_isBinary;
    bool m_writesVolumes = false;
    kxGltfGraph m_graph;
    kxGltfData m_data;
    kxGltfImages m_images;
    kxGltfTextures m_textureSources;
    kxWrittenSizes* m_sizes; // null when nobody asked
    kxGltfCarriedWriter m_carried;
    kxJsonText m_json;

    const kxGltfInfo* m_info = nullptr;
    std::vector<const kxAnimationDatabase*> m_databases;
    Numbered<kxCamera> m_cameras;
    Numbered<kxLightAttr> m_lights;
    Numbered<kxSkin> m_skins;
    kxGltfSkins m_skinCopies{m_graph};
    Numbered<kxAnimation> m_animations;
    std::unordered_map<const kxAnimation*, std::vector<kxGltfChannel>> m_channels; // of those that are written
    std::unordered_map<std::string_view, const kxNode*> m_bones; // by name, once a track has to be given its own
    kxGltfKeyWriter m_keys;
    Numbered<kxTextureAttr> m_textures;
    Numbered<kxImage> m_imageList;
    std::vector<const kxTextureAttr*> m_samplers; // one texture for each different sampler
    std::unordered_map<const kxTextureAttr*, uint32_t> m_samplerOf;

    // How far the parts of the graph have been looked at for references.
    size_t m_nodesSeen = 0, m_meshesSeen = 0, m_materialsSeen = 0;
    std::unordered_set<const kxUserData*> m_userDataSeen;
    std::vector<const kxObject*> m_referred;
    size_t m_referredSeen = 0;

    std::vector<uint32_t> m_nodeOrder, m_nodeNumber; // node of the graph by its number in the file, and back
    std::vector<uint32_t> m_meshOrder, m_meshNumber;
    std::vector<uint32_t> m_materialOrder, m_materialNumber;
    std::unordered_set<std::string> m_names; // of nodes, once copies need new ones
};

} // namespace Kel::Gltf
