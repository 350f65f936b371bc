#include "interop/gltf/kxGltfReader.h"

#include <algorithm>
#include <charconv>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kRootMembers[] = {"asset",
                                             "scene",
                                             "scenes",
                                             "nodes",
                                             "meshes",
                                             "accessors",
                                             "bufferViews",
                                             "buffers",
                                             "materials",
                                             "textures",
                                             "images",
                                             "samplers",
                                             "skins",
                                             "animations",
                                             "cameras",
                                             "extensionsUsed",
                                             "extensionsRequired"};
constexpr std::string_view kRootExtensions[] = {"KHR_lights_punctual/lights"};
const kxKnownKeys kRootKeys = {"file", kRootMembers, kRootExtensions, true};

/// Extensions without which nothing can be drawn, and for which there is no decoder here.
constexpr std::string_view kUndecodable[] = {"KHR_draco_mesh_compression", "EXT_meshopt_compression",
                                             "KHR_meshopt_compression"};

/// Extensions that are turned into fields, or whose meaning stays true when they are carried.
constexpr std::string_view kUnderstood[] = {
    "KHR_lights_punctual",   "KHR_materials_",   "KHR_mesh_quantization", "KHR_texture_transform",
    "KHR_texture_basisu",    "EXT_texture_webp", "MSFT_texture_dds",      "EXT_mesh_gpu_instancing",
    "KHR_animation_pointer", "KHR_node_",        "KHR_interactivity",     "KHR_xmp"};

template <size_t N>
bool isIn(const std::string_view (&names)[N], std::string_view name)
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

} // namespace

kxGltfReader::kxGltfReader(const char* path, const kxFileOptions& options)
    : m_faults(path),
      m_options(options),
      m_carried(m_faults, m_objects),
      m_arrays(m_container, m_options, m_faults, m_carried)
{
}

bool kxGltfReader::read(kxDirectory& directory)
{
    bool done = false;
    try
    {
        const kxJsonDocument::Listener nodes{"nodes", [this](const kxJsonValue& json, const auto& keep)
                                             { takeNode(json, keep); }};
        done = m_container.open(m_faults, nodes) && readAll();
    }
    catch (const std::bad_alloc&)
    {
        m_faults.refuse("does not fit into memory");
    }
    if (!done || m_faults.isRefused())
        return false;
    for (kxSceneInfo* scene : m_scenes)
        directory.addEntry(scene, scene->getName());
    directory.addEntry(m_database, "animations");
    directory.addEntry(m_pumps, "pumps");
    directory.addEntry(m_info, "gltf");
    directory.setInfosAreRoots();
    m_faults.reportWarnings();
    return true;
}

bool kxGltfReader::readAll()
{
    const kxJsonValue& root = m_container.json.getRoot();
    if (!checkVersion(root) || !checkExtensions(root) || !m_arrays.prepare())
        return false;
    m_objects.loadAccessor = [this](uint32_t index) { return m_arrays.get(index, "VALUES"); };
    m_objects.loadBufferView = [this](uint32_t index) { return m_arrays.getView(index); };
    m_info->_userData = m_carried.read(root, kRootKeys);
    // Nodes are made before all that refers to them; what they refer to is made before they are filled.
    if (!readImages() || !readTextures() || !readMaterials() || !readCameras() || !readLights() || !makeNodes() ||
        !readMeshes() || !readSkins() || !readNodes() || !linkNodes() || !readScenes() || !readAnimations())
        return false;
    m_carried.finish();
    for (kxObject* object : m_carried.getReferenced())
        if (kindOf(object) != kxGltfKind::BUFFER_VIEW)
            lock(object, "extension");
    finishInfo();
    return !m_faults.isRefused();
}

bool kxGltfReader::checkVersion(const kxJsonValue& root)
{
    const kxJsonValue* asset = findMember(root, "asset");
    const kxJsonValue* version = asset ? findMember(*asset, "version") : nullptr;
    if (!version || !version->IsString())
        return m_faults.refuse("gives no version of glTF");
    for (const char* key : {"version", "minVersion"})
    {
        const kxJsonValue* value = findMember(*asset, key);
        if (!value || !value->IsString())
            continue;
        const std::string_view text = textOf(*value);
        uint32_t major = 0, minor = 0;
        const char* end = text.data() + text.size();
        const auto first = std::from_chars(text.data(), end, major);
        const bool pointed = first.ec == std::errc() && first.ptr != end && *first.ptr == '.';
        const auto second = pointed ? std::from_chars(first.ptr + 1, end, minor) : first;
        if (!pointed || second.ec != std::errc() || second.ptr != end)
            return m_faults.refuse("gives \"%.*s\" as version of glTF",
                                   static_cast<int>(std::min<size_t>(text.size(), 40)), text.data());
        if (major != 2)
            return m_faults.refuse("is glTF %u.%u, wanted 2.0", major, minor);
        if (minor != 0 && key == std::string_view("minVersion"))
            return m_faults.refuse("wants readers of glTF %u.%u; this one knows 2.0", major, minor);
    }
    m_info->_asset = kxStringRef(printValue(*asset));
    return true;
}

