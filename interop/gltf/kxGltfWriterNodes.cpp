// Nodes, cameras, lights, skins and animations.
#include "interop/gltf/kxGltfWriter.h"

#include "platform/core/kxListBase.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxTransform.h"

#include <numbers>
#include <cmath>

namespace Kel::Gltf
{

namespace
{

// Value of a field as JSON: numbers and truth values as such, lists of values as arrays, all else as text.
void writeField(kxJsonText& json, const kxMetaField& field, const void* value)
{
    switch (field.getKind())
    {
    case kxFieldKind::BOOL:
    case kxFieldKind::INT:
    case kxFieldKind::UNSIGNED:
    case kxFieldKind::LONG: return json.raw(field.valueToText(value));
    case kxFieldKind::FLOAT: return json.number(*static_cast<const float*>(value));
    case kxFieldKind::DOUBLE: return json.number(*static_cast<const double*>(value));
    case kxFieldKind::OBJECT: break;
    default: return json.string(field.valueToText(value));
    }
    const kxObject* object = static_cast<const kxObjectField&>(field).getObject(value);
    const auto* list = kxCast<kxListBase>(object);
    if (!list || list->isOfType(kxObjectList::staticMetaObject()))
        return object ? json.string(object->getTypeName()) : json.null();
    json.beginArray();
    for (uint32_t i = 0; i < list->getCount(); ++i)
        writeField(json, *list->getElementField(), list->getElementAddress(i));
    json.endArray();
}

// What a class of the scene says that the format has no word for, so that it is not lost.
std::string describeSource(const kxGroup& source)
{
    kxJsonText json;
    json.beginObject();
    json.member("class", std::string_view(source.getTypeName()));
    const kxMetaObject* plain = source.isOfType(kxTransform::staticMetaObject()) ? kxTransform::staticMetaObject()
                                                                                 : kxGroup::staticMetaObject();
    for (const kxMetaField* field : source.getMetaObject()->getFields().subspan(plain->getFields().size()))
        if (!field->isAppended())
        {
            json.key(field->getName().view());
            writeField(json, *field, field->getAddress(&source));
        }
    json.endObject();
    return json.str();
}

std::string describeVolume(const kxAABox& box)
{
    kxJsonText json;
    json.beginObject();
    json.key("min");
    json.floats(&box.min.x, 3);
    json.key("max");
    json.floats(&box.max.x, 3);
    json.endObject();
    return json.str();
}

// The numbers of a place with all the digits that its file gave them, as long as nobody has moved the node; empty otherwise.
std::string finePlace(const kxGroup& source, std::string_view key, const float* numbers, size_t count,
                      const kxGltfCarriedWriter& carried)
{
    const kxUserData* userData = source._userData;
    if (!userData || userData->_extensions.view().find(key) == std::string_view::npos)
        return {};
    const std::string text = carried.getUnknown(userData, key);
    kxJsonDocument document;
    std::string fault;
    float rounded[16];
    const bool isSame = !text.empty() && document.parseCopy(text, fault) &&
                        readFloats(document.getRoot(), rounded, count) && std::equal(rounded, rounded + count, numbers);
    return isSame ? text : std::string();
}

bool isPlain(const kxGroup& source)
{
    const kxMetaObject* type = source.getMetaObject();
    return type == kxGroup::staticMetaObject() || type == kxTransform::staticMetaObject() ||
           type == kxJoint::staticMetaObject() || type == kxInstanceArray::staticMetaObject();
}

} // namespace

std::string kxGltfWriter::nameOf(const kxGltfGraph::Node& node, const kxGltfGraph::More* more)
{
    if (!node.source || (more && more->instance >= 0))
        return more ? more->name.str() : std::string();
    std::string name = node.source->_name.str();
    if (node.copy == 0 || name.empty())
        return name;
    // Copies of a shared node get names of their own, so that what finds nodes by name still finds one.
    if (m_names.empty())
        for (const kxGltfGraph::Node& other : m_graph.nodes)
            if (other.source)
                m_names.insert(other.source->_name.str());
    for (uint32_t number = node.copy + 1;; ++number)
    {
        std::string candidate = name + "_" + std::to_string(number);
        if (m_names.insert(candidate).second)
            return candidate;
    }
}

void kxGltfWriter::writePlace(const kxGltfGraph::Node& node, const kxGltfGraph::More* more)
{
    kxVec3f translation(0, 0, 0), scale(1, 1, 1);
    float rotation[4] = {0, 0, 0, 1};
    if (more && more->instance >= 0)
    {
        const auto* instances = static_cast<const kxInstanceArray*>(node.source);
        for (const kxVertexArray* array : *instances->_arrays)
        {
            if (!array || more->instance >= array->_count)
                continue;
            const std::string_view use = array->_semantic.view();
            float* target = use == "TRANSLATION" ? &translation.x : use == "SCALE" ? &scale.x : rotation;
            const uint32_t count = use == "ROTATION" ? 4 : 3;
            if ((use == "TRANSLATION" || use == "SCALE" || use == "ROTATION") && array->_componentCount == count)
                for (uint32_t c = 0; c < count; ++c)
                    target[c] = static_cast<float>(array->getComponent(more->instance, c));
        }
    }
    else if (const auto* transform = kxCast<kxTransform>(node.source))
    {
        if (!transform->_hasParts)
        {
            if (!transform->isIdentity())
            {
                const float* numbers = transform->_matrix.getValue();
                m_json.key("matrix");
                if (const std::string fine = finePlace(*transform, "matrix", numbers, 16, m_carried); !fine.empty())
                    m_json.raw(fine);
                else
                    m_json.floats(numbers, 16);
            }
            return;
        }
        translation = transform->_translation;
        scale = transform->_scale;
        const kxQuatf& q = transform->_rotation;
        const float values[4] = {q.v.x, q.v.y, q.v.z, q.r};
        std::copy(values, values + 4, rotation);
    }
    if (translation != kxVec3f(0, 0, 0))
    {
        std::string fine;
        if (node.source && !(more && more->instance >= 0))
            fine = finePlace(*node.source, "translation", &translation.x, 3, m_carried);
        m_json.key("translation");
        if (fine.empty())
            m_json.floats(&translation.x, 3);
        else
            m_json.raw(fine);
    }
    if (rotation[0] != 0 || rotation[1] != 0 || rotation[2] != 0 || rotation[3] != 1)
    {
        m_json.key("rotation");
        m_json.floats(rotation, 4);
    }
    if (scale != kxVec3f(1, 1, 1))
    {
        m_json.key("scale");
        m_json.floats(&scale.x, 3);
    }
}

void kxGltfWriter::writeNode(uint32_t index, const uint32_t* children, size_t childCount)
{
    const kxGltfGraph::Node& node = m_graph.nodes[index];
    const kxGltfGraph::More* more = node.more == kxGltfGraph::kNone ? nullptr : &m_graph.more[node.more];
    m_json.beginObject();
    if (node.copy == 0 && node.source && !(more && more->instance >= 0))
    {
        if (!node.source->_name.isEmpty())
            m_json.member("name", node.source->_name.view());
    }
    else if (const std::string name = nameOf(node, more); !name.empty())
        m_json.member("name", name);
    writePlace(node, more);
    if (node.mesh != kxGltfGraph::kNone)
        m_json.member("mesh", uint64_t(m_meshNumber[node.mesh]));
    kxGltfCarriedWriter::Own own;
    if (more)
    {
        if (const uint32_t skin = m_skinCopies.numberOf(index);
            skin != kxGltfGraph::kNone && node.mesh != kxGltfGraph::kNone)
            m_json.member("skin", uint64_t(skin));
        if (more->morph && !more->morph->_weights->isEmpty())
        {
            m_json.key("weights");
            m_json.floats(more->morph->_weights->getData(), more->morph->_weights->getCount());
        }
        if (more->camera)
            m_json.member("camera", uint64_t(m_cameras[more->camera]));
        if (more->light)
            own.extensions.emplace_back("KHR_lights_punctual",
                                        "{\"light\":" + std::to_string(m_lights[more->light]) + "}");
        if (more->instances)
        {
            kxJsonText text;
            text.beginObject();
            text.key("attributes");
            text.beginObject();
            for (const kxVertexArray* array : *more->instances->_arrays)
                if (array)
                    text.member(array->_semantic.view(),
                                uint64_t(m_data.addArray(array, kxGltfData::INSTANCES, false)));
            text.endObject();
            m_carried.write(text, more->instances->_userData);
            text.endObject();
            own.extensions.emplace_back("EXT_mesh_gpu_instancing", text.str());
        }
    }
    if (childCount)
    {
        m_json.key("children");
        m_json.beginArray();
        for (size_t i = 0; i < childCount; ++i)
            m_json.unsignedInteger(children[i]);
        m_json.endArray();
    }
    if (node.source && !isPlain(*node.source))
        own.extras.emplace_back("kxopt", describeSource(*node.source));
    const bool carries = node.source && !(more && more->instance >= 0);
    if (m_writesVolumes && carries && node.source->_boundingVolume && !node.source->_boundingVolume->_box.isEmpty())
        own.extras.emplace_back("kxoptVolume", describeVolume(node.source->_boundingVolume->_box));
    if (carries)
    {
        m_carried.skipUnknown("translation");
        m_carried.skipUnknown("matrix");
    }
    if (carries || !own.extensions.empty())
        m_carried.write(m_json, carries ? node.source->_userData.get() : nullptr, own);
    m_json.endObject();
}

void kxGltfWriter::writeNodes()
{
    const auto& nodes = m_graph.nodes;
    if (nodes.empty())
        return;
    // Children in the order in which the walk met them, which is that of the graph.
    const size_t count = nodes.size();
    std::vector<uint32_t> start(count + 1), children;
    for (const auto& node : nodes)
        if (node.parent != kxGltfGraph::kNone)
            ++start[node.parent + 1];
    for (const auto& link : m_graph.extraLinks)
        ++start[link.first + 1];
    for (size_t i = 0; i < count; ++i)
        start[i + 1] += start[i];
    children.resize(start[count]);
    std::vector<uint32_t> next(start.begin(), start.end() - 1);
    for (uint32_t i = 0; i < count; ++i)
        if (nodes[i].parent != kxGltfGraph::kNone)
            children[next[nodes[i].parent]++] = m_nodeNumber[i];
    for (const auto& [parent, child] : m_graph.extraLinks)
        children[next[parent]++] = m_nodeNumber[child];
    next = {};

    m_json.key("nodes");
    m_json.beginArray();
    for (const uint32_t index : m_nodeOrder)
        writeNode(index, children.data() + start[index], start[index + 1] - start[index]);
    m_json.endArray();
}

void kxGltfWriter::writeCameras()
{
    if (m_cameras.objects.empty())
        return;
    m_json.key("cameras");
    m_json.beginArray();
    for (const kxCamera* camera : m_cameras.objects)
    {
        const bool perspective = camera->_cameraType == kxCameraType::PERSPECTIVE;
        m_json.beginObject();
        if (!camera->_name.isEmpty())
            m_json.member("name", camera->_name.view());
        m_json.member("type", perspective ? std::string_view("perspective") : std::string_view("orthographic"));
        m_json.key(perspective ? "perspective" : "orthographic");
        m_json.beginObject();
        if (perspective)
        {
            m_json.member("yfov", camera->_yfov);
            if (camera->_aspectRatio != 0)
                m_json.member("aspectRatio", camera->_aspectRatio);
        }
        else
        {
            m_json.member("xmag", camera->_xmag);
            m_json.member("ymag", camera->_ymag);
        }
        m_json.member("znear", camera->_znear);
        if (!perspective || camera->_zfar != 0)
            m_json.member("zfar", camera->_zfar);
        m_carried.write(m_json, camera->_projectionUserData);
        m_json.endObject();
        m_carried.write(m_json, camera->_userData);
        m_json.endObject();
    }
    m_json.endArray();
}

std::string kxGltfWriter::lightsText()
{
    kxJsonText json;
    json.beginObject();
    json.key("lights");
    json.beginArray();
    for (const kxLightAttr* light : m_lights.objects)
    {
        static constexpr std::string_view kTypes[] = {"directional", "point", "spot"};
        json.beginObject();
        if (!light->_name.isEmpty())
            json.member("name", light->_name.view());
        if (m_carried.getUnknown(light->_userData, "type").empty())
            json.member("type", kTypes[static_cast<int32_t>(light->_lightType) % 3]);
        if (light->_color != kxVec3f(1, 1, 1))
        {
            json.key("color");
            json.floats(&light->_color.x, 3);
        }
        if (light->_intensity != 1)
            json.member("intensity", light->_intensity);
        if (light->_range != 0)
            json.member("range", light->_range);
        if (light->_lightType == kxLightType::SPOT)
        {
            const kxLightAttr usual;
            json.key("spot");
            json.beginObject();
            if (light->_innerConeAngle != usual._innerConeAngle)
                json.member("innerConeAngle", light->_innerConeAngle);
            if (light->_outerConeAngle != usual._outerConeAngle)
            {
                // Half a turn, the most that is allowed, is less than the nearest number of single precision.
                json.key("outerConeAngle");
                if (light->_outerConeAngle == static_cast<float>(std::numbers::pi / 2))
                    json.number(std::numbers::pi / 2);
                else
                    json.number(light->_outerConeAngle);
            }
            m_carried.writeInner(json, light->_userData, "spot");
            json.endObject();
        }
        m_carried.write(json, light->_userData);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.str();
}

void kxGltfWriter::writeSkins()
{
    if (m_skins.objects.empty())
        return;
    m_json.key("skins");
    m_json.beginArray();
    for (const kxGltfSkins::Entry& entry : m_skinCopies.getEntries())
    {
        const kxSkin* skin = entry.skin;
        m_json.beginObject();
        if (!skin->_name.isEmpty())
            m_json.member("name",
                          entry.copy ? skin->_name.str() + "_" + std::to_string(entry.copy + 1) : skin->_name.str());
        if (skin->_inverseBindMatrices)
            m_json.member("inverseBindMatrices",
                          uint64_t(m_data.addArray(skin->_inverseBindMatrices, kxGltfData::BIND_MATRICES, false)));
        if (entry.root != kxGltfGraph::kNone)
            m_json.member("skeleton", uint64_t(m_nodeNumber[entry.root]));
        m_json.key("joints");
        m_json.beginArray();
        for (const uint32_t joint : entry.joints)
            m_json.unsignedInteger(m_nodeNumber[joint]);
        m_json.endArray();
        m_carried.write(m_json, skin->_userData);
        m_json.endObject();
    }
    m_json.endArray();
}

void kxGltfWriter::writeAnimations()
{
    if (m_animations.objects.empty())
        return;
    m_json.key("animations");
    m_json.beginArray();
    for (const kxAnimation* animation : m_animations.objects)
        writeAnimation(
            m_json, *animation, m_channels[animation], m_keys, m_carried,
            [this](const kxObject* object, kxGltfKind& kind) { return indicesOf(object, kind); },
            [this](const kxVertexArray* array, bool bounds)
            { return m_data.addArray(array, kxGltfData::KEYS, bounds); });
    m_json.endArray();
}

} // namespace Kel::Gltf
