// Meshes, their primitives and the checks that keep later readers of vertex data within bounds.
#include "interop/gltf/kxGltfReader.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace Kel::Gltf
{

namespace
{

constexpr std::string_view kMeshMembers[] = {"name", "primitives", "weights"};
constexpr std::string_view kPrimitiveMembers[] = {"attributes", "indices", "material", "mode", "targets"};
constexpr std::string_view kPrimitiveExtensions[] = {"KHR_draco_mesh_compression", "KHR_materials_variants/mappings"};
constexpr std::string_view kMappingMembers[] = {"variants", "material", "name"};
const kxKnownKeys kMeshKeys = {"mesh", kMeshMembers, {}};
const kxKnownKeys kPrimitiveKeys = {"primitive", kPrimitiveMembers, kPrimitiveExtensions};
const kxKnownKeys kMappingKeys = {"variant mapping", kMappingMembers, {}};

template <class T>
uint32_t largest(const uint8_t* bytes, int64_t count)
{
    T most = 0;
    const auto* values = reinterpret_cast<const T*>(bytes); // the reader of arrays has seen to the alignment
    for (int64_t i = 0; i < count; ++i)
        most = std::max(most, values[i]);
    return most;
}

// Largest index of a list that has at least one.
uint32_t largestIndex(const kxVertexArray& indices)
{
    const uint32_t bytes = componentBytes(indices._componentType);
    if (indices._stride == bytes)
        switch (bytes)
        {
        case 1: return largest<uint8_t>(indices.getElement(0), indices._count);
        case 2: return largest<uint16_t>(indices.getElement(0), indices._count);
        default: return largest<uint32_t>(indices.getElement(0), indices._count);
        }
    uint32_t most = 0;
    for (int64_t i = 0; i < indices._count; ++i)
        most = std::max(most, indices.getIndex(i));
    return most;
}

/// Components that an attribute of a known use may have, as bits.
uint32_t allowedComponents(std::string_view semantic, bool displacement)
{
    const std::string_view use = semantic.substr(0, semantic.find('_'));
    if (use == "POSITION" || use == "NORMAL")
        return 1u << 3;
    if (use == "TANGENT")
        return displacement ? 1u << 3 : 1u << 4;
    if (use == "TEXCOORD")
        return 1u << 2;
    if (use == "COLOR")
        return 1u << 3 | 1u << 4;
    if (use == "JOINTS" || use == "WEIGHTS")
        return 1u << 4;
    return ~0u;
}

} // namespace

bool kxGltfReader::readMeshes()
{
    const kxJsonValue* list = listOf("meshes");
    if (!list)
        return false;
    m_meshes.resize(list->Size());
    for (uint32_t i = 0; i < list->Size(); ++i)
    {
        m_meshes[i].mesh = kxNew<kxMesh>();
        m_objects.lists[static_cast<size_t>(kxGltfKind::MESH)].push_back(m_meshes[i].mesh);
        if (!readMesh(m_meshes[i], (*list)[i], i))
            return false;
    }
    return true;
}

bool kxGltfReader::readMesh(Mesh& record, const kxJsonValue& json, uint32_t index)
{
    kxMesh& mesh = *record.mesh;
    const std::string where = kxFormat("mesh %u", index);
    mesh._name = nameOf(json, "mesh", index);
    mesh._userData = m_carried.read(json, kMeshKeys);
    const kxJsonValue* primitives = findMember(json, "primitives");
    if (!primitives)
    {
        m_faults.warn("mesh has no primitives", where);
        return true;
    }
    if (!primitives->IsArray())
        return m_faults.refuse("primitives of mesh %u are not an array", index);
    size_t& targetCount = record.targetCount;
    for (uint32_t i = 0; i < primitives->Size(); ++i)
    {
        const kxJsonValue& primitive = (*primitives)[i];
        if (!readPrimitive(mesh, primitive, kxFormat("mesh %u, primitive %u", index, i)))
            return false;
        const kxJsonValue* targets = findMember(primitive, "targets");
        if (targets && targets->IsArray())
            targetCount = std::max<size_t>(targetCount, targets->Size());
    }
    if (const kxJsonValue* weights = findMember(json, "weights"); weights && weights->IsArray())
    {
        std::vector<float> values(weights->Size());
        if (values.size() != targetCount || !readFloats(*weights, values.data(), values.size()))
            m_faults.warn("weights that do not fit the morph targets are left out", where);
        else
            for (const float value : values)
                mesh._weights->append(value);
    }
    takeTargetNames(mesh, json, targetCount);
    return true;
}

// Calls back for the vertex data of a mesh as `readPrimitive` builds it.
template <class Visit>
void kxGltfReader::forEachGeometry(const kxMesh& mesh, Visit visit)
{
    // By index: a mesh of which nothing could be read has no list.
    for (uint32_t i = 0; i < mesh.getChildCount(); ++i)
    {
        const kxNode* child = mesh.getChild(i);
        const auto* geometry = kxCast<kxGeometry>(child);
        if (!geometry)
            geometry = kxCast<kxGeometry>(static_cast<const kxGroup*>(child)->getChild(0u));
        visit(*geometry->getGeometryAttr());
    }
}

// Names of morph targets stand in the extras by custom; they become fields, and the rest stays.
void kxGltfReader::takeTargetNames(kxMesh& mesh, const kxJsonValue& json, size_t targetCount)
{
    const kxJsonValue* extras = findMember(json, "extras");
    const kxJsonValue* names = extras ? findMember(*extras, "targetNames") : nullptr;
    if (!names || !names->IsArray() || names->Empty() || names->Size() != targetCount ||
        !std::all_of(names->Begin(), names->End(),
                     [](const kxJsonValue& name) { return name.IsString() && !isLongNumber(name); }))
        return;
    for (auto at = names->Begin(); at != names->End(); ++at)
        mesh._targetNames->append(kxStringRef(textOf(*at)));
    forEachGeometry(mesh,
                    [&](const kxGeometryAttr& data)
                    {
                        for (uint32_t i = 0; i < data._morphTargets->getCount(); ++i)
                            data._morphTargets->get(i)->_name = mesh._targetNames->get(i);
                    });
    kxJsonText rest;
    rest.beginObject();
    for (auto at = extras->MemberBegin(); at != extras->MemberEnd(); ++at)
        if (textOf(at->name) != "targetNames")
        {
            rest.key(textOf(at->name));
            writeValue(rest, at->value);
        }
    rest.endObject();
    mesh._userData->_extras = extras->MemberCount() == 1 ? kxStringRef() : kxStringRef(rest.str());
    // Nothing else is carried when all other members are known.
    const bool carriesMore =
        std::any_of(json.MemberBegin(), json.MemberEnd(),
                    [](const auto& member)
                    {
                        const std::string_view key = textOf(member.name);
                        return key != "extras" && std::find(std::begin(kMeshMembers), std::end(kMeshMembers), key) ==
                                                      std::end(kMeshMembers);
                    });
    if (mesh._userData->_extras.isNull() && !carriesMore)
        mesh._userData = nullptr;
}

bool kxGltfReader::readAttributes(kxVertexArrayList& arrays, const kxJsonValue& json, const std::string& where,
                                  const char*& fault)
{
    if (!json.IsObject())
    {
        fault = "primitives without a list of attributes are left out";
        return true;
    }
    for (auto at = json.MemberBegin(); at != json.MemberEnd(); ++at)
    {
        uint32_t accessor = 0;
        const bool named = readIndex(at->value, accessor) && accessor < m_arrays.getAccessorCount();
        const bool position = textOf(at->name) == "POSITION";
        kxVertexArray* array = named ? m_arrays.get(accessor, kxStringRef(textOf(at->name))) : nullptr;
        if (m_faults.isRefused())
            return false;
        if (!array && position)
            fault = "primitives whose vertices do not exist are left out";
        else if (!array)
            m_faults.warn("attribute that does not exist is left out", where + ", " + at->name.GetString());
        else
            arrays.append(array);
    }
    return true;
}

bool kxGltfReader::readVertexData(kxGeometryAttr& data, const kxJsonValue& json, const std::string& where,
                                  const char*& fault)
{
    static const kxStringRef kPosition("POSITION"), kIndices("INDICES");
    const kxJsonValue* attributes = findMember(json, "attributes");
    if (!attributes)
        fault = "primitives without a list of attributes are left out";
    else if (!readAttributes(*data._arrays, *attributes, where, fault))
        return false;

    uint32_t number = 0;
    if (const kxJsonValue* mode = findMember(json, "mode"))
    {
        if (readIndex(*mode, number) && number <= 6)
            data._primitiveMode = static_cast<kxPrimitiveMode>(number);
        else
            fault = "primitives of an unknown mode are left out";
    }
    if (const kxJsonValue* indices = findMember(json, "indices"))
    {
        if (readIndex(*indices, number))
            data._indices = m_arrays.get(number, kIndices);
        if (m_faults.isRefused())
            return false;
        if (!data._indices)
            fault = "primitives whose indices do not exist are left out";
    }
    if (const kxJsonValue* targets = findMember(json, "targets"))
    {
        if (!targets->IsArray())
            fault = "primitives whose morph targets are no list are left out";
        else
            for (auto at = targets->Begin(); at != targets->End(); ++at)
            {
                auto target = kxNew<kxMorphTarget>();
                if (!readAttributes(*target->_arrays, *at, where, fault))
                    return false;
                data._morphTargets->append(target);
            }
    }
    if (fault)
        return true;

    // From here on all of the data are there; whoever reads them later relies on what is checked now.
    const kxVertexArray* position = data.getArray(kPosition);
    if (!position && !data._arrays->isEmpty())
        position = data._arrays->get(0);
    const int64_t vertexCount = position ? position->_count : 0;
    auto checkArrays = [&](const kxVertexArrayList& arrays, bool displacement)
    {
        for (const kxVertexArray* array : arrays)
        {
            if (array->_count != vertexCount)
                fault = "primitives whose attributes have different numbers of vertices are left out";
            else if (array->_matrix
                         ? displacement || !array->_semantic.view().starts_with('_') // of its own making: any type
                         : !(allowedComponents(array->_semantic.view(), displacement) & 1u << array->_componentCount))
                fault = "primitives with attributes of an impossible type are left out";
        }
    };
    checkArrays(*data._arrays, false);
    for (kxMorphTarget* target : *data._morphTargets)
        checkArrays(*target->_arrays, true);
    if (fault || !data._indices)
        return true;
    const kxVertexArray& indices = *data._indices;
    const kxComponentType type = indices._componentType;
    if (indices._componentCount != 1 || indices._normalized ||
        (type != kxComponentType::UINT8 && type != kxComponentType::UINT16 && type != kxComponentType::UINT32))
        fault = "primitives with indices of an impossible type are left out";
    else if (indices._count > 0 && largestIndex(indices) >= vertexCount)
        fault = "primitives with indices past their vertices are left out";
    return true;
}

bool kxGltfReader::readPrimitive(kxMesh& mesh, const kxJsonValue& json, const std::string& where)
{
    if (!json.IsObject())
        return m_faults.refuse("%s is not an object", where.c_str());
    const kxJsonValue* extensions = findMember(json, "extensions");
    const kxJsonValue* compressed = extensions ? findMember(*extensions, "KHR_draco_mesh_compression") : nullptr;
    if (compressed)
    {
        const kxJsonValue* attributes = findMember(json, "attributes");
        const kxJsonValue* position = attributes ? findMember(*attributes, "POSITION") : nullptr;
        uint32_t accessor = 0;
        if (!position || !readIndex(*position, accessor) || accessor >= m_arrays.getAccessorCount() ||
            m_arrays.isEmpty(accessor))
            return m_faults.refuse("needs KHR_draco_mesh_compression, which this program cannot decode");
        const kxJsonValue* view = findMember(*compressed, "bufferView");
        if (uint32_t number = 0; view && readIndex(*view, number))
            m_arrays.setViewUsed(number);
        m_faults.warn("compressed copy of data is not carried; the data are written uncompressed",
                      "KHR_draco_mesh_compression");
    }

    auto data = kxNew<kxGeometryAttr>();
    const char* fault = nullptr;
    if (!readVertexData(*data, json, where, fault))
        return false;
    if (fault)
    {
        m_faults.warn(fault, where);
        return true;
    }
    auto geometry = kxNew<kxGeometry>();
    geometry->_attrs->append(data);
    geometry->_userData = m_carried.read(json, kPrimitiveKeys);
    if (const kxJsonValue* variants = extensions ? findMember(*extensions, "KHR_materials_variants") : nullptr)
        readVariants(*geometry, *variants, where);
    uint32_t material = 0;
    if (!readReference(json, "material", m_materials.size(), "material", where, material))
    {
        mesh.appendChild(geometry);
        return true;
    }
    auto set = kxNew<kxAttrSet>();
    appendMaterial(*set->_attrs, material);
    set->appendChild(geometry);
    mesh.appendChild(set);
    return true;
}

void kxGltfReader::readVariants(kxGeometry& geometry, const kxJsonValue& json, const std::string& where)
{
    const kxJsonValue* mappings = findMember(json, "mappings");
    if (!mappings || !mappings->IsArray())
        return m_faults.warn("material variants without mappings are left out", where);
    for (auto at = mappings->Begin(); at != mappings->End(); ++at)
    {
        uint32_t material = 0;
        const kxJsonValue* variants = findMember(*at, "variants");
        if (!variants || !variants->IsArray() || variants->Empty() || !findMember(*at, "material"))
        {
            m_faults.warn("mappings of material variants without variants or material are left out", where);
            continue;
        }
        if (!readReference(*at, "material", m_materials.size(), "material", where, material))
            continue;
        auto variant = kxNew<kxMaterialVariant>();
        if (const kxJsonValue* name = findMember(*at, "name"); name && name->IsString())
            variant->_name = kxStringRef(textOf(*name));
        for (auto number = variants->Begin(); number != variants->End(); ++number)
        {
            uint32_t index = 0;
            if (readIndex(*number, index) && index <= INT32_MAX)
                variant->_variants->append(static_cast<int32_t>(index));
            else
                m_faults.warn("variant that is no number is left out", where);
        }
        if (variant->_variants->getCount() == 0)
            continue;
        appendMaterial(*variant->_attrs, material);
        variant->_userData = m_carried.read(*at, kMappingKeys);
        if (!geometry._variants)
            geometry._variants = kxNew<kxMaterialVariantList>();
        geometry._variants->append(variant);
    }
}

int64_t kxGltfReader::lastJointOf(Mesh& record)
{
    if (record.lastJoint != -2)
        return record.lastJoint;
    record.lastJoint = -1;
    forEachGeometry(*record.mesh,
                    [&](const kxGeometryAttr& data)
                    {
                        for (const kxVertexArray* joints : *data._arrays)
                        {
                            if (joints->_semantic.view().substr(0, 7) != "JOINTS_")
                                continue;
                            const kxVertexArray* weights =
                                data.getArray(kxFormat("WEIGHTS_%s", joints->_semantic.c_str() + 7));
                            for (int64_t i = 0; i < joints->_count; ++i)
                                for (uint32_t c = 0; c < 4; ++c)
                                {
                                    const auto joint = static_cast<int64_t>(joints->getComponent(i, c));
                                    if (joint > record.lastJoint && (!weights || weights->getComponent(i, c) != 0))
                                        record.lastJoint = joint;
                                }
                        }
                    });
    return record.lastJoint;
}

} // namespace Kel::Gltf
