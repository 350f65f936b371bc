// What benchmarks of optimizations have in common.
#pragma once

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptInterface.h"
#include "platform/sg/kxSceneInfo.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <unistd.h>

namespace Kel::Bench
{

/// Seconds of the processor: steps have one thread, and other programs shall not count.
inline double secondsOf(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Takes whatever was measured before out of the processor's caches. A step of a real run comes behind others that have touched
/// the whole scene; and growth would otherwise say no more than that the smallest scene fits into a cache.
/// The first call takes the memory for it.
inline void sweepCaches()
{
    static const std::vector<char> other(2 * static_cast<size_t>(std::max(sysconf(_SC_LEVEL3_CACHE_SIZE), 16L << 20)),
                                         1);
    static volatile int sum [[maybe_unused]]; // keeps the compiler from leaving the loop out
    int seen = 0;
    for (size_t at = 0; at < other.size(); at += 64)
        seen += other[at];
    sum = seen;
}

inline double secondsFromMemory(const std::function<void()>& work)
{
    sweepCaches();
    return secondsOf(work);
}

/// Growth exponent: 1 is linear.
inline double exponentOf(double smallSeconds, double largeSeconds, double sizeRatio)
{
    return smallSeconds > 0 ? std::log(largeSeconds / smallSeconds) / std::log(sizeRatio) : 0;
}

/// Seconds of measured rows, for a table of exponents behind them.
class Growth
{
public:
    void note(const std::string& row, double size, double seconds) { m_rows[row].push_back({size, seconds}); }
    void print() const
    {
        for (const auto& [row, points] : m_rows)
            if (points.size() > 1)
                std::printf(
                    "%-40s exponent %.2f from %.0f to %.0f\n", row.c_str(),
                    exponentOf(points.front().seconds, points.back().seconds, points.back().size / points.front().size),
                    points.front().size, points.back().size);
    }

private:
    struct Point
    {
        double size, seconds;
    };
    std::map<std::string, std::vector<Point>> m_rows;
};

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
