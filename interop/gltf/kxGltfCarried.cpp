#include "interop/gltf/kxGltfCarried.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

/// Place of indices in an extension: steps between slashes, '*' for every member or element.
struct Rule
{
    std::string_view extension;
    std::string_view place; ///< kind of object that has the extension, empty for any
    std::string_view path;
    kxGltfKind kind;
};

using enum kxGltfKind;

constexpr Rule kRules[] = {
    {"MSFT_lod", "node", "ids/*", NODE},
    {"MSFT_lod", "material", "ids/*", MATERIAL},
    {"KHR_interactivity", "", "graphs/*/nodes/*/configuration/nodeIndex/value/*", NODE},
    {"KHR_interactivity", "", "graphs/*/nodes/*/values/animation/value/*", ANIMATION},
    {"KHR_physics_rigid_bodies", "", "joint/connectedNode", NODE},
    {"KHR_physics_rigid_bodies", "", "collider/geometry/node", NODE},
    {"KHR_physics_rigid_bodies", "", "trigger/geometry/node", NODE},
    {"KHR_physics_rigid_bodies", "", "trigger/nodes/*", NODE},
    {"EXT_lights_image_based", "", "lights/*/specularImages/*/*", IMAGE},
    {"EXT_mesh_manifold", "", "manifoldPrimitive/indices", ACCESSOR},
    {"EXT_mesh_manifold", "", "mergeIndices", ACCESSOR},
    {"EXT_mesh_manifold", "", "mergeValues", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "visibility", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "silhouetteNormals", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "material", MATERIAL},
    {"EXT_mesh_primitive_edge_visibility", "", "lineStrings/*/indices", ACCESSOR},
    {"EXT_mesh_primitive_edge_visibility", "", "lineStrings/*/material", MATERIAL},
    {"EXT_mesh_features", "", "featureIds/*/texture/index", TEXTURE}, // its other numbers count other things
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/values", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/arrayOffsets", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTables/*/properties/*/stringOffsets", BUFFER_VIEW},
    {"EXT_structural_metadata", "", "propertyTextures/*/properties/*/index", TEXTURE},
    {"EXT_feature_metadata", "", "featureTables/*/properties/*/arrayOffsetBufferView", BUFFER_VIEW},
    {"EXT_feature_metadata", "", "featureTables/*/properties/*/stringOffsetBufferView", BUFFER_VIEW},
    {"EXT_feature_metadata", "", "featureTextures/*/properties/*/texture/index", TEXTURE},
    {"EXT_feature_metadata", "", "featureIdTextures/*/featureIds/texture/index", TEXTURE},
    {"MSFT_audio_emitter", "", "clips/*/bufferView", BUFFER_VIEW},
    {"KHR_audio", "", "audio/*/bufferView", BUFFER_VIEW},
    {"KHR_audio_emitter", "", "audio/*/bufferView", BUFFER_VIEW},
    {"OMI_physics_shape", "", "shapes/*/*/mesh", MESH},
    {"CESIUM_primitive_outline", "", "indices", ACCESSOR},
    {"OMI_collider", "", "mesh", MESH},
    {"VRMC_vrm", "", "meta/thumbnailImage", IMAGE},
    {"VRMC_vrm", "", "humanoid/humanBones/*/node", NODE},
    {"VRMC_vrm", "", "firstPerson/meshAnnotations/*/node", NODE},
    {"VRMC_vrm", "", "expressions/*/*/morphTargetBinds/*/node", NODE},
    {"VRMC_vrm", "", "expressions/*/*/materialColorBinds/*/material", MATERIAL},
    {"VRMC_vrm", "", "expressions/*/*/textureTransformBinds/*/material", MATERIAL},
    {"VRMC_springBone", "", "colliders/*/node", NODE},
    {"VRMC_springBone", "", "springs/*/joints/*/node", NODE},
    {"VRMC_springBone", "", "springs/*/center", NODE},
    {"VRMC_node_constraint", "", "constraint/*/source", NODE},
    {"VRM", "", "meta/texture", TEXTURE},
    {"VRM", "", "humanoid/humanBones/*/node", NODE},
    {"VRM", "", "firstPerson/firstPersonBone", NODE},
    {"VRM", "", "firstPerson/meshAnnotations/*/mesh", MESH},
    {"VRM", "", "blendShapeMaster/blendShapeGroups/*/binds/*/mesh", MESH},
    {"VRM", "", "secondaryAnimation/boneGroups/*/bones/*", NODE},
    {"VRM", "", "secondaryAnimation/boneGroups/*/center", NODE},
    {"VRM", "", "secondaryAnimation/colliderGroups/*/node", NODE},
    {"VRM", "", "materialProperties/*/textureProperties/*", TEXTURE},
};

