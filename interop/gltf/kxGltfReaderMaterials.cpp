// Images, textures and materials.
#include "interop/gltf/kxGltfReader.h"

#include "interop/gltf/kxGltfImageType.h"
#include "interop/gltf/kxGltfUri.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kImageMembers[] = {"name", "uri", "mimeType", "bufferView"};
constexpr std::string_view kSamplerMembers[] = {"name", "magFilter", "minFilter", "wrapS", "wrapT"};
constexpr std::string_view kTextureMembers[] = {"name", "source", "sampler"};
constexpr std::string_view kMaterialMembers[] = {
    "name",      "pbrMetallicRoughness", "normalTexture", "occlusionTexture", "emissiveTexture", "emissiveFactor",
    "alphaMode", "alphaCutoff",          "doubleSided"};
// Where the other properties of the surface hold references.
constexpr std::string_view kLinkedMaterialMembers[] = {"name",
                                                       "pbrMetallicRoughness/baseColorFactor",
                                                       "pbrMetallicRoughness/baseColorTexture",
                                                       "pbrMetallicRoughness/metallicFactor",
                                                       "pbrMetallicRoughness/roughnessFactor",
                                                       "pbrMetallicRoughness/metallicRoughnessTexture",
                                                       "normalTexture",
                                                       "occlusionTexture",
                                                       "emissiveTexture",
                                                       "emissiveFactor",
                                                       "alphaMode",
                                                       "alphaCutoff",
                                                       "doubleSided"};
constexpr std::string_view kPlainUse[] = {"index", "texCoord"};
constexpr std::string_view kScaledUse[] = {"index", "texCoord", "scale"};
constexpr std::string_view kStrengthUse[] = {"index", "texCoord", "strength"};
constexpr std::string_view kUseExtensions[] = {"KHR_texture_transform/offset", "KHR_texture_transform/scale",
                                               "KHR_texture_transform/rotation", "KHR_texture_transform/texCoord"};
constexpr std::string_view kTextureExtensions[] = {"EXT_texture_webp/source", "KHR_texture_basisu/source",
                                                   "MSFT_texture_dds/source", "EXT_texture_avif/source"};
static_assert(std::size(kTextureExtensions) == std::size(kImageSourceExtensions));

const kxKnownKeys kImageKeys = {"image", kImageMembers, {}};
const kxKnownKeys kSamplerKeys = {"sampler", kSamplerMembers, {}};
const kxKnownKeys kTextureKeys = {"texture", kTextureMembers, kTextureExtensions, true};
const kxKnownKeys kPlainUseKeys = {"texture use", kPlainUse, kUseExtensions, true};
const kxKnownKeys kScaledUseKeys = {"texture use", kScaledUse, kUseExtensions, true};
const kxKnownKeys kStrengthUseKeys = {"texture use", kStrengthUse, kUseExtensions, true};

} // namespace

bool kxGltfReader::readImages()
{
    const kxJsonValue* list = listOf("images");
    if (!list)
        return false;
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        auto image = kxNew<kxImage>();
        image->_name = nameOf(json, "image", i);
        image->_userData = m_carried.read(json, kImageKeys);
        if (const kxJsonValue* type = findMember(json, "mimeType"); type && type->IsString())
            image->_mimeType = kxStringRef(textOf(*type));
        readImageSource(*image, json, kxFormat("image %u", i));
        const kxJsonValue* uri = findMember(json, "uri");
        const bool isFromText = uri && uri->IsString() && isDataUri(textOf(*uri));
        if (m_faults.isRefused())
            return false;
        if (image->_encoded)
            if (const kxStringRef found = detectImageType(image->_encoded->getData(), image->_encoded->getSize());
                image->_mimeType.isEmpty() || (isFromText && !found.isEmpty()))
                image->_mimeType = found; // what stands in a data URI is often not what it says
        m_images.push_back({image});
        m_objects.lists[static_cast<size_t>(kxGltfKind::IMAGE)].push_back(image);
    }
    return true;
}

