// What the scene optimizations cost for each node, attribute or draw, as the scene and its shape grow.
//
// Times are those of the step alone, from caches that hold nothing of the scene; growth is printed at the end. `us_per_unit` is
// what counts; `walks` says how many plain walks over the same nodes the step took, in the same run, so that figures of different
// machines can be compared.
#include "bench/kxBenchRun.h"
#include "bench/kxBenchScene.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/libKXOpt.h"
#include "opt/scene/kxCollapseHierarchy.h"
#include "opt/scene/kxFlattenHierarchy.h"
#include "opt/scene/kxPromoteAttrs.h"
#include "opt/scene/kxRemoveAttrs.h"
#include "opt/scene/kxShareAttrs.h"
#include "opt/scene/kxStatistics.h"
#include "opt/verify/kxPictureComparison.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxTransform.h"

#include <benchmark/benchmark.h>

#include <functional>

using namespace Kel;
using namespace Kel::Bench;
using namespace Kel::Opt;

namespace
{

/// A scene with the services to optimize it.
struct World : Services
{
    World(const char* shape, uint32_t nodeCount)
    {
        scene = makeBenchScene(shape, nodeCount);
        root = scene->getSceneGraph();
    }

    kxSmartPointer<kxSceneInfo> scene;
    kxSmartPointer<kxNode> root;
};

/// Sets a new material above everything that is drawn, so that there are as many attributes as meshes: all equal, or
/// each of another colour.
void giveEachItsMaterial(kxNode* root, bool distinct)
{
    struct Context
    {
        bool distinct;
        std::vector<kxGroup*> groups;
    } context{distinct, {}};
    forEachNodeOnce(
        root,
        [](kxNode* node, void* data)
        {
            if (auto* transform = kxCast<kxTransform>(node); transform && transform->getChildCount() > 0)
                static_cast<Context*>(data)->groups.push_back(transform);
        },
        &context);
    for (size_t i = 0; i < context.groups.size(); ++i)
    {
        auto material = kxNew<Attrs::kxMaterialAttr>();
        const float shade = distinct ? static_cast<float>(i) : 0.5f;
        material->_baseColorFactor = {shade, 0.5f, 0.25f, 1};
        auto set = kxNew<kxAttrSet>();
        set->appendAttr(material);
        const kxSmartPointer<kxNode> child = context.groups[i]->getChild(0u);
        context.groups[i]->setChild(0, set);
        set->appendChild(child);
    }
}

/// Puts a plain group between every group and its first child.
void putGroupsBetween(kxNode* root)
{
    std::vector<kxGroup*> groups;
    forEachNodeOnce(
        root,
        [](kxNode* node, void* data)
        {
            if (auto* transform = kxCast<kxTransform>(node); transform && transform->getChildCount() > 0)
                static_cast<std::vector<kxGroup*>*>(data)->push_back(transform);
        },
        &groups);
    for (kxGroup* group : groups)
    {
        auto between = kxNew<kxGroup>();
        const kxSmartPointer<kxNode> child = group->getChild(0u);
        group->setChild(0, between);
        between->appendChild(child);
    }
}

int64_t counterOf(const kxOptBase& optimization, const char* name)
{
    for (const kxOptBase::Counter& counter : optimization.getCounters())
        if (counter.name == name)
            return counter.value;
    return 0;
}

/// Runs one step on a fresh scene; the step gives the number of units that it treated and its seconds.
using Step = std::function<int64_t(World& world, double& seconds)>;

Growth g_growth;

// The best of several runs, more of short ones: other programs can only add to a time.
void measure(benchmark::State& state, const std::string& name, const char* shape, const Step& step)
{
    const int64_t runs = std::clamp<int64_t>(200'000 / state.range(0), 2, 10);
    double best = 0, walk = 0, units = 0, nodeCount = 0;
    for (auto _ : state)
    {
        for (int64_t run = 0; run < runs; ++run)
        {
            World world(shape, static_cast<uint32_t>(state.range(0)));
            walk = secondsFromMemory([&] { nodeCount = static_cast<double>(countNodes(world.root)); });
            double seconds = 0;
            units = static_cast<double>(step(world, seconds));
            best = run == 0 ? seconds : std::min(best, seconds);
        }
        state.SetIterationTime(best);
    }
    state.counters["units"] = units;
    state.counters["nodes"] = nodeCount;
    state.counters["us_per_unit"] = units > 0 ? best * 1e6 / units : 0;
    state.counters["walks"] = best / walk;
    g_growth.note(name, static_cast<double>(state.range(0)), best);
}

template <class T>
void apply(World& world, const kxSmartPointer<T>& optimization, double& seconds)
{
    seconds = secondsFromMemory([&] { optimization->apply(world.root); });
}

int64_t share(World& world, double& seconds, bool distinct)
{
    giveEachItsMaterial(world.root, distinct);
    auto optimization = world.create<kxShareAttrs>();
    optimization->_attributeType = Attrs::kxMaterialAttr::staticMetaObject();
    apply(world, optimization, seconds);
    return counterOf(*optimization, "attributes shared") + optimization->_attributeList->getCount();
}

int64_t collapse(World& world, double& seconds, kxMetaObject* type)
{
    auto optimization = world.create<kxCollapseHierarchy>();
    optimization->_nodeType = type;
    const auto before = static_cast<int64_t>(countNodes(world.root));
    apply(world, optimization, seconds);
    const int64_t removed = before - static_cast<int64_t>(countNodes(world.root));
    return removed > 0 ? removed : before;
}

const std::pair<const char*, Step> kSteps[] = {
    {"share_equal", [](World& world, double& seconds) { return share(world, seconds, false); }},
    {"share_distinct", [](World& world, double& seconds) { return share(world, seconds, true); }},
    {"remove",
     [](World& world, double& seconds)
     {
         giveEachItsMaterial(world.root, false);
         auto optimization = world.create<kxRemoveAttrs>();
         optimization->_attributeType = Attrs::kxMaterialAttr::staticMetaObject();
         apply(world, optimization, seconds);
         return counterOf(*optimization, "attributes removed");
     }},
    {"promote",
     [](World& world, double& seconds)
     {
         auto optimization = world.create<kxPromoteAttrs>();
         optimization->_attributeType = Attrs::kxMaterialAttr::staticMetaObject();
         const auto nodeCount = static_cast<int64_t>(countNodes(world.root));
         apply(world, optimization, seconds);
         return nodeCount;
     }},
    {"promote_distinct",
     [](World& world, double& seconds)
     {
         giveEachItsMaterial(world.root, true);
         auto optimization = world.create<kxPromoteAttrs>();
         optimization->_attributeType = Attrs::kxMaterialAttr::staticMetaObject();
         const auto nodeCount = static_cast<int64_t>(countNodes(world.root));
         apply(world, optimization, seconds);
         return nodeCount;
     }},
    {"collapse_groups",
     [](World& world, double& seconds)
     {
         putGroupsBetween(world.root);
         return collapse(world, seconds, kxGroup::staticMetaObject());
     }},
    {"collapse_transforms",
     [](World& world, double& seconds) { return collapse(world, seconds, kxTransform::staticMetaObject()); }},
    {"collapse_nothing",
     [](World& world, double& seconds) { return collapse(world, seconds, kxMesh::staticMetaObject()); }},
    {"flatten",
     [](World& world, double& seconds)
     {
         putGroupsBetween(world.root);
         giveEachItsMaterial(world.root, false);
         auto optimization = world.create<kxFlattenHierarchy>();
         const auto before = static_cast<int64_t>(countNodes(world.root));
         apply(world, optimization, seconds);
         return before - static_cast<int64_t>(countNodes(world.root));
     }},
    {"statistics",
     [](World& world, double& seconds)
     {
         kxStatistics::enableStatistics();
         auto optimization = world.create<kxStatistics>();
         apply(world, optimization, seconds);
         int64_t visits = 0;
         for (const kxGenericNodeStatistics* entry : *optimization->_nodeStatistics->_nodeStatisticsList)
             visits += entry->_instance;
         return visits;
     }},
    {"draw_list",
     [](World& world, double& seconds)
     {
         kxDrawList list;
         seconds = secondsFromMemory([&] { list.collect(world.root); });
         return static_cast<int64_t>(list.getDraws().size());
     }},
    {"compare",
     [](World& world, double& seconds)
     {
         kxDrawList before, after;
         before.collect(world.root);
         auto group = kxCast<kxGroup>(world.root);
         // Another order, so that every draw is looked for.
         const kxSmartPointer<kxNode> first = group->getChild(0u);
         group->removeChild(0u);
         group->appendChild(first);
         after.collect(world.root);
         seconds = secondsFromMemory([&] { kxPictureComparison().compare(before, after); });
         return static_cast<int64_t>(before.getDraws().size());
     }},
};

} // namespace

int main(int argc, char** argv)
{
    libKXOpt_arkRegister();
    for (const auto& [name, step] : kSteps)
        for (const char* shape : {"city", "chain", "star"})
        {
            const std::string row = std::string(name) + "/" + shape;
            benchmark::RegisterBenchmark(row.c_str(),
                                         [row, shape = std::string(shape), step = step](benchmark::State& state)
                                         { measure(state, row, shape.c_str(), step); })
                ->RangeMultiplier(10)
                ->Range(10'000, 1'000'000)
                ->UseManualTime()
                ->Iterations(1)
                ->Unit(benchmark::kMillisecond);
        }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    g_growth.print();
    return 0;
}
