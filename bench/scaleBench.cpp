// How load, walk, check and write grow with the size and the shape of a scene.
//
// Each row runs in a process of its own, so that peak memory belongs to the row. The last column of a shape's largest row
// is the growth exponent from its smallest: 1 is linear.
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
    uint64_t fileBytes = 0, peakBytes = 0, startBytes = 0, vertexBytes = 0, nodeCount = 0;
};

double secondsOf(const std::function<void()>& work)
{
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
        const double seconds = secondsOf([&] { parsed = json.parse(std::move(text), byteCount, fault, &listener); });
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
    row.loadSeconds = secondsOf([&] { directory = kxResource::load(input.c_str()); });
    if (!directory->isLoaded())
        _exit(1);
    kxSmartPointer<kxSceneInfo> info =
        static_cast<kxSceneInfo*>(kxResource::getInfoByType(directory, kxStringRef("kxSceneInfo")));
    kxSmartPointer<kxNode> root = info->getSceneGraph();
    row.vertexBytes = countVertexBytes(root);

    auto iterator = kxNew<Opt::kxIterateGraph>();
    row.walkSeconds = secondsOf(
        [&]
        {
            for (kxNode* node = iterator->begin(root); node; node = iterator->getNext())
                ++row.nodeCount;
        });
    iterator = nullptr;
    {
        auto manager = kxNew<Opt::kxDefaultManager>();
        auto repair = kxNew<Opt::kxRepairHierarchy>();
        manager->setup(repair);
        row.repairSeconds = secondsOf([&] { repair->apply(root); });
    }
    row.writeSeconds = secondsOf(
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
    row.releaseSeconds = secondsOf(
        [&]
        {
            root = nullptr;
            info = nullptr;
            directory = nullptr;
        });
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

double exponent(double small, double large, double ratio)
{
    return small > 0 ? std::log(large / small) / std::log(ratio) : 0;
}

} // namespace

int main(int argc, char** argv)
{
    uint32_t largest = 1000000;
    if (argc > 1)
        largest = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    libKXOpt_arkRegister();
    libKXGltf_arkRegister();
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
                if (!makeInput(shape, nodes, input) || !runApart(row, [&](Row& r) { measure(r, input, output); }))
                {
                    std::printf("%-6s %-4s %8u failed\n", shape, form, nodes);
                    ++failures;
                    continue;
                }
                const double megabytes = double(row.fileBytes) / 1e6;
                const double memory = double(row.peakBytes - row.startBytes) - double(row.vertexBytes);
                std::printf("%-6s %-4s %8u %8.1f %8.3f %9.0f %8.3f %8.1f %8.3f %9.3f %10.0f\n", shape, form, nodes,
                            megabytes, row.loadSeconds, megabytes / row.loadSeconds, row.walkSeconds,
                            double(row.nodeCount) / 1e6 / row.walkSeconds, row.repairSeconds, row.writeSeconds,
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
                exponent(a.loadSeconds, b.loadSeconds, ratio), exponent(a.walkSeconds, b.walkSeconds, ratio),
                exponent(a.repairSeconds, b.repairSeconds, ratio), exponent(a.writeSeconds, b.writeSeconds, ratio),
                exponent(a.releaseSeconds, b.releaseSeconds, ratio));
        }
    std::filesystem::remove_all(folder);
    return failures;
}