void kxGltfReader::readImageSource(kxImage& image, const kxJsonValue& json, const std::string& where)
{
    const kxJsonValue* uri = findMember(json, "uri");
    std::string fault;
    if (uri && uri->IsString() && isDataUri(textOf(*uri)))
    {
        std::string mediaType;
        m_info->_imagesInText = true;
        image._encoded = decodeDataUri(textOf(*uri), mediaType, fault);
        if (!mediaType.empty() && image._mimeType.isEmpty())
            image._mimeType = kxStringRef(mediaType);
    }
    else if (uri && uri->IsString())
    {
        image._uri = kxStringRef(textOf(*uri));
        image._encoded = m_arrays.readFile(textOf(*uri), where, fault);
        fault = kxFormat("\"%s\" %s", image._uri.c_str(), fault.c_str());
    }
    else if (const kxJsonValue* view = findMember(json, "bufferView"))
    {
        uint32_t index = 0;
        fault = "buffer view does not exist";
        if (readIndex(*view, index))
            image._encoded = m_arrays.getViewBytes(index);
    }
    else
        fault = "names neither a file nor a buffer view";
    if (!image._encoded && !m_faults.isRefused())
        m_faults.warn("image is missing; the scene is loaded without it", where + ": " + fault);
}

void kxGltfReader::readSampler(kxTextureAttr& texture, const kxJsonValue& sampler, uint32_t index)
{
    texture._hasSampler = true;
    texture._samplerName = nameOf(sampler, "sampler", index);
    texture._samplerUserData = m_carried.read(sampler, kSamplerKeys);
    auto readNumber = [&](const char* key, int32_t& number)
    {
        uint32_t value = 0;
        const kxJsonValue* json = findMember(sampler, key);
        if (json && readIndex(*json, value) && value <= 0xffff)
            number = static_cast<int32_t>(value);
        else if (json)
            m_faults.warn("property is not a usable number and keeps its default", kxFormat("sampler %u", index));
    };
    readNumber("magFilter", texture._magFilter);
    readNumber("minFilter", texture._minFilter);
    readNumber("wrapS", texture._wrapS);
    readNumber("wrapT", texture._wrapT);
    // The filters that read from smaller copies of the image stand together.
    if (texture._minFilter >= 9984 && texture._minFilter <= 9987)
        texture._flags |= kxTextureAttr::MIPMAPPED;
}

bool kxGltfReader::readTextures()
{
    const kxJsonValue* samplers = listOf("samplers");
    const kxJsonValue* list = samplers ? listOf("textures") : nullptr;
    if (!list)
        return false;
    m_usedSamplers.resize(samplers->Size());
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        const kxJsonValue& json = (*list)[i];
        const std::string where = kxFormat("texture %u", i);
        auto texture = kxNew<kxTextureAttr>();
        texture->_name = nameOf(json, "texture", i);
        texture->_userData = m_carried.read(json, kTextureKeys);
        uint32_t index = 0;
        if (readReference(json, "source", m_images.size(), "image", where, index))
        {
            m_images[index].used = true;
            texture->_imageList->append(m_images[index].object);
            texture->_imageExtensions->append("");
        }
        const kxJsonValue* extensions = findMember(json, "extensions");
        for (const std::string_view name : kImageSourceExtensions)
            if (const kxJsonValue* extension = extensions ? findMember(*extensions, name) : nullptr)
            {
                if (!readReference(*extension, "source", m_images.size(), "image", where, index))
                    continue;
                m_images[index].used = true;
                texture->_imageList->append(m_images[index].object);
                texture->_imageExtensions->append(kxStringRef(name));
            }
        if (readReference(json, "sampler", samplers->Size(), "sampler", where, index))
        {
            readSampler(*texture, (*samplers)[index], index);
            m_usedSamplers[index] = true;
        }
        m_textures.push_back({texture});
        m_objects.lists[static_cast<size_t>(kxGltfKind::TEXTURE)].push_back(texture);
    }
    return true;
}