/// Names of indices that mean the same in every extension, so that data which nobody else refers to stay with it.
struct Convention
{
    std::string_view key;
    kxGltfKind kind;
};
constexpr Convention kConventions[] = {{"bufferView", BUFFER_VIEW}, {"accessor", ACCESSOR}};

/// Extensions whose numbers are no indices, or count things within the extension itself.
constexpr std::string_view kWithoutIndices[] = {
    "KHR_materials_", "KHR_node_", "KHR_xmp",    "KHR_texture_transform", "KHR_mesh_quantization",
    "AGI_",           "FB_",       "CESIUM_RTC", "EXT_instance_features"};

bool isWithoutIndices(std::string_view name)
{
    return std::any_of(std::begin(kWithoutIndices), std::end(kWithoutIndices),
                       [&](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; });
}

bool hasRules(std::string_view name)
{
    return std::any_of(std::begin(kRules), std::end(kRules), [&](const Rule& rule) { return rule.extension == name; });
}

template <class Visit>
void visitPath(const kxJsonValue& value, std::string_view path, Visit visit)
{
    if (path.empty())
        return visit(value);
    const size_t slash = path.find('/');
    const std::string_view step = path.substr(0, slash);
    const std::string_view rest = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    if (value.IsObject())
    {
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
            if (step == "*" || textOf(at->name) == step)
                visitPath(at->value, rest, visit);
    }
    else if (value.IsArray() && step == "*")
        for (auto at = value.Begin(); at != value.End(); ++at)
            visitPath(*at, rest, visit);
}

// Calls back for every value; nesting is bounded by the parser.
template <class Visit>
void visitAll(const kxJsonValue& value, Visit& visit)
{
    visit(value);
    if (value.IsObject())
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
            visitAll(at->value, visit);
    else if (value.IsArray())
        for (auto at = value.Begin(); at != value.End(); ++at)
            visitAll(*at, visit);
}

// Calls back for every index that has one of the conventional names.
template <class Mark>
void markConventions(const kxJsonValue& extension, Mark mark)
{
    auto visit = [&](const kxJsonValue& value)
    {
        if (!value.IsObject())
            return;
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            for (const Convention& convention : kConventions)
                if (uint32_t index; key == convention.key && readIndex(at->value, index))
                    mark(at->value, convention.kind);
            if (isTextureUse(key, at->value) || (key == "texture" && isTextureUse("Texture", at->value)))
                mark(*findMember(at->value, "index"), TEXTURE);
        }
    };
    visitAll(extension, visit);
}

// True when a use of a texture stands where those of a material's extension are not looked for.
bool hasHiddenTexture(const kxJsonValue& value, bool isHidden)
{
    if (value.IsArray())
        return std::any_of(value.Begin(), value.End(),
                           [](const kxJsonValue& element) { return hasHiddenTexture(element, true); });
    if (!value.IsObject())
        return false;
    return std::any_of(value.MemberBegin(), value.MemberEnd(),
                       [&](const auto& member)
                       {
                           const std::string_view key = textOf(member.name);
                           return (key == "texture" && isTextureUse("Texture", member.value)) ||
                                  (isHidden && isTextureUse(key, member.value)) ||
                                  hasHiddenTexture(member.value, isHidden);
                       });
}

