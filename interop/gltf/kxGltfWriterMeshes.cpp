// Meshes, materials, textures and images.
#include "interop/gltf/kxGltfWriter.h"

#include "platform/core/kxWrittenSizes.h"

#include <algorithm>

namespace Kel::Gltf
{

void kxGltfWriter::writeMeshes()
{
    if (m_graph.meshes.empty())
        return;
    m_json.key("meshes");
    m_json.beginArray();
    for (const uint32_t index : m_meshOrder)
    {
        const kxGltfGraph::Mesh& mesh = m_graph.meshes[index];
        m_json.beginObject();
        if (!mesh.name.isEmpty())
            m_json.member("name", mesh.name.view());
        m_json.key("primitives");
        m_json.beginArray();
        for (const kxGltfGraph::Primitive& primitive : mesh.primitives)
            writePrimitive(primitive);
        m_json.endArray();
        if (mesh.source && !mesh.source->_weights->isEmpty())
        {
            m_json.key("weights");
            m_json.floats(mesh.source->_weights->getData(), mesh.source->_weights->getCount());
        }

        std::vector<kxStringRef> names;
        if (mesh.source)
            for (uint32_t i = 0; i < mesh.source->_targetNames->getCount(); ++i)
                names.push_back(mesh.source->_targetNames->get(i));
        else
            for (const kxMorphTarget* target : *mesh.primitives[0].data->_morphTargets)
                names.push_back(target ? target->_name : kxStringRef());
        kxGltfCarriedWriter::Own own;
        if (std::any_of(names.begin(), names.end(), [](kxStringRef name) { return !name.isNull(); }))
        {
            kxJsonText text;
            text.beginArray();
            for (const kxStringRef name : names)
                text.string(name.view());
            text.endArray();
            own.extras.emplace_back("targetNames", text.str());
        }
        const kxMesh* carrier = mesh.source ? mesh.source : mesh.partOf;
        m_carried.write(m_json, carrier ? carrier->_userData.get() : nullptr, own);
        m_json.endObject();
    }
    m_json.endArray();
}

void kxGltfWriter::writeAttributes(const kxVertexArrayList& arrays)
{
    m_json.beginObject();
    for (const kxVertexArray* array : arrays)
        if (array)
            m_json.member(array->_semantic.view(), uint64_t(m_data.addArray(array, kxGltfData::VERTICES,
                                                                            array->_semantic.view() == "POSITION")));
    m_json.endObject();
}

void kxGltfWriter::writePrimitive(const kxGltfGraph::Primitive& primitive)
{
    const kxGeometryAttr& data = *primitive.data;
    m_json.beginObject();
    m_json.key("attributes");
    writeAttributes(*data._arrays);
    if (data._indices)
        m_json.member("indices", uint64_t(m_data.addArray(data._indices, kxGltfData::INDICES, false)));
    if (primitive.material != kxGltfGraph::kNone)
        m_json.member("material", uint64_t(m_materialNumber[primitive.material]));
    if (data._primitiveMode != kxPrimitiveMode::TRIANGLES)
        m_json.member("mode", static_cast<uint64_t>(data._primitiveMode));
    if (!data._morphTargets->isEmpty())
    {
        m_json.key("targets");
        m_json.beginArray();
        for (const kxMorphTarget* target : *data._morphTargets)
            if (target)
                writeAttributes(*target->_arrays);
        m_json.endArray();
    }
    kxGltfCarriedWriter::Own own;
    if (primitive.geometry->_variants && !primitive.geometry->_variants->isEmpty())
        own.extensions.emplace_back("KHR_materials_variants", variantsText(*primitive.geometry));
    m_carried.write(m_json, primitive.geometry->_userData, own);
    m_json.endObject();
}

std::string kxGltfWriter::variantsText(const kxGeometry& geometry)
{
    kxJsonText json;
    json.beginObject();
    json.key("mappings");
    json.beginArray();
    for (const kxMaterialVariant* variant : *geometry._variants)
    {
        const uint32_t material = variant ? m_graph.addMaterial(*variant->_attrs) : kxGltfGraph::kNone;
        if (material == kxGltfGraph::kNone)
            continue;
        json.beginObject();
        json.key("variants");
        json.beginArray();
        for (uint32_t i = 0; i < variant->_variants->getCount(); ++i)
            json.integer(variant->_variants->get(i));
        json.endArray();
        json.member("material", uint64_t(m_materialNumber[material]));
        if (!variant->_name.isEmpty())
            json.member("name", variant->_name.view());
        m_carried.write(json, variant->_userData);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.str();
}

void kxGltfWriter::writeTextureUse(kxJsonText& json, const kxTextureBindAttr& bind)
{
    const std::string_view slot = bind._slot.view();
    json.beginObject();
    json.member("index", uint64_t(m_textures[bind._texture]));
    if (bind._texCoord != 0)
    {
        json.key("texCoord");
        json.integer(bind._texCoord);
    }
    if (bind._scale != 1)
        json.member(slot == "occlusionTexture" ? "strength" : "scale", bind._scale);
    kxGltfCarriedWriter::Own own;
    if (bind._hasTransform)
    {
        kxJsonText text;
        text.beginObject();
        if (bind._offset != kxVec2f(0, 0))
        {
            text.key("offset");
            text.floats(&bind._offset.x, 2);
        }
        if (bind._rotation != 0)
            text.member("rotation", bind._rotation);
        if (bind._uvScale != kxVec2f(1, 1))
        {
            text.key("scale");
            text.floats(&bind._uvScale.x, 2);
        }
        if (bind._transformTexCoord >= 0)
        {
            text.key("texCoord");
            text.integer(bind._transformTexCoord);
        }
        text.endObject();
        own.extensions.emplace_back("KHR_texture_transform", text.str());
    }
    m_carried.write(json, bind._userData, own);
    json.endObject();
}

// Writes the properties of an extension, its textures put back where they were taken from: a bind belongs here when its slot
// is this one and one step more, below a member when it has further steps.
void kxGltfWriter::writeWithTextures(kxJsonText& json, const kxJsonValue* value, const std::string& slot,
                                     const Binds& binds)
{
    Binds here;
    std::vector<std::pair<std::string, Binds>> below;
    for (const kxTextureBindAttr* bind : binds)
    {
        const std::string_view path = bind->_slot.view().substr(slot.size() + 1);
        const size_t slash = path.find('/');
        if (slash == std::string_view::npos)
        {
            here.push_back(bind);
            continue;
        }
        const std::string step(path.substr(0, slash));
        auto at = std::find_if(below.begin(), below.end(), [&](const auto& entry) { return entry.first == step; });
        if (at == below.end())
            at = below.insert(at, {step, {}});
        at->second.push_back(bind);
    }
    json.beginObject();
    if (value && value->IsObject())
        for (auto at = value->MemberBegin(); at != value->MemberEnd(); ++at)
        {
            const std::string key(textOf(at->name));
            const auto inner =
                std::find_if(below.begin(), below.end(), [&](const auto& entry) { return entry.first == key; });
            json.key(key);
            if (inner == below.end())
                writeValue(json, at->value);
            else
            {
                writeWithTextures(json, &at->value, slot + "/" + key, inner->second);
                below.erase(inner);
            }
        }
    for (const kxTextureBindAttr* bind : here)
    {
        json.key(bind->_slot.view().substr(slot.size() + 1));
        writeTextureUse(json, *bind);
    }
    for (const auto& [step, inner] : below)
    {
        json.key(step);
        writeWithTextures(json, nullptr, slot + "/" + step, inner);
    }
    json.endObject();
}

void kxGltfWriter::writeMaterial(const kxGltfGraph::Material& material)
{
    const kxMaterialAttr usual;
    const kxMaterialAttr& attr = material.attr ? *material.attr : usual;
    Binds core;
    std::vector<std::pair<std::string, Binds>> extensions; // in the order of the names, then of the binds
    for (uint32_t i = 0; i < attr._extensionNames->getCount(); ++i)
        extensions.emplace_back(attr._extensionNames->get(i).str(), Binds());
    for (const kxTextureBindAttr* bind : material.binds)
    {
        const std::string_view slot = bind->_slot.view();
        const size_t slash = slot.find('/');
        if (slash == std::string_view::npos)
        {
            core.push_back(bind);
            continue;
        }
        const std::string name(slot.substr(0, slash));
        auto at = std::find_if(extensions.begin(), extensions.end(), [&](const auto& e) { return e.first == name; });
        if (at == extensions.end())
            at = extensions.insert(at, {name, {}});
        at->second.push_back(bind);
    }
    auto writeCore = [&](const char* slot)
    {
        for (const kxTextureBindAttr* bind : core)
            if (bind->_slot.view() == slot)
            {
                m_json.key(slot);
                writeTextureUse(m_json, *bind);
            }
    };

    m_json.beginObject();
    if (!attr._name.isEmpty())
        m_json.member("name", attr._name.view());

    kxGltfCarriedWriter::Own own;
    std::string moreOfSurface;
    for (size_t i = 0; i < extensions.size(); ++i)
    {
        const auto& [name, binds] = extensions[i];
        const bool hasProperties = i < attr._extensionProperties->getCount() && i < attr._extensionNames->getCount();
        const std::string_view properties = hasProperties ? attr._extensionProperties->get(uint32_t(i)).view() : "{}";
        kxJsonDocument document;
        std::string fault;
        if (!document.parseCopy(properties, fault))
        {
            m_faults.warn("material extension whose text is broken is not written", name);
            continue;
        }
        if (name == "pbrMetallicRoughness")
        {
            moreOfSurface = properties;
            continue;
        }
        kxJsonText text;
        writeWithTextures(text, &document.getRoot(), name, binds);
        own.extensions.emplace_back(name, text.str());
    }

    const bool hasSurface = attr._baseColorFactor != usual._baseColorFactor || attr._metallicFactor != 1 ||
                            attr._roughnessFactor != 1 || !moreOfSurface.empty() ||
                            kxGltfCarriedWriter::hasInner(attr._userData, "pbrMetallicRoughness") ||
                            std::any_of(core.begin(), core.end(),
                                        [](const kxTextureBindAttr* bind) {
                                            return bind->_slot.view() == "baseColorTexture" ||
                                                   bind->_slot.view() == "metallicRoughnessTexture";
                                        });
    if (hasSurface)
    {
        m_json.key("pbrMetallicRoughness");
        m_json.beginObject();
        if (attr._baseColorFactor != usual._baseColorFactor)
        {
            m_json.key("baseColorFactor");
            m_json.floats(&attr._baseColorFactor.x, 4);
        }
        writeCore("baseColorTexture");
        if (attr._metallicFactor != 1)
            m_json.member("metallicFactor", attr._metallicFactor);
        if (attr._roughnessFactor != 1)
            m_json.member("roughnessFactor", attr._roughnessFactor);
        writeCore("metallicRoughnessTexture");
        if (kxJsonDocument document; !moreOfSurface.empty())
        {
            std::string fault;
            document.parseCopy(moreOfSurface, fault);
            for (auto at = document.getRoot().MemberBegin(); at != document.getRoot().MemberEnd(); ++at)
            {
                m_json.key(textOf(at->name));
                writeValue(m_json, at->value);
            }
        }
        m_carried.writeInner(m_json, attr._userData, "pbrMetallicRoughness");
        m_json.endObject();
    }
    writeCore("normalTexture");
    writeCore("occlusionTexture");
    writeCore("emissiveTexture");
    if (attr._emissiveFactor != usual._emissiveFactor)
    {
        m_json.key("emissiveFactor");
        m_json.floats(&attr._emissiveFactor.x, 3);
    }
    if (attr._alphaMode != usual._alphaMode)
        if (const char* mode = kxMetaEnumOf(kxAlphaMode()).getValueName(static_cast<int32_t>(attr._alphaMode)))
            m_json.member("alphaMode", std::string_view(mode));
    if (attr._alphaCutoff != usual._alphaCutoff)
        m_json.member("alphaCutoff", attr._alphaCutoff);
    if (attr._doubleSided)
    {
        m_json.key("doubleSided");
        m_json.boolean(true);
    }
    m_carried.write(m_json, attr._userData, own);
    m_json.endObject();
}

void kxGltfWriter::writeMaterials()
{
    if (m_graph.materials.empty())
        return;
    m_json.key("materials");
    m_json.beginArray();
    for (const uint32_t index : m_materialOrder)
        writeMaterial(m_graph.materials[index]);
    m_json.endArray();
}

void kxGltfWriter::writeTextures()
{
    if (!m_textures.objects.empty())
    {
        m_json.key("textures");
        m_json.beginArray();
    }
    for (const kxTextureAttr* texture : m_textures.objects)
    {
        m_json.beginObject();
        if (!texture->_name.isEmpty())
            m_json.member("name", texture->_name.view());
        if (texture->_hasSampler)
            m_json.member("sampler", uint64_t(m_samplerOf[texture]));
        kxGltfCarriedWriter::Own own;
        for (const kxGltfTextures::Source& source : m_textureSources.sourcesOf(*texture))
        {
            const auto number = source.isFallback ? static_cast<uint32_t>(m_imageList.objects.size()) +
                                                        m_textureSources.fallbackNumberOf(*source.image)
                                                  : m_imageList[source.image];
            if (source.extension.empty())
                m_json.member("source", uint64_t(number));
            else
                own.extensions.emplace_back(source.extension, kxFormat("{\"source\":%u}", number));
        }
        m_carried.write(m_json, texture->_userData, own);
        m_json.endObject();
    }
    if (!m_textures.objects.empty())
        m_json.endArray();
    if (m_samplers.empty())
        return;
    m_json.key("samplers");
    m_json.beginArray();
    for (const kxTextureAttr* sampler : m_samplers)
    {
        m_json.beginObject();
        if (!sampler->_samplerName.isEmpty())
            m_json.member("name", sampler->_samplerName.view());
        auto writeNumber = [&](const char* key, int32_t value, int32_t usual)
        {
            if (value != usual)
                m_json.member(key, static_cast<uint64_t>(value));
        };
        writeNumber("magFilter", sampler->_magFilter, 0);
        writeNumber("minFilter", sampler->_minFilter, 0);
        writeNumber("wrapS", sampler->_wrapS, 10497);
        writeNumber("wrapT", sampler->_wrapT, 10497);
        m_carried.write(m_json, sampler->_samplerUserData);
        m_json.endObject();
    }
    m_json.endArray();
}

bool kxGltfWriter::writeImages()
{
    if (m_imageList.objects.empty())
        return true;
    m_json.key("images");
    m_json.beginArray();
    // Numbers of images that were there stay: what is written a second time comes behind them.
    bool done = true;
    for (const kxImage* image : m_imageList.objects)
        done = done && writeImage(*image, false);
    for (const kxImage* image : m_textureSources.getFallbacks())
        done = done && writeImage(*image, true);
    m_json.endArray();
    return done;
}

bool kxGltfWriter::writeImage(const kxImage& image, bool isFallback)
{
    m_json.beginObject();
    if (!image._name.isEmpty())
        m_json.member("name", image._name.view());
    if (!m_images.writeSource(m_json, image, isFallback))
        return false;
    m_carried.write(m_json, image._userData);
    m_json.endObject();
    const kxImageFileForm& form = isFallback ? m_images.fallbackOf(image) : m_images.formOf(image);
    if (m_sizes && form.bytes)
        m_sizes->add(&image, form.bytes->getSize());
    return true;
}

} // namespace Kel::Gltf