void kxGltfReader::readTextureUse(Material& material, const std::string& slot, const kxJsonValue& json,
                                  const std::string& where)
{
    uint32_t index = 0;
    if (!json.IsObject() || !findMember(json, "index") ||
        !readReference(json, "index", m_textures.size(), "texture", where, index))
    {
        if (!json.IsObject() || !findMember(json, "index"))
            m_faults.warn("use of a texture that names none is left out", where + ", " + slot);
        return;
    }
    auto bind = kxNew<kxTextureBindAttr>();
    bind->_slot = kxStringRef(slot);
    bind->_unit = kxTextureBindAttr::unitOfSlot(bind->_slot);
    bind->_texture = m_textures[index].object;
    m_textures[index].used = true;

    const bool strength = slot == "occlusionTexture";
    const bool scale = slot.size() >= 13 && slot.compare(slot.size() - 13, 13, "normalTexture") == 0;
    const bool innerScale = slot.size() >= 13 && slot.compare(slot.size() - 13, 13, "NormalTexture") == 0;
    const char* factor = strength ? "strength" : scale || innerScale ? "scale" : nullptr;
    if (factor)
        readFloatMember(json, factor, bind->_scale, where + ", " + slot);
    auto readTexCoord = [&](const kxJsonValue& object, int32_t& texCoord)
    {
        uint32_t number = 0;
        const kxJsonValue* value = findMember(object, "texCoord");
        if (value && readIndex(*value, number) && number < 0x10000)
            texCoord = static_cast<int32_t>(number);
        else if (value)
            m_faults.warn("property is not a usable number and keeps its default", where + ", texCoord");
    };
    readTexCoord(json, bind->_texCoord);
    const kxJsonValue* extensions = findMember(json, "extensions");
    const kxJsonValue* transform = extensions ? findMember(*extensions, "KHR_texture_transform") : nullptr;
    if (transform && transform->IsObject())
    {
        bind->_hasTransform = true;
        readFloatsMember(*transform, "offset", &bind->_offset.x, 2, where);
        readFloatsMember(*transform, "scale", &bind->_uvScale.x, 2, where);
        readFloatMember(*transform, "rotation", bind->_rotation, where);
        readTexCoord(*transform, bind->_transformTexCoord);
    }
    bind->_userData = m_carried.read(json, strength ? kStrengthUseKeys : factor ? kScaledUseKeys : kPlainUseKeys);
    material.binds.push_back(bind);
}

