// Cost: one pass over the nodes and one over their children; memory per node beside the plan: 8 bytes.
#include "kxGltfWriter.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace Kel::Examples
{

namespace
{

/// A mesh drawn in one material: what glTF calls a mesh. Nodes that draw the same one share it.
class kxMeshUses
{
public:
    std::vector<std::pair<int32_t, int32_t>> uses; // mesh and material, in the order of their first node

    explicit kxMeshUses(const kxScenePlan& plan) : m_useOfNode(plan.size(), -1)
    {
        std::unordered_map<uint64_t, int32_t> known;
        for (size_t node = 0; node < plan.size(); ++node)
        {
            if (plan.mesh[node] < 0)
                continue;
            const uint64_t key =
                (static_cast<uint64_t>(plan.mesh[node]) << 32) | static_cast<uint32_t>(plan.material[node]);
            const auto [entry, isNew] = known.try_emplace(key, static_cast<int32_t>(uses.size()));
            if (isNew)
                uses.emplace_back(plan.mesh[node], plan.material[node]);
            m_useOfNode[node] = entry->second;
        }
    }

    int32_t useOf(size_t node) const { return m_useOfNode[node]; }

private:
    std::vector<int32_t> m_useOfNode;
};

class kxGltfWriter
{
public:
    kxGltfWriter(const kxScene& scene, const kxGltfLayout& layout, kxJsonStream& json)
        : m_scene(scene), m_layout(layout), m_meshUses(scene.plan), m_json(json)
    {
    }

    void write(std::string_view bufferName)
    {
        m_json.beginObject();
        m_json.key("asset");
        m_json.beginObject();
        m_json.member("version", "2.0");
        m_json.member("generator", "kxMakeScene");
        m_json.endObject();
        writeExtensions();
        writeNodes();
        writeMeshes();
        writeMaterials();
        writeTextures();
        writeAnimations();
        writeSkins();
        writeCameras();
        writeBuffer(bufferName);
        m_json.endObject();
    }

private:
    template <typename List, typename Write>
    void writeList(const char* key, const List& list, Write write)
    {
        if (list.empty())
            return;
        m_json.key(key);
        m_json.beginArray();
        for (size_t index = 0; index < list.size(); ++index)
        {
            m_json.beginObject();
            write(index);
            m_json.endObject();
        }
        m_json.endArray();
    }

    void writeExtensions()
    {
        bool strength = false;
        bool clearcoat = false;
        for (const kxSceneMaterial& material : m_scene.materials)
        {
            strength |= material.emissiveStrength != 1.0f;
            clearcoat |= material.clearcoat > 0.0f;
        }
        if (strength || clearcoat || !m_scene.lights.empty())
        {
            m_json.key("extensionsUsed");
            m_json.beginArray();
            if (!m_scene.lights.empty())
                m_json.text("KHR_lights_punctual");
            if (clearcoat)
                m_json.text("KHR_materials_clearcoat");
            if (strength)
                m_json.text("KHR_materials_emissive_strength");
            m_json.endArray();
        }
        if (m_scene.lights.empty())
            return;
        m_json.key("extensions");
        m_json.beginObject();
        m_json.key("KHR_lights_punctual");
        m_json.beginObject();
        writeList("lights", m_scene.lights,
                  [this](size_t index)
                  {
                      const kxSceneLight& light = m_scene.lights[index];
                      m_json.member("name", light.name);
                      m_json.member("type", light.type);
                      m_json.member("color", light.color.data(), 3);
                      m_json.member("intensity", light.intensity);
                      if (std::strcmp(light.type, "spot") == 0)
                      {
                          m_json.key("spot");
                          m_json.beginObject();
                          m_json.member("outerConeAngle", light.outerConeAngle);
                          m_json.endObject();
                      }
                  });
        m_json.endObject();
        m_json.endObject();
    }

    void writeNodes()
    {
        const kxScenePlan& plan = m_scene.plan;
        // Children of one parent are in the order of their indices: count, then hand out places.
        std::vector<uint32_t> childEnds(plan.size() + 1, 0);
        std::vector<uint32_t> children(plan.size());
        for (const int32_t parent : plan.parent)
            ++childEnds[static_cast<size_t>(parent) + 1]; // the roots, of parent -1, come first
        uint32_t total = 0;
        for (uint32_t& end : childEnds)
        {
            total += end;
            end = total - end;
        }
        for (size_t node = 0; node < plan.size(); ++node)
            children[childEnds[static_cast<size_t>(plan.parent[node]) + 1]++] = static_cast<uint32_t>(node);

        const auto writeChildren = [&](const char* key, size_t slot)
        {
            const uint32_t begin = slot == 0 ? 0 : childEnds[slot - 1];
            if (begin == childEnds[slot])
                return;
            m_json.key(key);
            m_json.beginArray();
            for (uint32_t index = begin; index < childEnds[slot]; ++index)
                m_json.integer(children[index]);
            m_json.endArray();
        };

        m_json.member("scene", int64_t(0));
        m_json.key("scenes");
        m_json.beginArray();
        m_json.beginObject();
        m_json.member("name", m_scene.name);
        writeChildren("nodes", 0);
        m_json.endObject();
        m_json.endArray();

        size_t attachment = 0;
        m_json.key("nodes");
        m_json.beginArray();
        for (size_t node = 0; node < plan.size(); ++node)
        {
            m_json.beginObject();
            m_json.member("name", plan.name(node));
            writePlacement(plan.placement(node));
            if (m_meshUses.useOf(node) >= 0)
                m_json.member("mesh", int64_t(m_meshUses.useOf(node)));
            writeChildren("children", node + 1);
            if (attachment < m_scene.attachments.size() &&
                static_cast<size_t>(m_scene.attachments[attachment].node) == node)
                writeAttachment(m_scene.attachments[attachment++]);
            m_json.endObject();
        }
        m_json.endArray();
    }

    void writePlacement(const kxPlacement& where)
    {
        const float* values = where.values.data();
        switch (where.kind)
        {
        case kxTransformKind::NONE: break;
        case kxTransformKind::TRANSLATION: m_json.member("translation", values, 3); break;
        case kxTransformKind::TRS:
            m_json.member("translation", values, 3);
            m_json.member("rotation", values + 3, 4);
            m_json.member("scale", values + 7, 3);
            break;
        case kxTransformKind::MATRIX: m_json.member("matrix", values, 16); break;
        }
    }

    void writeAttachment(const kxSceneAttachment& attachment)
    {
        if (attachment.camera >= 0)
            m_json.member("camera", int64_t(attachment.camera));
        if (attachment.skin >= 0)
            m_json.member("skin", int64_t(attachment.skin));
        if (attachment.light >= 0)
        {
            m_json.key("extensions");
            m_json.beginObject();
            m_json.key("KHR_lights_punctual");
            m_json.beginObject();
            m_json.member("light", int64_t(attachment.light));
            m_json.endObject();
            m_json.endObject();
        }
        if (!attachment.extras.empty())
        {
            m_json.key("extras");
            m_json.raw(attachment.extras);
        }
    }

    void writeMeshes()
    {
        writeList("meshes", m_meshUses.uses,
                  [this](size_t index)
                  {
                      const kxSceneMesh& mesh = m_scene.meshes[static_cast<size_t>(m_meshUses.uses[index].first)];
                      m_json.member("name", mesh.name);
                      bool morphs = false;
                      writeList("primitives", mesh.primitives,
                                [&](size_t part)
                                {
                                    const kxScenePrimitive& primitive = mesh.primitives[part];
                                    const kxGeometryAccessors& data =
                                        m_layout.geometries[static_cast<size_t>(primitive.geometry)];
                                    m_json.key("attributes");
                                    m_json.beginObject();
                                    writeAttribute("POSITION", data.positions);
                                    writeAttribute("NORMAL", data.normals);
                                    writeAttribute("TEXCOORD_0", data.uvs);
                                    writeAttribute("COLOR_0", data.colors);
                                    writeAttribute("JOINTS_0", data.joints);
                                    writeAttribute("WEIGHTS_0", data.weights);
                                    m_json.endObject();
                                    m_json.member("indices", int64_t(data.indices));
                                    const int32_t material =
                                        primitive.material >= 0 ? primitive.material : m_meshUses.uses[index].second;
                                    if (material >= 0)
                                        m_json.member("material", int64_t(material));
                                    if (data.morphPositions >= 0)
                                    {
                                        morphs = true;
                                        m_json.key("targets");
                                        m_json.beginArray();
                                        m_json.beginObject();
                                        writeAttribute("POSITION", data.morphPositions);
                                        m_json.endObject();
                                        m_json.endArray();
                                    }
                                });
                      if (morphs)
                      {
                          const float unmoved = 0.0f;
                          m_json.member("weights", &unmoved, 1);
                      }
                  });
    }

    void writeAttribute(const char* name, int accessor)
    {
        if (accessor >= 0)
            m_json.member(name, int64_t(accessor));
    }

    void writeMaterials()
    {
        writeList("materials", m_scene.materials,
                  [this](size_t index)
                  {
                      const kxSceneMaterial& material = m_scene.materials[index];
                      m_json.member("name", material.name);
                      m_json.key("pbrMetallicRoughness");
                      m_json.beginObject();
                      m_json.member("baseColorFactor", material.color.data(), 4);
                      if (material.texture >= 0)
                      {
                          m_json.key("baseColorTexture");
                          m_json.beginObject();
                          m_json.member("index", int64_t(material.texture));
                          m_json.endObject();
                      }
                      m_json.member("metallicFactor", material.metallic);
                      m_json.member("roughnessFactor", material.roughness);
                      m_json.endObject();
                      if (material.emissive != std::array<float, 3>{0, 0, 0})
                          m_json.member("emissiveFactor", material.emissive.data(), 3);
                      if (material.masked)
                      {
                          m_json.member("alphaMode", "MASK");
                          m_json.member("alphaCutoff", 0.5f);
                      }
                      if (material.doubleSided)
                      {
                          m_json.key("doubleSided");
                          m_json.boolean(true);
                      }
                      if (material.emissiveStrength != 1.0f || material.clearcoat > 0.0f)
                          writeMaterialExtensions(material);
                  });
    }

    void writeMaterialExtensions(const kxSceneMaterial& material)
    {
        m_json.key("extensions");
        m_json.beginObject();
        if (material.clearcoat > 0.0f)
        {
            m_json.key("KHR_materials_clearcoat");
            m_json.beginObject();
            m_json.member("clearcoatFactor", material.clearcoat);
            m_json.member("clearcoatRoughnessFactor", 0.0625f);
            m_json.endObject();
        }
        if (material.emissiveStrength != 1.0f)
        {
            m_json.key("KHR_materials_emissive_strength");
            m_json.beginObject();
            m_json.member("emissiveStrength", material.emissiveStrength);
            m_json.endObject();
        }
        m_json.endObject();
    }

    void writeTextures()
    {
        writeList("textures", m_scene.textures,
                  [this](size_t index)
                  {
                      const kxSceneTexture& texture = m_scene.textures[index];
                      m_json.member("name", texture.name);
                      m_json.member("source", int64_t(texture.image));
                      m_json.member("sampler", int64_t(texture.sampler));
                  });
        writeList("images", m_scene.images,
                  [this](size_t index)
                  {
                      m_json.member("name", m_scene.images[index].name);
                      m_json.member("mimeType", "image/png");
                      m_json.member("bufferView", static_cast<int64_t>(m_layout.imageViews[index]));
                  });
        if (m_scene.textures.empty())
            return;
        int32_t samplerCount = 0;
        for (const kxSceneTexture& texture : m_scene.textures)
            samplerCount = std::max(samplerCount, texture.sampler + 1);
        writeList("samplers", std::vector<int>(static_cast<size_t>(samplerCount)),
                  [this](size_t index)
                  {
                      const int64_t wrap = index == 2 ? 33071 : 10497;
                      m_json.member("magFilter", int64_t(9729));
                      m_json.member("minFilter", int64_t(9987));
                      m_json.member("wrapS", wrap);
                      m_json.member("wrapT", wrap);
                  });
    }

    void writeAnimations()
    {
        writeList("animations", m_scene.animations,
                  [this](size_t index)
                  {
                      const kxSceneAnimation& animation = m_scene.animations[index];
                      m_json.member("name", animation.name);
                      writeList("channels", animation.channels,
                                [&](size_t channel)
                                {
                                    m_json.member("sampler", static_cast<int64_t>(channel));
                                    m_json.key("target");
                                    m_json.beginObject();
                                    m_json.member("node", int64_t(animation.channels[channel].node));
                                    m_json.member("path", animation.channels[channel].path);
                                    m_json.endObject();
                                });
                      writeList("samplers", animation.channels,
                                [&](size_t channel)
                                {
                                    const auto [times, values] = m_layout.samplers[index][channel];
                                    m_json.member("input", int64_t(times));
                                    m_json.member("output", int64_t(values));
                                    m_json.member("interpolation", animation.channels[channel].interpolation);
                                });
                  });
    }

    void writeSkins()
    {
        writeList("skins", m_scene.skins,
                  [this](size_t index)
                  {
                      m_json.member("name", m_scene.skins[index].name);
                      m_json.member("inverseBindMatrices", int64_t(m_layout.skinMatrices[index]));
                      m_json.key("joints");
                      m_json.beginArray();
                      for (const int32_t joint : m_scene.skins[index].joints)
                          m_json.integer(joint);
                      m_json.endArray();
                  });
    }

    void writeCameras()
    {
        writeList("cameras", m_scene.cameras,
                  [this](size_t index)
                  {
                      const kxSceneCamera& camera = m_scene.cameras[index];
                      m_json.member("name", camera.name);
                      m_json.member("type", camera.perspective ? "perspective" : "orthographic");
                      m_json.key(camera.perspective ? "perspective" : "orthographic");
                      m_json.beginObject();
                      if (camera.perspective)
                      {
                          m_json.member("yfov", camera.size);
                      }
                      else
                      {
                          m_json.member("xmag", camera.size);
                          m_json.member("ymag", camera.size);
                      }
                      m_json.member("znear", camera.nearDistance);
                      m_json.member("zfar", camera.farDistance);
                      m_json.endObject();
                  });
    }

    void writeBuffer(std::string_view bufferName)
    {
        const kxGltfLayout& buffer = m_layout;
        const auto writeBounds = [this](const char* key, const std::vector<float>& values)
        {
            m_json.key(key);
            m_json.beginArray();
            for (const float value : values)
                m_json.number(static_cast<double>(value)); // every digit: bounds are compared with the data
            m_json.endArray();
        };
        writeList("accessors", buffer.accessors,
                  [&](size_t index)
                  {
                      const kxAccessor& accessor = buffer.accessors[index];
                      m_json.member("bufferView", static_cast<int64_t>(accessor.view));
                      m_json.member("componentType", int64_t(accessor.componentType));
                      m_json.member("count", static_cast<int64_t>(accessor.count));
                      m_json.member("type", accessor.type);
                      if (accessor.normalized)
                      {
                          m_json.key("normalized");
                          m_json.boolean(true);
                      }
                      if (!accessor.lowest.empty())
                      {
                          writeBounds("min", accessor.lowest);
                          writeBounds("max", accessor.highest);
                      }
                  });
        writeList("bufferViews", buffer.views,
                  [&](size_t index)
                  {
                      const kxBufferView& view = buffer.views[index];
                      m_json.member("buffer", int64_t(0));
                      m_json.member("byteOffset", static_cast<int64_t>(view.offset));
                      m_json.member("byteLength", static_cast<int64_t>(view.byteCount));
                      if (view.target != 0)
                          m_json.member("target", int64_t(view.target));
                  });
        if (buffer.bytes.empty())
            return;
        m_json.key("buffers");
        m_json.beginArray();
        m_json.beginObject();
        m_json.member("byteLength", static_cast<int64_t>(buffer.bytes.size()));
        if (!bufferName.empty())
            m_json.member("uri", bufferName);
        m_json.endObject();
        m_json.endArray();
    }

    const kxScene& m_scene;
    const kxGltfLayout& m_layout;
    kxMeshUses m_meshUses;
    kxJsonStream& m_json;
};

} // namespace

void writeGltf(const kxScene& scene, const kxGltfLayout& layout, std::string_view bufferName, kxJsonStream& json)
{
    kxGltfWriter(scene, layout, json).write(bufferName);
}

} // namespace Kel::Examples
