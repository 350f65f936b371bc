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

/// Extensions whose numbers are no indices, or count things within the extension itself.
constexpr std::string_view kWithoutIndices[] = {
    "KHR_materials_",        "KHR_node_", "KHR_xmp", "KHR_texture_transform",
    "KHR_mesh_quantization", "AGI_",      "FB_",     "CESIUM_RTC"};

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

} // namespace

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
    return found;
}

kxSmartPointer<kxUserData> kxGltfCarriedReader::read(const kxJsonValue& object, const kxKnownKeys& known)
{
    kxSmartPointer<kxUserData> userData;
    bool pending = false;
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
                    pending |= !isKnown(known.extensions, textOf(ext->name));
            continue;
        }
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

void kxGltfCarriedReader::warnOfIndices(std::string_view name, const kxJsonValue& extension)
{
    if (name.empty() || hasRules(name) || isWithoutIndices(name) || m_warned.count(name))
        return;
    bool integers = false;
    auto visit = [&](const kxJsonValue& value) { integers = integers || value.IsInt64() || value.IsUint64(); };
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
    for (const Pending& pending : m_pending)
    {
        kxJsonText json;
        json.beginObject();
        auto carry = [&](std::string_view name, const kxJsonValue& extension)
        {
            Marks marks;
            for (const Rule& rule : kRules)
                if (rule.extension == name && (rule.place.empty() || rule.place == pending.known->place))
                    visitPath(extension, rule.path, [&](const kxJsonValue& index) { marks[&index] = rule.kind; });
            if (name == "KHR_interactivity")
                markTemplateParameters(extension,
                                       [&](const kxJsonValue& index, kxGltfKind kind) { marks[&index] = kind; });
            json.key(name);
            write(json, extension, marks, *pending.userData);
            warnOfIndices(name, extension);
        };

        kxJsonText unknown;
        unknown.beginObject();
        bool hasUnknown = false;
        for (auto at = pending.object->MemberBegin(); at != pending.object->MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            if (key == "extensions" && at->value.IsObject())
            {
                for (auto ext = at->value.MemberBegin(); ext != at->value.MemberEnd(); ++ext)
                    if (!isKnown(pending.known->extensions, textOf(ext->name)))
                        carry(textOf(ext->name), ext->value);
            }
            else if (key != "extras" && key != "extensions" && !isKnown(pending.known->members, key))
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
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            json.key(key.substr(0, 1) == "$" ? key.substr(1) : key);
            writeLinked(json, at->value, userData);
        }
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

void kxGltfCarriedWriter::write(kxJsonText& json, const kxUserData* userData, const Own& own)
{
    kxJsonDocument carried;
    std::string fault;
    const kxJsonValue* extensions = nullptr;
    const kxJsonValue* unknown = nullptr;
    if (userData && !userData->_extensions.isEmpty() && carried.parseCopy(userData->_extensions.view(), fault) &&
        carried.getRoot().IsObject())
    {
        extensions = &carried.getRoot();
        unknown = findMember(*extensions, "");
        if (extensions->MemberCount() == (unknown ? 1u : 0u))
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
            json.raw(text);
        }
        if (extensions)
            for (auto at = extensions->MemberBegin(); at != extensions->MemberEnd(); ++at)
            {
                const std::string_view name = textOf(at->name);
                const bool written = std::any_of(own.extensions.begin(), own.extensions.end(),
                                                 [&](const auto& own) { return own.first == name; });
                if (name.empty() || written)
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
    if (!extras.empty() && document.parseCopy(extras, fault))
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