// Writes the properties of an extension in the order of their names, so that equal extensions have equal texts, and turns
// the uses of textures among them into binds.
void kxGltfReader::writeWithoutTextures(kxJsonText& text, const kxJsonValue& json, const std::string& slot,
                                        Material& material, const std::string& where)
{
    if (!json.IsObject())
    {
        if (!json.IsArray())
            return writeValue(text, json);
        text.beginArray();
        for (auto at = json.Begin(); at != json.End(); ++at)
            writeValue(text, *at);
        return text.endArray();
    }
    std::vector<std::pair<std::string_view, const kxJsonValue*>> members;
    for (auto at = json.MemberBegin(); at != json.MemberEnd(); ++at)
        members.emplace_back(textOf(at->name), &at->value);
    std::stable_sort(members.begin(), members.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    text.beginObject();
    for (const auto& [key, value] : members)
    {
        const std::string inner = slot + "/" + std::string(key);
        if (isTextureUse(key, *value))
        {
            readTextureUse(material, inner, *value, where);
            continue;
        }
        text.key(key);
        if (key == "extras")
            writeValue(text, *value);
        else
            writeWithoutTextures(text, *value, inner, material, where);
    }
    text.endObject();
}

void kxGltfReader::readMaterialExtension(Material& material, const std::string& name, const kxJsonValue& json,
                                         const std::string& where)
{
    kxJsonText text;
    writeWithoutTextures(text, json, name, material, where);
    kxJsonDocument rest; // textures are followed, so what is left decides
    std::string fault;
    if (rest.parseCopy(text.str(), fault))
        m_carried.warnOfIndices(name, rest.getRoot());
    material.attr->_extensionNames->append(kxStringRef(name));
    material.attr->_extensionProperties->append(kxStringRef(text.str()));
}

void kxGltfReader::readMaterial(Material& material, const kxJsonValue& json, uint32_t index)
{
    const std::string where = kxFormat("material %u", index);
    kxMaterialAttr& attr = *material.attr;
    attr._name = nameOf(json, "material", index);
    bool isLinked = false;
    if (const kxJsonValue* pbr = findMember(json, "pbrMetallicRoughness"))
    {
        readFloatsMember(*pbr, "baseColorFactor", &attr._baseColorFactor.x, 4, where);
        readFloatMember(*pbr, "metallicFactor", attr._metallicFactor, where);
        readFloatMember(*pbr, "roughnessFactor", attr._roughnessFactor, where);
        kxJsonText rest;
        rest.beginObject();
        bool hasRest = false;
        for (auto at = pbr->IsObject() ? pbr->MemberBegin() : json.MemberEnd();
             pbr->IsObject() && at != pbr->MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            if (key == "baseColorTexture" || key == "metallicRoughnessTexture")
                readTextureUse(material, std::string(key), at->value, where);
            else if (key != "baseColorFactor" && key != "metallicFactor" && key != "roughnessFactor")
            {
                hasRest = true;
                isLinked = isLinked || holdsReferences(key, at->value);
                rest.key(key);
                writeValue(rest, at->value);
            }
        }
        rest.endObject();
        if (hasRest && !isLinked)
        {
            attr._extensionNames->append("pbrMetallicRoughness");
            attr._extensionProperties->append(kxStringRef(rest.str()));
        }
    }
    for (const char* slot : {"normalTexture", "occlusionTexture", "emissiveTexture"})
        if (const kxJsonValue* use = findMember(json, slot))
            readTextureUse(material, slot, *use, where);
    readFloatsMember(json, "emissiveFactor", &attr._emissiveFactor.x, 3, where);
    readFloatMember(json, "alphaCutoff", attr._alphaCutoff, where);
    if (const kxJsonValue* mode = findMember(json, "alphaMode"))
    {
        int32_t value = 0;
        if (mode->IsString() && kxMetaEnumOf(kxAlphaMode()).findValue(textOf(*mode), value))
            attr._alphaMode = static_cast<kxAlphaMode>(value);
        else
            m_faults.warn("alphaMode is none of OPAQUE, MASK and BLEND and keeps its default", where);
    }
    if (const kxJsonValue* doubleSided = findMember(json, "doubleSided"))
        attr._doubleSided = doubleSided->IsBool() && doubleSided->GetBool();

    std::vector<std::string_view>& known = m_knownExtensions.emplace_back();
    const kxJsonValue* extensions = findMember(json, "extensions");
    if (extensions && extensions->IsObject())
        for (auto at = extensions->MemberBegin(); at != extensions->MemberEnd(); ++at)
        {
            const std::string_view name = textOf(at->name);
            if (!at->value.IsObject() || holdsReferences(name, at->value))
                continue;
            known.push_back(name);
            readMaterialExtension(material, std::string(name), at->value, where);
        }
    if (isLinked)
        m_knownKeys.push_back({"material", kLinkedMaterialMembers, known});
    else
        m_knownKeys.push_back({"material", kMaterialMembers, known});
    attr._userData = m_carried.read(json, m_knownKeys.back());
}

bool kxGltfReader::readMaterials()
{
    const kxJsonValue* list = listOf("materials");
    if (!list)
        return false;
    m_materials.resize(list->Size());
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        m_materials[i].attr = kxNew<kxMaterialAttr>();
        readMaterial(m_materials[i], (*list)[i], i);
        m_objects.lists[static_cast<size_t>(kxGltfKind::MATERIAL)].push_back(m_materials[i].attr);
    }
    return true;
}

void kxGltfReader::appendMaterial(kxAttrList& attrs, uint32_t index)
{
    attrs.append(m_materials[index].attr);
    for (kxTextureBindAttr* bind : m_materials[index].binds)
        attrs.append(bind);
    m_materials[index].used = true;
}

} // namespace Kel::Gltf
