// What it costs to partition scenes, to cut geometry and to make boxes, and what partitioned scenes save when they are culled.
//
// Times are those of the step alone, of the processor. `walks` says how many plain walks over the same nodes the step took, in
// the same run, so that figures of different machines can be compared.
#include "bench/kxBenchRun.h"
#include "bench/kxBenchScene.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/libKXOpt.h"
#include "opt/scene/kxCreateBoundingBoxes.h"
#include "opt/scene/kxSpatialPartition.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxTransform.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <functional>
#include <random>

using namespace Kel;
using namespace Kel::Bench;
using namespace Kel::Opt;

namespace
{

/// A hilly sheet of about so many triangles with normals and coordinates, as one geometry.
kxSmartPointer<kxGeometry> makeSheet(int64_t triangleCount)
{
    const auto n = static_cast<uint32_t>(std::sqrt(static_cast<double>(triangleCount) / 2));
    std::vector<float> positions, normals, coordinates;
    std::vector<uint32_t> indices;
    for (uint32_t y = 0; y <= n; ++y)
        for (uint32_t x = 0; x <= n; ++x)
        {
            const float u = static_cast<float>(x) / static_cast<float>(n),
                        v = static_cast<float>(y) / static_cast<float>(n);
            positions.insert(positions.end(), {u * 100, 5 * std::sin(u * 20) * std::cos(v * 17), v * 100});
            kxVec3f normal(-std::cos(u * 20) * std::cos(v * 17), 1, std::sin(u * 20) * std::sin(v * 17));
            normal.normalize();
            normals.insert(normals.end(), {normal.x, normal.y, normal.z});
            coordinates.insert(coordinates.end(), {u, v});
        }
    for (uint32_t y = 0; y < n; ++y)
        for (uint32_t x = 0; x < n; ++x)
        {
            const uint32_t a = y * (n + 1) + x, b = a + n + 1;
            indices.insert(indices.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    const size_t vertexCount = positions.size() / 3;
    auto attr = kxNew<kxGeometryAttr>();
    attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions.data(), vertexCount));
    attr->_arrays->append(makeArray("NORMAL", kxComponentType::FLOAT32, 3, normals.data(), vertexCount));
    attr->_arrays->append(makeArray("TEXCOORD_0", kxComponentType::FLOAT32, 2, coordinates.data(), vertexCount));
    attr->_indices = makeArray("INDICES", kxComponentType::UINT32, 1, indices.data(), indices.size());
    auto geometry = kxNew<kxGeometry>();
    geometry->appendAttr(attr);
    return geometry;
}

/// So many small objects below one group: a transform for each, above a shared mesh. They stand on a plane, as a city does,
/// at random places, or in clusters of ever smaller size, which makes a deep tree.
kxSmartPointer<kxNode> makeObjects(int64_t count, const std::string& shape)
{
    auto mesh = kxNew<kxMesh>();
    mesh->appendChild(makeSheet(8));
    auto root = kxNew<kxGroup>();
    std::mt19937 random(42);
    auto number = [&](float range) { return range * static_cast<float>(random() % 1'000'003) / 1'000'003; };
    for (int64_t i = 0; i < count; ++i)
    {
        kxVec3f at(number(1e5f), number(100), number(1e5f));
        if (shape == "volume")
            at.y = number(1e5f);
        if (shape == "clusters")
            at *= std::pow(0.5f, number(20));
        auto transform = kxNew<kxTransform>();
        transform->setParts(at, {1, 0, 0, 0}, kxVec3f(0.05f));
        transform->appendChild(mesh);
        root->appendChild(transform);
    }
    return root;
}

/// The objects of a city side by side below one group, where they stand in the city.
kxSmartPointer<kxNode> makeFlatCity(uint32_t nodeCount)
{
    const kxSmartPointer<kxSceneInfo> scene = makeBenchScene("city", nodeCount);
    auto flat = kxNew<kxGroup>();
    struct Step
    {
        kxNode* node;
        kxMatrix44f matrix;
    };
    std::vector<Step> open{{scene->getSceneGraph(), {}}};
    while (!open.empty())
    {
        const Step step = open.back();
        open.pop_back();
        const auto* group = kxCast<kxGroup>(step.node);
        if (!group)
            continue;
        const auto* transform = kxCast<kxTransform>(step.node);
        const kxMatrix44f matrix = transform ? transform->getMatrix() * step.matrix : step.matrix;
        for (uint32_t i = 0; i < group->getChildCount(); ++i)
        {
            kxNode* child = group->getChild(i);
            if (!kxCast<kxMesh>(child))
            {
                open.push_back({child, matrix});
                continue;
            }
            auto place = kxNew<kxTransform>();
            place->setMatrix(matrix);
            place->appendChild(child);
            flat->appendChild(place);
        }
    }
    return flat;
}

// --- steps

void report(benchmark::State& state, double seconds, kxNode* root, double walk)
{
    state.SetIterationTime(seconds);
    state.counters["walks"] = seconds / walk;
    state.counters["nodes_after"] = static_cast<double>(countNodes(root));
    state.SetComplexityN(state.range(0));
}

void partitionObjects(benchmark::State& state, const std::string& shape)
{
    Services services;
    for (auto _ : state)
    {
        kxSmartPointer<kxNode> root = makeObjects(state.range(0), shape);
        const double walk = secondsOf([&] { countNodes(root); });
        const auto partition = services.create<kxSpatialPartition>();
        const double seconds = secondsOf([&] { partition->apply(root); });
        report(state, seconds, root, walk);
    }
}

// `once`: along the cells of one box; otherwise on and on, down to pieces of 48 triangles.
void cutSheet(benchmark::State& state, bool once)
{
    Services services;
    for (auto _ : state)
    {
        kxSmartPointer<kxNode> root = makeSheet(state.range(0));
        const auto partition = services.create<kxSpatialPartition>();
        partition->_splitGeometry = true;
        partition->_depth = once ? 1 : -1;
        const double seconds = secondsOf([&] { partition->apply(root); });
        int64_t triangles = 0;
        forEachNodeOnce(
            root,
            [](kxNode* node, void* context)
            {
                if (const auto* geometry = kxCast<kxGeometry>(node))
                    *static_cast<int64_t*>(context) += geometry->getTriangleCount();
            },
            &triangles);
        state.SetIterationTime(seconds);
        state.counters["growth"] = static_cast<double>(triangles) / static_cast<double>(state.range(0));
        state.counters["nodes_after"] = static_cast<double>(countNodes(root));
        state.SetComplexityN(state.range(0));
    }
}

void makeBoxes(benchmark::State& state, const std::string& shape)
{
    Services services;
    for (auto _ : state)
    {
        const kxSmartPointer<kxSceneInfo> scene = makeBenchScene(shape, static_cast<uint32_t>(state.range(0)));
        kxSmartPointer<kxNode> root = scene->getSceneGraph();
        const double walk = secondsOf([&] { countNodes(root); });
        const auto boxes = services.create<kxCreateBoundingBoxes>();
        const double seconds = secondsOf([&] { boxes->apply(root); });
        report(state, seconds, root, walk);
    }
}

// --- culling

/// What a viewer sees: the space on the inner side of planes (normal and distance).
struct View
{
    std::vector<std::pair<kxVec3f, float>> planes;