bool kxGltfReader::checkExtensions(const kxJsonValue& root)
{
    for (const char* key : {"extensionsUsed", "extensionsRequired"})
    {
        const bool required = key[10] == 'R';
        const kxJsonValue* names = findMember(root, key);
        if (!names)
            continue;
        if (!names->IsArray())
            return m_faults.refuse("%s is not an array", key);
        for (auto at = names->Begin(); at != names->End(); ++at)
        {
            if (!at->IsString())
                return m_faults.refuse("%s holds something that is no name", key);
            const std::string_view name = textOf(*at);
            if (isIn(kUndecodable, name))
            {
                if (required)
                    return m_faults.refuse("needs %s, which this program cannot decode", at->GetString());
                continue; // the data are written uncompressed
            }
            (required ? m_info->_extensionsRequired : m_info->_extensionsUsed)->append(kxStringRef(name));
            const bool understood =
                std::any_of(std::begin(kUnderstood), std::end(kUnderstood),
                            [&](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; });
            if (required && !understood)
            {
                const std::string kind =
                    kxFormat("extension %s is required and not known; it is carried as it is", at->GetString());
                m_faults.warn(kind.c_str(), "");
            }
        }
    }
    return true;
}

const kxJsonValue* kxGltfReader::listOf(const char* name)
{
    static const kxJsonValue* const none = new kxJsonValue(rapidjson::kArrayType);
    const kxJsonValue* list = findMember(m_container.json.getRoot(), name);
    if (!list)
        return none;
    return checkObjects(*list, name) ? list : nullptr;
}

bool kxGltfReader::checkObjects(const kxJsonValue& list, const char* name)
{
    if (!list.IsArray())
        return m_faults.refuse("%s is not an array", name);
    for (rapidjson::SizeType i = 0; i < list.Size(); ++i)
        if (!list[i].IsObject())
            return m_faults.refuse("%s[%u] is not an object", name, i);
    return true;
}

kxStringRef kxGltfReader::nameOf(const kxJsonValue& object, const char* what, uint32_t index)
{
    const kxJsonValue* name = findMember(object, "name");
    if (name && name->IsString())
        return kxStringRef(textOf(*name));
    if (name)
        m_faults.warn("name is not text and is left out", kxFormat("%s %u", what, index));
    return kxStringRef();
}

bool kxGltfReader::readReference(const kxJsonValue& object, const char* key, size_t count, const char* kind,
                                 const std::string& where, uint32_t& index)
{
    const kxJsonValue* value = findMember(object, key);
    if (!value)
        return false;
    if (readIndex(*value, index) && index < count)
        return true;
    const std::string text = kxFormat("%s that does not exist is left out", kind);
    m_faults.warn(text.c_str(), where);
    return false;
}

void kxGltfReader::readFloatMember(const kxJsonValue& object, const char* key, float& number, const std::string& where)
{
    const kxJsonValue* value = findMember(object, key);
    if (value && !readFloat(*value, number))
        m_faults.warn("property is not a usable number and keeps its default", where + ", " + key);
}

void kxGltfReader::readFloatsMember(const kxJsonValue& object, const char* key, float* numbers, size_t count,
                                    const std::string& where)
{
    const kxJsonValue* value = findMember(object, key);
    float read[16];
    if (!value)
        return;
    if (readFloats(*value, read, count))
        std::copy(read, read + count, numbers);
    else
        m_faults.warn("property is not a usable list of numbers and keeps its default", where + ", " + key);
}

void kxGltfReader::lock(kxObject* object, kxStringRef reason)
{
    bool& locked = m_locked[object];
    if (locked)
        return;
    locked = true;
    auto pump = kxNew<kxDataPump>();
    pump->_name = reason;
    pump->_destObj = object;
    m_pumps->_list->append(pump);
}

void kxGltfReader::finishInfo()
{
    for (uint32_t i = 0; i < m_nodes.size(); ++i)
        if (m_nodes[i]->getParentCount() == 0)
            m_info->_unusedNodes->append(m_nodes[i]);
    for (const Mesh& mesh : m_meshes)
        if (!mesh.used)
            m_info->_unusedMeshes->append(mesh.mesh);
    for (const auto& camera : m_cameras)
        if (!camera.used)
            m_info->_unusedCameras->append(camera.object);
    for (const auto& light : m_lights)
        if (!light.used)
            m_info->_unusedLights->append(light.object);
    for (uint32_t i = 0; i < m_materials.size(); ++i)
        if (!m_materials[i].used)
        {
            auto set = kxNew<kxAttrSet>();
            appendMaterial(*set->_attrs, i);
            m_info->_unusedMaterials->append(set);
        }
    for (const auto& texture : m_textures)
        if (!texture.used)
            m_info->_unusedTextures->append(texture.object);
    for (const auto& image : m_images)
        if (!image.used)
            m_info->_unusedImages->append(image.object);
    if (const kxJsonValue* samplers = findMember(m_container.json.getRoot(), "samplers"))
        for (uint32_t i = 0; i < m_usedSamplers.size(); ++i)
            if (!m_usedSamplers[i])
            {
                auto sampler = kxNew<kxTextureAttr>();
                readSampler(*sampler, (*samplers)[i], i);
                m_info->_unusedSamplers->append(sampler);
            }
    for (uint32_t i = 0; i < m_arrays.getAccessorCount(); ++i)
        if (!m_arrays.isUsed(i))
        {
            kxVertexArray* array = m_arrays.get(i, "VALUES");
            if (!array)
                return;
            m_info->_unusedArrays->append(array);
        }
    m_carried.finish(); // of the unused things, which may bring buffer views into use
    m_info->_bufferUserData = m_arrays.takeBufferData(m_info->_bufferName);
    m_carried.finish();
    for (const uint32_t index : m_arrays.findUnusedViews())
        if (kxGltfBufferView* view = m_arrays.getView(index))
            m_info->_unusedViews->append(view);
    m_carried.finish();
    m_arrays.warnOfLost();
}

} // namespace Kel::Gltf
