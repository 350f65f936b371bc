// The file as a whole: its JSON text, its binary part, and how both reach the disk.
#include "interop/gltf/kxGltfWriter.h"

#include "interop/gltf/kxGltfContainer.h"
#include "interop/gltf/kxGltfImageType.h"
#include "interop/gltf/kxGltfUri.h"
#include "platform/core/kxAtomicFile.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

// Extensions without which a reader would draw something else.
constexpr std::string_view kNeeded[] = {"KHR_mesh_quantization", "EXT_mesh_gpu_instancing"};

} // namespace

bool kxGltfWriter::writeJson()
{
    m_json.beginObject();
    writeAsset();
    writeScenes();
    writeNodes();
    writeMeshes();
    writeMaterials();
    writeTextures();
    if (!writeImages())
        return false;
    writeCameras();
    writeSkins();
    writeAnimations();
    writeRootExtensions();
    if (m_info)
        for (const kxVertexArray* array : *m_info->_unusedArrays)
            if (array)
                m_data.addArray(array, kxGltfData::OTHER, false);
    if (m_info)
        for (const kxGltfBufferView* view : *m_info->_unusedViews)
            if (view)
                m_data.addView(view);
    m_data.writeLists(m_json, m_carried, m_info ? m_info->_bufferUserData.get() : nullptr);
    writeBuffers();
    writeExtensionLists();
    m_json.endObject();
    return m_data.getFault().empty() || m_faults.refuse("cannot be written: %s", m_data.getFault().c_str());
}

void kxGltfWriter::writeAsset()
{
    kxJsonDocument document;
    std::string fault;
    m_json.key("asset");
    if (m_info && !m_info->_asset.isEmpty() && document.parseCopy(m_info->_asset.view(), fault) &&
        findMember(document.getRoot(), "version"))
        return m_json.raw(m_info->_asset.view());
    m_json.beginObject();
    m_json.member("version", "2.0");
    m_json.member("generator", "KXOpt");
    m_json.endObject();
}

void kxGltfWriter::writeScenes()
{
    const bool implied = m_info && m_info->_impliedScene && m_graph.scenes.size() == 1;
    if (m_graph.scenes.empty() || implied)
        return;
    if (m_info && m_info->_defaultScene)
        for (uint32_t i = 0; i < m_graph.scenes.size(); ++i)
            if (m_graph.scenes[i].info == m_info->_defaultScene)
                m_json.member("scene", uint64_t(i));
    m_json.key("scenes");
    m_json.beginArray();
    for (const kxGltfGraph::Scene& scene : m_graph.scenes)
    {
        m_json.beginObject();
        if (!scene.name.isEmpty())
            m_json.member("name", scene.name.view());
        if (!scene.roots.empty())
        {
            m_json.key("nodes");
            m_json.beginArray();
            for (const uint32_t root : scene.roots)
                m_json.unsignedInteger(m_nodeNumber[root]);
            m_json.endArray();
        }
        if (scene.info)
            m_carried.write(m_json, scene.info->_userData);
        m_json.endObject();
    }
    m_json.endArray();
}

void kxGltfWriter::writeRootExtensions()
{
    kxGltfCarriedWriter::Own own;
    if (!m_lights.objects.empty())
        own.extensions.emplace_back("KHR_lights_punctual", lightsText());
    m_carried.write(m_json, m_info ? m_info->_userData.get() : nullptr, own);
}

