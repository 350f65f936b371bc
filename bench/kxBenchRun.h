// What benchmarks of optimizations have in common.
#pragma once

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptInterface.h"
#include "platform/sg/kxSceneInfo.h"

#include <ctime>
#include <functional>

namespace Kel::Bench
{

/// Seconds of the processor: steps have one thread, and other programs shall not count.
inline double secondsOf(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Nodes of a graph, each once.
inline uint64_t countNodes(Sg::kxNode* root)
{
    uint64_t count = 0;
    Sg::forEachNodeOnce(
        root, [](Sg::kxNode*, void* context) { ++*static_cast<uint64_t*>(context); }, &count);
    return count;
}

/// The services of a silent run.
struct Services
{
    Services()
    {
        manager->_optInterface->updateOptList();
        manager->_logInterface->_verbose = false;
    }
    /// A new object with the services.
    template <class T>
    Core::kxSmartPointer<T> create()
    {
        auto object = Core::kxNew<T>();
        manager->setup(object);
        return object;
    }

    Core::kxSmartPointer<Opt::kxDefaultManager> manager = Core::kxNew<Opt::kxDefaultManager>();
};

} // namespace Kel::Bench
