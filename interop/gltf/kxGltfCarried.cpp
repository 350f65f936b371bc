#include "interop/gltf/kxGltfCarried.h"

#include <algorithm>

namespace Kel::Gltf
{

namespace
{

/// Where the carried parts of objects within stand among the extensions.
constexpr std::string_view kInnerKey = "+";

std::string escapeKey(std::string_view key)
{
    std::string escaped(key.substr(0, 1) == "$" ? 1 : 0, '$');
    escaped.append(key);
    return escaped;
}

std::string_view unescapeKey(std::string_view key)
{
    return key.substr(0, 1) == "$" ? key.substr(1) : key;
}

bool isKnown(std::span<const std::string_view> names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// True for a path that leads on from another one.
bool isBelow(std::string_view path, std::string_view other)
{
    return path.size() > other.size() && path[other.size()] == '/' && path.substr(0, other.size()) == other;
}

// True when only some properties of the object are known.
bool isKnownInPart(std::span<const std::string_view> names, std::string_view name)
{
    return std::any_of(names.begin(), names.end(), [&](std::string_view known) { return isBelow(known, name); });
}

// True for an extension of which only some properties are known when it becomes fields.
bool isTakenInPart(const kxKnownKeys& keys, std::string_view name, const kxJsonValue& extension)
{
    if (!isKnownInPart(keys.extensions, name) || !keys.carriesUnusable)
        return isKnownInPart(keys.extensions, name);
    if (!extension.IsObject())
        return false;
    size_t known = 0, found = 0;
    for (const std::string_view path : keys.extensions)
        if (isBelow(path, name))
        {
            ++known;
            found += findMember(extension, path.substr(name.size() + 1)) != nullptr;
        }
    return known > 1 || found;
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
        if (key == "extras" && !markData(at->value).empty())
        {
            pending = true;
            continue;
        }
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
                    if (isTakenInPart(known, textOf(ext->name), ext->value))
                        visitUnknown(ext->value, known.extensions, std::string(textOf(ext->name)), isPending);
                    else
                        pending |= !isKnown(known.extensions, textOf(ext->name));
            continue;
        }
        if (!isKnownInPart(known.members, key))
            pending = true;
        else if (at->value.IsObject())
            visitUnknown(at->value, known.members, std::string(key), isPending);
        else
            m_faults.warn("property is no object and is left out", std::string(known.place) + ", " + std::string(key));
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

bool kxGltfCarriedReader::saysMore(const kxJsonValue& object, const kxKnownKeys& known)
{
    const size_t pending = m_pending.size();
    const bool found = read(object, known) != nullptr;
    if (m_pending.size() > pending)
    {
        m_pending.pop_back();
        m_held.pop_back();
    }
    return found;
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

void kxGltfCarriedReader::write(kxJsonText& json, const kxJsonValue& value, const kxGltfMarks& marks,
                                kxUserData& userData)
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
        if (mark == marks.end() || !readIndex(value, index))
            writeValue(json, value);
        else if (!writeReference(json, mark->second, index, nullptr, userData))
        {
            // As a number it would name whatever has that number when the file is written.
            m_faults.warn("reference to a thing that is not there becomes -1",
                          std::string(pointerPrefix(mark->second).substr(1)) + std::to_string(index));
            json.integer(-1);
        }
    }
}

void kxGltfCarriedReader::writeExtension(kxJsonText& json, std::string_view name, const char* place,
                                         const kxJsonValue& extension, kxUserData& userData)
{
    const kxGltfMarks marks = markIndices(name, place, extension);
    write(json, extension, marks, userData);
    warnOfIndices(name, extension, marks);
}

// A property that is not known of an object that is known in part.
void kxGltfCarriedReader::writeInner(kxJsonText& json, std::string_view key, const char* place,
                                     const kxJsonValue& value, kxUserData& userData)
{
    if (key != "extensions" || !value.IsObject())
        return write(json, value, key == "extras" ? markData(value) : kxGltfMarks(), userData);
    json.beginObject();
    for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
    {
        json.key(escapeKey(textOf(at->name)));
        writeExtension(json, textOf(at->name), place, at->value, userData);
    }
    json.endObject();
}

void kxGltfCarriedReader::warnOfIndices(std::string_view name, const kxJsonValue& extension, const kxGltfMarks& marks)
{
    if (name.empty() || !mayHoldMoreIndices(name, extension, marks) || m_warned.count(name))
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
        const auto openInner = [&](const std::string& path, std::string_view key) -> kxJsonText&
        {
            auto at = std::find_if(inner.begin(), inner.end(), [&](const auto& entry) { return entry.first == path; });
            if (at == inner.end())
            {
                at = inner.insert(at, {path, kxJsonText()});
                at->second.beginObject();
            }
            at->second.key(escapeKey(key));
            return at->second;
        };
        auto takeInner = [&](const std::string& path, std::string_view key, const kxJsonValue& value)
        { writeInner(openInner(path, key), key, known.place, value, *pending.userData); };
        const auto takeExtension = [&](std::string_view name, const kxJsonValue& extension)
        {
            if (isKnown(known.extensions, name))
                return;
            if (isTakenInPart(known, name, extension))
                return visitUnknown(extension, known.extensions, std::string(name), takeInner);
            json.key(name);
            writeExtension(json, name, known.place, extension, *pending.userData);
        };
        for (auto at = pending.object->MemberBegin(); at != pending.object->MemberEnd(); ++at)
        {
            const std::string_view key = textOf(at->name);
            if (key == "extras")
            {
                if (const kxGltfMarks marks = markData(at->value); !marks.empty())
                    write(openInner(std::string(key), ""), at->value, marks, *pending.userData);
                continue;
            }
            if (isKnown(known.members, key))
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
                write(unknown, at->value, kxGltfMarks(), *pending.userData);
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
        json.key(unescapeKey(textOf(at->name)));
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
                           return name == path || isBelow(name, path);
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
            const std::string_view name = unescapeKey(textOf(at->name));
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

    kxJsonText linkedExtras;
    const kxJsonValue* linked = inner ? findMember(*inner, "extras") : nullptr;
    if (const kxJsonValue* value = linked ? findMember(*linked, "") : nullptr)
        writeLinked(linkedExtras, *value, *userData);
    const std::string linkedText = linkedExtras.str();
    const std::string_view extras = !linkedText.empty() ? linkedText
                                    : userData          ? userData->_extras.view()
                                                        : std::string_view();
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