void kxGltfWriter::writeExtensionLists()
{
    // What the source file listed stays in its order; what has come to be used is added.
    std::vector<std::string> used, required;
    auto add = [](std::vector<std::string>& names, std::string_view name)
    {
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.emplace_back(name);
    };
    if (m_info)
    {
        for (uint32_t i = 0; i < m_info->_extensionsUsed->getCount(); ++i)
            add(used, m_info->_extensionsUsed->get(i).view());
        for (uint32_t i = 0; i < m_info->_extensionsRequired->getCount(); ++i)
            add(required, m_info->_extensionsRequired->get(i).view());
    }
    for (const std::string& name : m_carried.getUsed())
    {
        const bool isNew = std::find(used.begin(), used.end(), name) == used.end();
        if (isNew && std::find(std::begin(kNeeded), std::end(kNeeded), name) != std::end(kNeeded))
            add(required, name);
        add(used, name);
    }
    for (const std::string& name : m_textureSources.getRequired())
        add(required, name);
    if (m_textureSources.hasNewImages())
    {
        // Images that became another kind of file may have been the last to need an extension.
        const auto isOver = [&](const std::string& name)
        {
            return std::find(std::begin(kImageSourceExtensions), std::end(kImageSourceExtensions), name) !=
                       std::end(kImageSourceExtensions) &&
                   !m_textureSources.getUsed().contains(name) && !m_carried.getUsed().contains(name);
        };
        std::erase_if(used, isOver);
        std::erase_if(required, isOver);
    }
    auto writeNames = [&](const char* key, const std::vector<std::string>& names)
    {
        if (names.empty())
            return;
        m_json.key(key);
        m_json.beginArray();
        for (const std::string& name : names)
            m_json.string(name);
        m_json.endArray();
    };
    writeNames("extensionsUsed", used);
    writeNames("extensionsRequired", required);
}

void kxGltfWriter::writeBuffers()
{
    if (m_data.getByteCount() == 0)
        return;
    m_json.key("buffers");
    m_json.beginArray();
    m_json.beginObject();
    m_json.member("byteLength", m_data.getByteCount());
    if (!m_isBinary)
    {
        const std::string& path = m_faults.getPath();
        const std::string name = path.substr(folderOf(path).size());
        m_json.member("uri", encodePercent(name.substr(0, name.rfind('.')) + ".bin"));
    }
    if (m_info)
    {
        if (!m_info->_bufferName.isEmpty())
            m_json.member("name", m_info->_bufferName.view());
        m_carried.write(m_json, m_info->_bufferUserData);
    }
    m_json.endObject();
    m_json.endArray();
}

bool kxGltfWriter::writeBinaryFile()
{
    m_json.pad((4 - m_json.getSize() % 4) % 4);
    const uint64_t binBytes = m_data.getByteCount();
    const uint64_t total =
        kGlbHeaderBytes + kGlbChunkHeaderBytes + m_json.getSize() + (binBytes ? kGlbChunkHeaderBytes + binBytes : 0);
    if (total > UINT32_MAX)
        return m_faults.refuse("would be %llu bytes long, binary glTF ends at 4294967295; write .gltf instead",
                               static_cast<unsigned long long>(total));
    kxAtomicFile file;
    if (!file.open(m_faults.getPath().c_str()))
        return m_faults.refuseReported();
    auto write = [&](const void* bytes, uint64_t count) { return file.write(bytes, count); };
    const uint32_t head[] = {kGlbMagic, 2, static_cast<uint32_t>(total), static_cast<uint32_t>(m_json.getSize()),
                             kGlbJsonChunk};
    const uint32_t binHead[] = {static_cast<uint32_t>(binBytes), kGlbBinChunk};
    const bool done =
        write(head, sizeof head) &&
        m_json.forEachPiece([&](const std::string& piece) { return write(piece.data(), piece.size()); }) &&
        (binBytes == 0 || (write(binHead, sizeof binHead) && m_data.writeBytes(write))) && file.commit();
    return done || m_faults.refuseReported();
}

bool kxGltfWriter::writeTextFile()
{
    const std::string& path = m_faults.getPath();
    const size_t dot = path.rfind('.');
    const std::string binPath = path.substr(0, dot > folderOf(path).size() ? dot : path.size()) + ".bin";
    kxAtomicFile file, binFile;
    // Everything is on disk before the first name is put in place; the scene's own comes last.
    bool done =
        file.open(path.c_str()) && m_json.forEachPiece([&](const std::string& piece) { return file.write(piece); });
    if (done && m_data.getByteCount())
        done = binFile.open(binPath.c_str()) &&
               m_data.writeBytes([&](const void* bytes, uint64_t count) { return binFile.write(bytes, count); });
    if (!done)
        return m_faults.refuseReported();
    if (!m_images.commit() || (m_data.getByteCount() && !binFile.commit()) || !file.commit())
        return m_faults.refuseReported();
    return true;
}

} // namespace Kel::Gltf