// A graph of behaviour names things by pointers with parameters, "/nodes/{which}/scale"; a parameter that is given as a
// constant in the same step of the graph is an index.
template <class Mark>
void markTemplateParameters(const kxJsonValue& extension, Mark mark)
{
    visitPath(extension, "graphs/*/nodes/*",
              [&](const kxJsonValue& step)
              {
                  visitPath(step, "configuration/pointer/value/*",
                            [&](const kxJsonValue& pointer)
                            {
                                if (!pointer.IsString())
                                    return;
                                const std::string_view text = textOf(pointer);
                                for (size_t kind = 0; kind < kGltfKindCount; ++kind)
                                {
                                    const std::string_view prefix = pointerPrefix(static_cast<kxGltfKind>(kind));
                                    const size_t close = text.find('}');
                                    if (text.substr(0, prefix.size()) != prefix || text.size() <= prefix.size() ||
                                        text[prefix.size()] != '{' || close == std::string_view::npos)
                                        continue;
                                    const std::string name(text.substr(prefix.size() + 1, close - prefix.size() - 1));
                                    visitPath(step, "values/" + name + "/value/*",
                                              [&](const kxJsonValue& index)
                                              { mark(index, static_cast<kxGltfKind>(kind)); });
                                }
                            });
              });
}

/// Where the carried parts of objects within stand among the extensions.
constexpr std::string_view kInnerKey = "+";

std::string escapeKey(std::string_view key)
{
    std::string escaped(key.substr(0, 1) == "$" ? 1 : 0, '$');
    escaped.append(key);
    return escaped;
}

bool isKnown(std::span<const std::string_view> names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// True when only some properties of the object are known.
bool isKnownInPart(std::span<const std::string_view> names, std::string_view name)
{
    return std::any_of(names.begin(), names.end(),
                       [&](std::string_view known) {
                           return known.size() > name.size() && known[name.size()] == '/' &&
                                  known.substr(0, name.size()) == name;
                       });
}

// Calls back with what is not known of an object at `path` that is known in part, and of those within.
template <class Visit>
void visitUnknown(const kxJsonValue& object, std::span<const std::string_view> names, const std::string& path,
                  Visit& visit)
{
    if (!object.IsObject())
        return;
    for (auto at = object.MemberBegin(); at != object.MemberEnd(); ++at)
    {
        const std::string inner = path + "/" + std::string(textOf(at->name));
        if (isKnown(names, inner))
            continue;
        if (isKnownInPart(names, inner))
            visitUnknown(at->value, names, inner, visit);
        else
            visit(path, textOf(at->name), at->value);
    }
}

// What is carried of the objects within, from the text of a user data.
const kxJsonValue* findInner(const kxUserData* userData, kxJsonDocument& carried)
{
    std::string fault;
    // A look at the text is enough for nearly all.
    if (!userData || userData->_extensions.view().find("\"+\":{") == std::string_view::npos ||
        !carried.parseCopy(userData->_extensions.view(), fault))
        return nullptr;
    return findMember(carried.getRoot(), kInnerKey);
}

} // namespace

bool isTextureUse(std::string_view key, const kxJsonValue& value)
{
    const kxJsonValue* named = key.ends_with("Texture") ? findMember(value, "index") : nullptr;
    uint32_t index;
    return named && readIndex(*named, index);
}

bool kxGltfCarriedReader::holdsReferences(std::string_view name, const kxJsonValue& extension)
{
    if (hasRules(name))
        return true;
    bool found = false;
    auto visit = [&](const kxJsonValue& value)
    {
        kxGltfKind kind;
        uint32_t index;
        std::string_view rest;
        found = found || (value.IsString() && splitPointer(textOf(value), kind, index, rest));
    };
    visitAll(extension, visit);
    markConventions(extension, [&](const kxJsonValue&, kxGltfKind kind) { found = found || kind != TEXTURE; });
    return found || hasHiddenTexture(extension, false);
}

