// How load, walk, check and write grow with the size and the shape of a scene.
//
// Each row runs in a process of its own, so that peak memory belongs to the row; each part of it starts from caches that hold
// nothing of the scene. Walks count a shared node once for each path, bytes are divided by the nodes that there are. Behind the
// rows of a shape stand the growth exponents from its smallest: 1 is linear.
#include "bench/kxBenchRun.h"
#include "bench/kxBenchScene.h"

#include "examples/generator/kxSceneMaker.h"
#include "interop/gltf/kxGltfJson.h"
#include "interop/gltf/libKXGltf.h"
#include "opt/framework/kxManager.h"
#include "opt/iterate/kxIterateGraph.h"
#include "opt/libKXOpt.h"
#include "opt/scene/kxRepairHierarchy.h"
#include "platform/core/kxKXBFile.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxResource.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Kel;
using namespace Kel::Bench;

namespace
{

struct Row
{
    double loadSeconds = 0, walkSeconds = 0, repairSeconds = 0, writeSeconds = 0, releaseSeconds = 0;
    uint64_t fileBytes = 0, peakBytes = 0, startBytes = 0, vertexBytes = 0, nodeCount = 0, visitCount = 0;
};

double wallSecondsOf(const std::function<void()>& work)
{
    sweepCaches();
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

uint64_t peakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<uint64_t>(usage.ru_maxrss) * 1024;
}

// Runs `work` in a child process and gives what it filled in; false when the child failed.
bool runApart(Row& row, const std::function<void(Row&)>& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
    {
        close(ends[0]);
        work(row);
        const bool sent = write(ends[1], &row, sizeof row) == static_cast<ssize_t>(sizeof row);
        _exit(sent ? 0 : 1);
    }
    close(ends[1]);
    const bool received = read(ends[0], &row, sizeof row) == static_cast<ssize_t>(sizeof row);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return received && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// JSON text of a .glb alone: parsed as the reader does it, the nodes one by one, with nothing made of them. In MB/s.
double jsonSpeed(const std::string& path)
{
    const auto file = kxMappedFile::open(path.c_str());
    uint32_t byteCount = 0;
    std::memcpy(&byteCount, file->getData() + 12, sizeof byteCount);
    double best = 0;
    for (int run = 0; run < 3; ++run)
    {
        auto text = std::make_unique<char[]>(byteCount + Gltf::kxJsonDocument::kBehindText);
        std::memcpy(text.get(), file->getData() + 20, byteCount);
        Gltf::kxJsonDocument json;
        std::string fault;
        const Gltf::kxJsonDocument::Listener listener{"nodes", [](const auto&, const auto&) {}};
        bool parsed = false;
        const double seconds =
            wallSecondsOf([&] { parsed = json.parse(std::move(text), byteCount, fault, &listener); });
        if (!parsed)
            return 0;
        best = std::max(best, byteCount / 1e6 / seconds);
    }
    return best;
}

void measure(Row& row, const std::string& input, const std::string& output)
{
    row.startBytes = peakBytes();
    row.fileBytes = std::filesystem::file_size(input);
    kxSmartPointer<kxDirectory> directory;
    row.loadSeconds = wallSecondsOf([&] { directory = kxResource::load(input.c_str()); });
    if (!directory->isLoaded())
        _exit(1);
    kxSmartPointer<kxSceneInfo> info =
        static_cast<kxSceneInfo*>(kxResource::getInfoByType(directory, kxStringRef("kxSceneInfo")));
    kxSmartPointer<kxNode> root = info->getSceneGraph();
    row.vertexBytes = countVertexBytes(root);
    row.nodeCount = countNodes(root);

    auto iterator = kxNew<Opt::kxIterateGraph>();
    row.walkSeconds = wallSecondsOf(
        [&]
        {
            for (kxNode* node = iterator->begin(root); node; node = iterator->getNext())
                ++row.visitCount;
        });
    iterator = nullptr;
    {
        auto manager = kxNew<Opt::kxDefaultManager>();
        auto repair = kxNew<Opt::kxRepairHierarchy>();
        manager->setup(repair);
        row.repairSeconds = wallSecondsOf([&] { repair->apply(root); });
    }
    row.writeSeconds = wallSecondsOf(
        [&]
        {
            auto file = kxNew<kxKXBFile>();
            for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
                if (auto* entry = kxCast<kxObjectDirEntry>(directory->getEntry(i)))
                    file->addObject(entry->getObject(), entry->getName());
            if (file->write(output.c_str()) == 0)
                _exit(1);
        });
    row.peakBytes = peakBytes();
    row.releaseSeconds = wallSecondsOf(
        [&]
        {
            root = nullptr;
            info = nullptr;
            directory = nullptr;
        });
}

// The best of several runs: other programs can only add to a time.
bool measureBest(Row& best, uint32_t runs, const std::string& input, const std::string& output)
{
    for (uint32_t run = 0; run < runs; ++run)
    {
        Row row;
        if (!runApart(row, [&](Row& r) { measure(r, input, output); }))
            return false;
        if (run == 0)
            best = row;
        for (double Row::*seconds :
             {&Row::loadSeconds, &Row::walkSeconds, &Row::repairSeconds, &Row::writeSeconds, &Row::releaseSeconds})
            best.*seconds = std::min(best.*seconds, row.*seconds);
    }
    return true;
}

bool makeInput(const std::string& shape, uint32_t nodes, const std::string& path)
{
    Row unused;
    return runApart(unused,
                    [&](Row&)
                    {
                        if (path.ends_with(".kxb"))
                        {
                            auto file = kxNew<kxKXBFile>();
                            file->addObject(makeBenchScene(shape, nodes), kxStringRef(shape));
                            if (file->write(path.c_str()) == 0)
                                _exit(1);
                            return;
                        }
                        Examples::kxSceneOptions options;
                        options.nodeCount = nodes;
                        options.shape = shape == "city"    ? Examples::kxSceneShape::CITY
                                        : shape == "chain" ? Examples::kxSceneShape::CHAIN
                                                           : Examples::kxSceneShape::STAR;
                        std::string error;
                        if (!Examples::writeScene(Examples::makeScene(options), path, error))
                            _exit(1);
                    });
}

} // namespace

int main(int argc, char** argv)
{
    uint32_t largest = 1000000;
    if (argc > 1)
        largest = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    libKXOpt_arkRegister();
    libKXGltf_arkRegister();
    sweepCaches(); // its memory belongs to no row
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("kxScaleBench" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);

    std::printf("%-6s %-4s %8s %8s %8s %9s %8s %8s %8s %9s %10s\n", "shape", "form", "nodes", "MB", "load s", "MB/s",
                "walk s", "Mnode/s", "repair s", "write s", "bytes/node");
    int failures = 0;
    for (const char* form : {"glb", "kxb"})
        for (const char* shape : {"city", "chain", "star"})
        {
            std::vector<Row> rows;
            std::vector<uint32_t> sizes;
            for (uint32_t nodes = 10000; nodes <= largest; nodes *= 10)
            {
                // Readers of glTF are asked for a chain of 100 000; what is deeper goes through the native format.
                if (std::strcmp(shape, "chain") == 0 && std::strcmp(form, "glb") == 0 && nodes > 100000)
                    continue;
                const std::string input = (folder / (std::string("in.") + form)).string();
                const std::string output = (folder / (std::string("out.") + form)).string();
                Row row;
                if (!makeInput(shape, nodes, input) || !measureBest(row, nodes < 1000000 ? 5 : 3, input, output))
                {
                    std::printf("%-6s %-4s %8u failed\n", shape, form, nodes);
                    ++failures;
                    continue;
                }
                const double megabytes = double(row.fileBytes) / 1e6;
                const double memory = double(row.peakBytes - row.startBytes) - double(row.vertexBytes);
                std::printf("%-6s %-4s %8u %8.1f %8.3f %9.0f %8.3f %8.1f %8.3f %9.3f %10.0f\n", shape, form, nodes,
                            megabytes, row.loadSeconds, megabytes / row.loadSeconds, row.walkSeconds,
                            double(row.visitCount) / 1e6 / row.walkSeconds, row.repairSeconds, row.writeSeconds,
                            memory / double(row.nodeCount));
                if (std::strcmp(form, "glb") == 0 && nodes == largest)
                    std::printf("%-6s %-4s JSON text alone: %.0f MB/s\n", shape, form, jsonSpeed(input));
                rows.push_back(row);
                sizes.push_back(nodes);
            }
            if (rows.size() < 2)
                continue;
            const double ratio = double(sizes.back()) / sizes.front();
            const Row &a = rows.front(), &b = rows.back();
            std::printf(
                "%-6s %-4s exponent: load %.2f, walk %.2f, repair %.2f, write %.2f, release %.2f\n", shape, form,
                exponentOf(a.loadSeconds, b.loadSeconds, ratio), exponentOf(a.walkSeconds, b.walkSeconds, ratio),
                exponentOf(a.repairSeconds, b.repairSeconds, ratio), exponentOf(a.writeSeconds, b.writeSeconds, ratio),
                exponentOf(a.releaseSeconds, b.releaseSeconds, ratio));
        }
    std::filesystem::remove_all(folder);
    return failures;
}