    bool sees(const kxAABox& box) const
    {
        for (const auto& [normal, distance] : planes)
        {
            kxVec3f farthest;
            for (int axis = 0; axis < 3; ++axis)
                farthest[axis] = normal[axis] > 0 ? box.max[axis] : box.min[axis];
            if (normal.dot(farthest) < distance)
                return false;
        }
        return true;
    }
};

/// Somebody in the scene who looks in some direction with an angle of 60 degrees, a tenth of the scene's extent far.
View makeView(const kxAABox& all, std::mt19937& random)
{
    auto part = [&] { return static_cast<float>(random() % 10007) / 10007; };
    const kxVec3f extent = all.max - all.min;
    const kxVec3f eye = all.min + kxVec3f(extent.x * part(), extent.y * part(), extent.z * part());
    const float turn = 6.2831853f * part(), half = 0.5235988f;
    const kxVec3f ahead(std::cos(turn), 0, std::sin(turn)), up(0, 1, 0);
    auto inward = [&](float angle) { return kxVec3f(std::cos(turn + angle), 0, std::sin(turn + angle)); };
    View view;
    auto add = [&](const kxVec3f& normal, const kxVec3f& point)
    { view.planes.emplace_back(normal, normal.dot(point)); };
    add(inward(1.5707963f - half), eye);
    add(inward(half - 1.5707963f), eye);
    add(ahead * std::sin(half) + up * std::cos(half), eye);
    add(ahead * std::sin(half) - up * std::cos(half), eye);
    add(ahead * -1, eye + ahead * (std::max(extent.x, extent.z) / 10));
    return view;
}

struct Visits
{
    int64_t nodes = 0;
    int64_t meshes = 0;
};

Visits cull(kxNode* root, const View& view)
{
    struct Step
    {
        kxNode* node;
        kxMatrix44f matrix;
    };
    Visits visits;
    std::vector<Step> open{{root, {}}};
    while (!open.empty())
    {
        Step step = open.back();
        open.pop_back();
        ++visits.nodes;
        if (const auto* transform = kxCast<kxTransform>(step.node))
            step.matrix = transform->getMatrix() * step.matrix;
        if (const kxBoundingVolume* volume = step.node->_boundingVolume)
        {
            kxAABox box;
            for (int corner = 0; corner < 8; ++corner)
            {
                const kxAABox& own = volume->_box;
                box.extendBy(kxVec3f(corner & 1 ? own.max.x : own.min.x, corner & 2 ? own.max.y : own.min.y,
                                     corner & 4 ? own.max.z : own.min.z) *
                             step.matrix);
            }
            if (!view.sees(box))
                continue;
        }
        if (kxCast<kxMesh>(step.node))
        {
            ++visits.meshes;
            continue;
        }
        const auto* group = kxCast<kxGroup>(step.node);
        for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
            if (group->getChild(i))
                open.push_back({group->getChild(i), step.matrix});
    }
    return visits;
}

void cullCity(benchmark::State& state)
{
    Services services;
    for (auto _ : state)
    {
        kxSmartPointer<kxNode> root = makeFlatCity(static_cast<uint32_t>(state.range(0)));
        services.create<kxCreateBoundingBoxes>()->apply(root);
        const kxAABox all = root->_boundingVolume->_box;
        std::mt19937 random(7);
        std::vector<View> views;
        for (int i = 0; i < 100; ++i)
            views.push_back(makeView(all, random));
        auto cullAll = [&](Visits& sum)
        {
            return secondsOf(
                [&]
                {
                    for (const View& view : views)
                    {
                        const Visits visits = cull(root, view);
                        sum.nodes += visits.nodes;
                        sum.meshes += visits.meshes;
                    }
                });
        };
        Visits flat, tree;
        const double flatSeconds = cullAll(flat);
        services.create<kxSpatialPartition>()->apply(root);
        services.create<kxCreateBoundingBoxes>()->apply(root);
        const double treeSeconds = cullAll(tree);
        state.SetIterationTime(treeSeconds);
        const auto count = static_cast<double>(views.size());
        state.counters["flat_visits"] = static_cast<double>(flat.nodes) / count;
        state.counters["tree_visits"] = static_cast<double>(tree.nodes) / count;
        state.counters["meshes_seen"] = static_cast<double>(tree.meshes) / count;
        state.counters["fewer"] = static_cast<double>(flat.nodes) / static_cast<double>(tree.nodes);
        state.counters["faster"] = flatSeconds / treeSeconds;
        if (flat.meshes != tree.meshes)
            state.SkipWithError("the partitioned scene shows other meshes");
    }
}

} // namespace

int main(int argc, char** argv)
{
    libKXOpt_arkRegister();
    auto add = [](const std::string& name, const std::function<void(benchmark::State&)>& run)
    {
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->RangeMultiplier(10)
            ->Range(10'000, 1'000'000)
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    };
    for (const std::string shape : {"plane", "volume", "clusters"})
        add("partition/" + shape, [shape](benchmark::State& state) { partitionObjects(state, shape); });
    add("cut/once", [](benchmark::State& state) { cutSheet(state, true); });
    add("cut/all", [](benchmark::State& state) { cutSheet(state, false); });
    for (const std::string shape : {"city", "chain", "star"})
        add("boxes/" + shape, [shape](benchmark::State& state) { makeBoxes(state, shape); });
    add("cull/city", cullCity);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