kxSmartPointer<kxUserData> kxGltfCarriedReader::read(const kxJsonValue& object, const kxKnownKeys& known)
{
    kxSmartPointer<kxUserData> userData;
    bool pending = false;
    auto isPending = [&](const std::string&, std::string_view, const kxJsonValue&) { pending = true; };
    for (auto at = object.MemberBegin(); at != object.MemberEnd(); ++at)
    {
        const std::string_view key = textOf(at->name);
        if (isKnown(known.members, key))
            continue;
        if (key == "extras")
        {
            if (!userData)
                userData = kxNew<kxUserData>();
            userData->_extras = kxStringRef(printValue(at->value));
            continue;
        }
        if (key == "extensions")
        {
            if (!at->value.IsObject())
                m_faults.warn("extensions are not an object and are left out", known.place);
            else
                for (auto ext = at->value.MemberBegin(); ext != at->value.MemberEnd(); ++ext)
                    if (isKnownInPart(known.extensions, textOf(ext->name)))
                        visitUnknown(ext->value, known.extensions, std::string(textOf(ext->name)), isPending);
                    else
                        pending |= !isKnown(known.extensions, textOf(ext->name));
            continue;
        }
        if (isKnownInPart(known.members, key))
            visitUnknown(at->value, known.members, std::string(key), isPending);
        else
            pending = true;
    }
    if (pending)
    {
        if (!userData)
            userData = kxNew<kxUserData>();
        m_pending.push_back({userData, &object, &known});
        m_held.push_back(userData);
    }
    return userData;
}

bool kxGltfCarriedReader::writeReference(kxJsonText& json, kxGltfKind kind, uint32_t index,
                                         const std::string_view* rest, kxUserData& userData)
{
    kxObject* object = m_objects.find(kind, index);
    if (!object)
        return false;
    if (m_known.insert(object).second)
        m_referenced.push_back(object);
    json.beginObject();
    json.key("$ref");
    json.unsignedInteger(userData.addReference(object));
    if (rest)
        json.member("rest", *rest);
    json.endObject();
    return true;
}

void kxGltfCarriedReader::write(kxJsonText& json, const kxJsonValue& value, const Marks& marks, kxUserData& userData)
{
    kxGltfKind kind;
    uint32_t index = 0;
    std::string_view rest;
    if (value.IsObject())
    {
        json.beginObject();
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            json.key(escapeKey(key));
            write(json, at->value, marks, userData);
        }
        json.endObject();
    }
    else if (value.IsArray())
    {
        json.beginArray();
        for (auto at = value.Begin(); at != value.End(); ++at)
            write(json, *at, marks, userData);
        json.endArray();
    }
    else if (value.IsString() && splitPointer(textOf(value), kind, index, rest) &&
             writeReference(json, kind, index, &rest, userData))
        return;
    else
    {
        const auto mark = value.IsNumber() && !marks.empty() ? marks.find(&value) : marks.end();
        if (mark == marks.end() || !readIndex(value, index) ||
            !writeReference(json, mark->second, index, nullptr, userData))
            writeValue(json, value);
    }
}

kxGltfCarriedReader::Marks kxGltfCarriedReader::markIndices(std::string_view name, std::string_view place,
                                                            const kxJsonValue& extension)
{
    Marks marks;
    const auto mark = [&](const kxJsonValue& index, kxGltfKind kind) { marks[&index] = kind; };
    markConventions(extension, mark);
    for (const Rule& rule : kRules)
        if (rule.extension == name && (rule.place.empty() || rule.place == place))
            visitPath(extension, rule.path, [&](const kxJsonValue& index) { mark(index, rule.kind); });
    if (name == "KHR_interactivity")
        markTemplateParameters(extension, mark);
    return marks;
}

void kxGltfCarriedReader::warnOfIndices(std::string_view name, const kxJsonValue& extension, const Marks& marks)
{
    if (name.empty() || hasRules(name) || isWithoutIndices(name) || m_warned.count(name))
        return;
    bool integers = false;
    auto visit = [&](const kxJsonValue& value)
    { integers = integers || ((value.IsInt64() || value.IsUint64()) && !marks.contains(&value)); };
    visitAll(extension, visit);
    if (!integers)
        return;
    m_warned.emplace(name);
    const std::string kind =
        kxFormat("extension %.*s is not known; it is carried as it is, and indices in it may no longer fit",
                 static_cast<int>(name.size()), name.data());
    m_faults.warn(kind.c_str(), "");
}

