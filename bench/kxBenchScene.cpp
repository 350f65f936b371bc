#include "bench/kxBenchScene.h"

#include "examples/generator/kxSceneMaker.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxTransform.h"

#include <cstring>
#include <map>
#include <unordered_set>

namespace Kel::Bench
{

using namespace Kel::Attrs;
using Examples::kxPlacement;
using Examples::kxTransformKind;

kxSmartPointer<kxVertexArray> makeArray(const char* semantic, kxComponentType type, uint32_t components,
                                        const void* values, size_t count)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = semantic;
    array->_componentType = type;
    array->_componentCount = components;
    array->_stride = array->getElementBytes();
    array->_count = static_cast<int64_t>(count);
    array->_data = kxMemoryBlock::copyOf(values, count * static_cast<size_t>(array->_stride));
    return array;
}

namespace
{

template <class T>
kxSmartPointer<kxVertexArray> arrayOf(const char* semantic, kxComponentType type, uint32_t components,
                                      const std::vector<T>& values)
{
    return makeArray(semantic, type, components, values.data(), values.size() / components);
}

kxSmartPointer<kxGeometry> makeGeometry(const Examples::kxSceneGeometry& source)
{
    auto attr = kxNew<kxGeometryAttr>();
    attr->_indices = arrayOf("", kxComponentType::UINT32, 1, source.indices);
    attr->_arrays->append(arrayOf("POSITION", kxComponentType::FLOAT32, 3, source.positions));
    if (!source.normals.empty())
        attr->_arrays->append(arrayOf("NORMAL", kxComponentType::FLOAT32, 3, source.normals));
    if (!source.uvs.empty())
        attr->_arrays->append(arrayOf("TEXCOORD_0", kxComponentType::FLOAT32, 2, source.uvs));
    auto geometry = kxNew<kxGeometry>();
    geometry->setName(kxStringRef(source.name));
    geometry->appendAttr(attr);
    return geometry;
}

kxSmartPointer<kxGroup> makeNode(const kxPlacement& placement)
{
    if (placement.kind == kxTransformKind::NONE)
        return kxNew<kxGroup>();
    auto transform = kxNew<kxTransform>();
    const auto& v = placement.values;
    if (placement.kind == kxTransformKind::MATRIX)
    {
        kxMatrix44f matrix;
        std::memcpy(matrix.getValue(), v.data(), 16 * sizeof(float));
        transform->setMatrix(matrix);
    }
    else if (placement.kind == kxTransformKind::TRS)
        transform->setParts({v[0], v[1], v[2]}, {v[6], v[3], v[4], v[5]}, {v[7], v[8], v[9]});
    else
        transform->setParts({v[0], v[1], v[2]}, {1, 0, 0, 0}, {1, 1, 1});
    return transform;
}

} // namespace

kxSmartPointer<kxSceneInfo> makeBenchScene(const std::string& shape, uint32_t nodeCount)
{
    Examples::kxSceneOptions options;
    options.nodeCount = nodeCount;
    if (shape == "city")
        options.shape = Examples::kxSceneShape::CITY;
    else if (shape == "chain")
        options.shape = Examples::kxSceneShape::CHAIN;
    else if (shape == "star")
        options.shape = Examples::kxSceneShape::STAR;
    else
        return nullptr;
    const Examples::kxScene scene = Examples::makeScene(options);

    std::vector<kxSmartPointer<kxGeometry>> geometries;
    for (const auto& geometry : scene.geometries)
        geometries.push_back(makeGeometry(geometry));
    std::vector<kxSmartPointer<kxMaterialAttr>> materials;
    for (const auto& source : scene.materials)
    {
        auto material = kxNew<kxMaterialAttr>();
        material->_name = kxStringRef(source.name);
        material->_baseColorFactor = {source.color[0], source.color[1], source.color[2], source.color[3]};
        material->_metallicFactor = source.metallic;
        material->_roughnessFactor = source.roughness;
        materials.push_back(material);
    }

    auto root = kxNew<kxGroup>();
    root->setName(kxStringRef(shape));
    std::vector<kxGroup*> nodes(scene.plan.size());
    std::map<std::pair<int32_t, int32_t>, kxSmartPointer<kxMesh>> meshes;
    for (size_t i = 0; i < nodes.size(); ++i)
    {
        kxSmartPointer<kxGroup> node = makeNode(scene.plan.placement(i));
        node->setName(kxStringRef(scene.plan.name(i)));
        kxGroup* parent = scene.plan.parent[i] < 0 ? root.get() : nodes[static_cast<size_t>(scene.plan.parent[i])];
        parent->appendChild(node);
        nodes[i] = node;
        if (scene.plan.mesh[i] < 0)
            continue;
        kxSmartPointer<kxMesh>& mesh = meshes[{scene.plan.mesh[i], scene.plan.material[i]}];
        if (!mesh)
        {
            const auto& source = scene.meshes[static_cast<size_t>(scene.plan.mesh[i])];
            mesh = kxNew<kxMesh>();
            mesh->setName(kxStringRef(source.name));
            for (const auto& primitive : source.primitives)
            {
                const int32_t material = primitive.material >= 0 ? primitive.material : scene.plan.material[i];
                auto set = kxNew<kxAttrSet>();
                if (material >= 0)
                    set->appendAttr(materials[static_cast<size_t>(material)]);
                set->appendChild(geometries[static_cast<size_t>(primitive.geometry)]);
                mesh->appendChild(set);
            }
        }
        node->appendChild(mesh);
    }
    auto info = kxNew<kxSceneInfo>();
    info->setName(kxStringRef(shape));
    info->setSceneGraph(root);
    return info;
}

uint64_t countVertexBytes(kxNode* root)
{
    struct Counter
    {
        uint64_t bytes = 0;
        std::unordered_set<const kxObject*> met;

        void add(const kxVertexArray* array)
        {
            if (array && array->_data && met.insert(array->_data).second)
                bytes += array->_data->getSize();
        }
    } counter;
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            auto* counter = static_cast<Counter*>(context);
            if (const auto* geometry = kxCast<kxGeometry>(node))
                if (const kxGeometryAttr* attr = geometry->getGeometryAttr())
                {
                    counter->add(attr->_indices);
                    for (kxVertexArray* array : *attr->_arrays)
                        counter->add(array);
                }
        },
        &counter);
    return counter.bytes;
}

} // namespace Kel::Bench
