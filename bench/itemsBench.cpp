// What a call of an item costs, and a walk that is made of such calls. Each row prints its ratio to the same work done
// without items, in the same run; the walks also print their growth exponent from a tenth of the size.
#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxItemCall.h"
#include "opt/iterate/kxIterateObject.h"
#include "opt/libKXOpt.h"
#include "opt/tracking/kxLockInterface.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSceneInfo.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <map>

namespace
{

using namespace Kel::Opt;

/// Processor time: other programs on the machine do not count.
double cpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

kxManager& manager()
{
    static const kxSmartPointer<kxDefaultManager> services = []
    {
        Kel::libKXOpt_arkRegister();
        return kxNew<kxDefaultManager>();
    }();
    return *services;
}

/// Seconds that one call of `work` takes, the best of some tries.
template <class Work>
double secondsOf(Work work, int tries, int callsPerTry)
{
    double best = 1e9;
    for (int i = 0; i < tries; ++i)
    {
        const double start = cpuSeconds();
        for (int k = 0; k < callsPerTry; ++k)
            work();
        best = std::min(best, (cpuSeconds() - start) / callsPerTry);
    }
    return best;
}

/// Runs `work` as a row and prints its time as a multiple of that of `reference`.
template <class Work, class Reference>
void runRow(benchmark::State& state, Work work, Reference reference)
{
    const double referenceSeconds = secondsOf(reference, 5, 100000);
    for (auto _ : state)
        work();
    state.counters["ratio"] = secondsOf(work, 5, 100000) / referenceSeconds;
}

// --- calls ---

void createItem(benchmark::State& state)
{
    const kxStringRef name = kxItemNames::get().replaceChildItem;
    kxMetaObject* type = (manager(), kxGroup::staticMetaObject());
    runRow(
        state, [&] { benchmark::DoNotOptimize(manager()._itemInterface->createItemBase(name, type)); },
        [] { benchmark::DoNotOptimize(kxNew<kxParameterSet>()); });
}

// Two objects in, one flag out: the parameter sets are made, filled, checked, read and released.
void applyCompare(benchmark::State& state)
{
    const kxItemNames& names = kxItemNames::get();
    manager();
    const auto first = kxNew<Kel::Attrs::kxMaterialAttr>();
    const auto second = kxNew<Kel::Attrs::kxMaterialAttr>();
    const auto item = manager()._itemInterface->createItemBase(names.compareAttr, first->getMetaObject());
    item->_lockInterface = nullptr; // has a row of its own
    runRow(
        state,
        [&]
        {
            const auto input = kxNew<kxParameterSet>();
            input->setFieldValue(names.attributeOneField, first);
            input->setFieldValue(names.attributeTwoField, second);
            const auto result = item->apply(names.compare, input);
            bool alike = false;
            result->getFieldValue(names.compareField, alike);
            benchmark::DoNotOptimize(alike);
        },
        [&] { benchmark::DoNotOptimize(first->isAlikeShallow(second)); });
}

void applyGetChildList(benchmark::State& state)
{
    const kxItemNames& names = kxItemNames::get();
    manager();
    const auto group = kxNew<kxGroup>();
    for (int i = 0; i < 4; ++i)
        group->appendChild(kxNew<kxGroup>());
    runRow(
        state,
        [&]
        {
            kxItemCall call(&manager(), names.nodeTraversal, group);
            call.set(names.containerField, group).tryRun(names.getChildList);
            benchmark::DoNotOptimize(call.getList(names.childListField));
        },
        [&] { benchmark::DoNotOptimize(group->getChildList()->copyShallow()); });
}

void applyGetProperty(benchmark::State& state)
{
    const kxItemNames& names = kxItemNames::get();
    manager();
    const auto group = kxNew<kxGroup>();
    runRow(
        state,
        [&]
        {
            kxItemCall call(&manager(), names.objectProperty, group);
            call.set(names.objectField, group).tryRun(names.getProperty);
            benchmark::DoNotOptimize(call.getFlag(names.canReplaceChildField));
        },
        [] { benchmark::DoNotOptimize(kxNew<kxParameterSet>()); });
}

void isLocked(benchmark::State& state)
{
    manager();
    const auto group = kxNew<kxGroup>();
    runRow(
        state, [&] { benchmark::DoNotOptimize(manager()._lockInterface->isLocked(group)); },
        [&] { benchmark::DoNotOptimize(group->isDynamic()); });
}

BENCHMARK(createItem);
BENCHMARK(applyCompare);
BENCHMARK(applyGetChildList);
BENCHMARK(applyGetProperty);
BENCHMARK(isLocked);

// --- walks ---

using Build = kxSmartPointer<kxGroup> (*)(int64_t nodeCount);

kxSmartPointer<kxGroup> buildTree(int64_t nodeCount)
{
    std::vector<kxSmartPointer<kxGroup>> nodes = {kxNew<kxGroup>()};
    for (int64_t i = 1; i < nodeCount; ++i)
    {
        nodes.push_back(kxNew<kxGroup>());
        nodes[static_cast<size_t>((i - 1) / 8)]->appendChild(nodes.back());
    }
    return nodes[0];
}

kxSmartPointer<kxGroup> buildStar(int64_t nodeCount)
{
    auto root = kxNew<kxGroup>();
    for (int64_t i = 1; i < nodeCount; ++i)
        root->appendChild(kxNew<kxGroup>());
    return root;
}

kxSmartPointer<kxGroup> buildChain(int64_t nodeCount)
{
    auto root = kxNew<kxGroup>();
    kxGroup* last = root;
    for (int64_t i = 1; i < nodeCount; ++i)
    {
        const auto next = kxNew<kxGroup>();
        last->appendChild(next);
        last = next;
    }
    return root;
}

kxSmartPointer<kxGroup> buildSharedLeaf(int64_t nodeCount)
{
    auto root = buildStar(nodeCount - 1);
    const auto shared = kxNew<kxGroup>();
    for (kxNode* parent : *root->getChildList())
        static_cast<kxGroup*>(parent)->appendChild(shared);
    return root;
}

int64_t walk(kxNode* root)
{
    const auto iterate = kxNew<kxIterateObject>();
    iterate->setItemInterface(manager()._itemInterface);
    iterate->setTraversalName(kxItemNames::get().nodeTraversal);
    int64_t count = 0;
    for (const kxObject* object = iterate->begin(root); object; object = iterate->getNext())
        ++count;
    return count;
}

int64_t walkDirectly(kxNode* root)
{
    int64_t count = 0;
    forEachNodeOnce(
        root, [](kxNode*, void* context) { ++*static_cast<int64_t*>(context); }, &count);
    return count;
}

void walkGraph(benchmark::State& state, Build build)
{
    static std::map<std::pair<Build, int64_t>, double> times;
    manager();
    const int64_t nodeCount = state.range(0);
    const kxSmartPointer<kxGroup> root = build(nodeCount);
    const double reference = secondsOf([&] { benchmark::DoNotOptimize(walkDirectly(root)); }, 3, 1);
    double best = 1e9;
    for (auto _ : state)
        best = std::min(best, secondsOf([&] { benchmark::DoNotOptimize(walk(root)); }, 1, 1));
    times[{build, nodeCount}] = best;
    state.counters["ns_per_node"] = best * 1e9 / static_cast<double>(nodeCount);
    state.counters["ratio"] = best / reference;
    if (const auto smaller = times.find({build, nodeCount / 10}); smaller != times.end())
        state.counters["exponent"] = std::log10(best / smaller->second);
}

#define KX_WALK(build)                                                                                                 \
    BENCHMARK_CAPTURE(walkGraph, build, build)                                                                         \
        ->RangeMultiplier(10)                                                                                          \
        ->Range(10000, 1000000)                                                                                        \
        ->Unit(benchmark::kMillisecond)
KX_WALK(buildTree);
KX_WALK(buildStar);
KX_WALK(buildChain);
KX_WALK(buildSharedLeaf);

} // namespace

BENCHMARK_MAIN();