void kxGltfCarriedReader::finish()
{
    // By index: what is carried may bring more of it with the things that it refers to.
    for (size_t i = 0; i < m_pending.size(); ++i)
    {
        const Pending pending = m_pending[i];
        const kxKnownKeys& known = *pending.known;
        kxJsonText json, unknown;
        std::vector<std::pair<std::string, kxJsonText>> inner;
        json.beginObject();
        unknown.beginObject();
        bool hasUnknown = false;
        auto takeInner = [&](const std::string& path, std::string_view key, const kxJsonValue& value)
        {
            auto at = std::find_if(inner.begin(), inner.end(), [&](const auto& entry) { return entry.first == path; });
            if (at == inner.end())
            {
                at = inner.insert(at, {path, kxJsonText()});
                at->second.beginObject();
            }
            at->second.key(escapeKey(key));
            write(at->second, value, Marks(), *pending.userData);
        };
        const auto takeExtension = [&](std::string_view name, const kxJsonValue& extension)
        {
            if (isKnown(known.extensions, name))
                return;
            if (isKnownInPart(known.extensions, name))
                return visitUnknown(extension, known.extensions, std::string(name), takeInner);
            const Marks marks = markIndices(name, known.place, extension);
            json.key(name);
            write(json, extension, marks, *pending.userData);
            warnOfIndices(name, extension, marks);
        };
        for (auto at = pending.object->MemberBegin(); at != pending.object->MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            if (key == "extras" || isKnown(known.members, key))
                continue;
            if (key == "extensions")
            {
                if (at->value.IsObject())
                    for (auto ext = at->value.MemberBegin(); ext != at->value.MemberEnd(); ++ext)
                        takeExtension(textOf(ext->name), ext->value);
            }
            else if (isKnownInPart(known.members, key))
                visitUnknown(at->value, known.members, std::string(key), takeInner);
            else
            {
                hasUnknown = true;
                unknown.key(escapeKey(key));
                write(unknown, at->value, Marks(), *pending.userData);
            }
        }
        unknown.endObject();
        if (hasUnknown)
        {
            json.key("");
            json.raw(unknown.str());
        }
        if (!inner.empty())
        {
            json.key(kInnerKey);
            json.beginObject();
            for (auto& [path, text] : inner)
            {
                text.endObject();
                json.key(path);
                json.raw(text.str());
            }
            json.endObject();
        }
        json.endObject();
        pending.userData->_extensions = kxStringRef(json.str());
    }
    m_pending.clear();
    m_held.clear();
}

void kxGltfCarriedWriter::writeLinked(kxJsonText& json, const kxJsonValue& value, const kxUserData& userData)
{
    if (value.IsObject())
    {
        uint32_t number = 0;
        if (const kxJsonValue* ref = findMember(value, "$ref"); ref && readIndex(*ref, number))
        {
            const kxObject* object = userData.getReference(number);
            kxGltfKind kind = kxGltfKind::COUNT;
            uint32_t index = 0;
            const bool found = object && m_indexOf(object, kind, index);
            const kxJsonValue* rest = findMember(value, "rest");
            if (rest && rest->IsString())
                json.string(found ? std::string(pointerPrefix(kind)) + std::to_string(index) + rest->GetString() : "");
            else if (found)
                json.unsignedInteger(index);
            else
                json.integer(-1);
            return;
        }
        json.beginObject();
        writeMembers(json, value, userData);
        json.endObject();
    }
    else if (value.IsArray())
    {
        json.beginArray();
        for (auto at = value.Begin(); at != value.End(); ++at)
            writeLinked(json, *at, userData);
        json.endArray();
    }
    else
        writeValue(json, value);
}

void kxGltfCarriedWriter::writeMembers(kxJsonText& json, const kxJsonValue& object, const kxUserData& userData)
{
    for (auto at = object.MemberBegin(); at != object.MemberEnd(); ++at)
    {
        const std::string_view key = textOf(at->name);
        json.key(key.substr(0, 1) == "$" ? key.substr(1) : key);
        writeLinked(json, at->value, userData);
    }
}

void kxGltfCarriedWriter::writeInner(kxJsonText& json, const kxUserData* userData, std::string_view path)
{
    kxJsonDocument carried;
    const kxJsonValue* inner = findInner(userData, carried);
    if (const kxJsonValue* members = inner ? findMember(*inner, path) : nullptr; members && members->IsObject())
        writeMembers(json, *members, *userData);
}

