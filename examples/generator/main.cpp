// kxMakeScene: writes a test scene.
#include "kxSceneMaker.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace
{

using namespace Kel::Examples;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUnusable = 2;

constexpr char kUsage[] =
    "usage: kxMakeScene OUT.glb|OUT.gltf [--shape village|city|chain|star] [--nodes N] [--materials M]\n"
    "                   [--seed S] [--extent METRES]\n"
    "  --shape      what to make; village when not given\n"
    "  --nodes      number of nodes of a city, chain or star (10000); a village has its own\n"
    "  --materials  number of materials of a city, chain or star (one per 50 nodes)\n"
    "  --seed       start of the random numbers (1)\n"
    "  --extent     length of the longest side of the scene (the natural size of the shape)\n"
    "The same arguments give the same bytes on every machine.\n";

template <typename Number>
bool readNumber(const char* text, Number lowest, Number& value)
{
    const char* end = text + std::strlen(text);
    const std::from_chars_result result = std::from_chars(text, end, value);
    return result.ec == std::errc() && result.ptr == end && value >= lowest;
}

bool readShape(std::string_view text, kxSceneShape& shape)
{
    constexpr std::pair<const char*, kxSceneShape> kShapes[] = {{"village", kxSceneShape::VILLAGE},
                                                                {"city", kxSceneShape::CITY},
                                                                {"chain", kxSceneShape::CHAIN},
                                                                {"star", kxSceneShape::STAR}};
    for (const auto& [name, value] : kShapes)
        if (text == name)
        {
            shape = value;
            return true;
        }
    return false;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    kxSceneOptions options;
    std::string path;
    bool isCounted = false;
    for (int index = 1; index < argumentCount; ++index)
    {
        const std::string_view argument = arguments[index];
        if (argument == "--help" || argument == "-h")
        {
            std::fputs(kUsage, stdout);
            return kDone;
        }
        if (argument.substr(0, 1) != "-" && path.empty())
        {
            path = argument;
            continue;
        }
        const char* value = index + 1 < argumentCount ? arguments[++index] : "";
        bool isUsable = false;
        if (argument == "--shape")
            isUsable = readShape(value, options.shape);
        else if (argument == "--nodes")
            isUsable = isCounted = readNumber(value, uint32_t(1), options.nodeCount);
        else if (argument == "--materials")
            isUsable = isCounted = readNumber(value, uint32_t(1), options.materialCount);
        else if (argument == "--seed")
            isUsable = readNumber(value, uint64_t(0), options.seed);
        else if (argument == "--extent")
            isUsable = readNumber(value, 0.001, options.extent);
        if (!isUsable)
        {
            std::fprintf(stderr, "kxMakeScene: %s %s: not understood\n%s", argument.data(), value, kUsage);
            return kUnusable;
        }
    }
    if (path.empty())
    {
        std::fprintf(stderr, "kxMakeScene: no file is named\n%s", kUsage);
        return kUnusable;
    }
    if (options.shape == kxSceneShape::VILLAGE && isCounted)
    {
        std::fputs("kxMakeScene: a village has a number of nodes and materials of its own\n", stderr);
        return kUnusable;
    }

    std::string error;
    if (!writeScene(makeScene(options), path, error))
    {
        std::fprintf(stderr, "kxMakeScene: %s\n", error.c_str());
        return kFailed;
    }
    return kDone;
}