bool kxGltfCarriedWriter::hasInner(const kxUserData* userData, std::string_view path)
{
    kxJsonDocument carried;
    const kxJsonValue* inner = findInner(userData, carried);
    if (!inner || !inner->IsObject())
        return false;
    return std::any_of(inner->MemberBegin(), inner->MemberEnd(),
                       [&](const auto& member)
                       {
                           const std::string_view name = textOf(member.name);
                           return name.substr(0, path.size()) == path &&
                                  (name.size() == path.size() || name[path.size()] == '/');
                       });
}

void kxGltfCarriedWriter::write(kxJsonText& json, const kxUserData* userData, const Own& own)
{
    kxJsonDocument carried;
    std::string fault;
    const kxJsonValue* extensions = nullptr;
    const kxJsonValue* unknown = nullptr;
    const kxJsonValue* inner = nullptr;
    if (userData && !userData->_extensions.isEmpty() && carried.parseCopy(userData->_extensions.view(), fault) &&
        carried.getRoot().IsObject())
    {
        extensions = &carried.getRoot();
        unknown = findMember(*extensions, "");
        inner = findMember(*extensions, kInnerKey);
        if (extensions->MemberCount() == (unknown ? 1u : 0u) + (inner ? 1u : 0u))
            extensions = nullptr;
    }

    if (unknown && unknown->IsObject())
        for (auto at = unknown->MemberBegin(); at != unknown->MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            const std::string_view name = key.substr(0, 1) == "$" ? key.substr(1) : key;
            if (std::find(m_skipped.begin(), m_skipped.end(), name) != m_skipped.end())
                continue;
            json.key(name);
            writeLinked(json, at->value, *userData);
        }
    m_skipped.clear();

    if (extensions || !own.extensions.empty())
    {
        json.key("extensions");
        json.beginObject();
        for (const auto& [name, text] : own.extensions)
        {
            use(name);
            json.key(name);
            const kxJsonValue* more = inner ? findMember(*inner, name) : nullptr;
            if (!more || !more->IsObject() || text.empty() || text.back() != '}')
            {
                json.raw(text);
                continue;
            }
            json.raw(std::string_view(text).substr(0, text.size() - 1));
            writeMembers(json, *more, *userData);
            json.endObject();
        }
        if (extensions)
            for (auto at = extensions->MemberBegin(); at != extensions->MemberEnd(); ++at)
            {
                const std::string_view name = textOf(at->name);
                const bool written = std::any_of(own.extensions.begin(), own.extensions.end(),
                                                 [&](const auto& own) { return own.first == name; });
                if (name.empty() || name == kInnerKey || written)
                    continue;
                use(name);
                json.key(name);
                writeLinked(json, at->value, *userData);
            }
        json.endObject();
    }

    const std::string_view extras = userData ? userData->_extras.view() : std::string_view();
    if (own.extras.empty())
    {
        if (!extras.empty())
        {
            json.key("extras");
            json.raw(extras);
        }
        return;
    }
    json.key("extras");
    json.beginObject();
    kxJsonDocument document;
    if (!extras.empty() && document.parseExtras(extras, fault))
    {
        // Extras that are no object make room under a name of their own.
        if (!document.getRoot().IsObject())
        {
            json.key("value");
            json.raw(extras);
        }
        else
            for (auto at = document.getRoot().MemberBegin(); at != document.getRoot().MemberEnd(); ++at)
            {
                const std::string_view name = textOf(at->name);
                if (std::any_of(own.extras.begin(), own.extras.end(), [&](const auto& o) { return o.first == name; }))
                    continue;
                json.key(name);
                writeValue(json, at->value);
            }
    }
    for (const auto& [name, text] : own.extras)
    {
        json.key(name);
        json.raw(text);
    }
    json.endObject();
}

std::string kxGltfCarriedWriter::getUnknown(const kxUserData* userData, std::string_view name) const
{
    kxJsonDocument carried;
    std::string fault;
    if (!userData || userData->_extensions.isEmpty() || !carried.parseCopy(userData->_extensions.view(), fault))
        return {};
    const kxJsonValue* unknown = findMember(carried.getRoot(), "");
    const kxJsonValue* value = unknown ? findMember(*unknown, name) : nullptr;
    return value ? printValue(*value) : std::string();
}

} // namespace Kel::Gltf
