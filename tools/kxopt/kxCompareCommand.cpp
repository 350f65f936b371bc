// kxopt compare: two files go in, and whether they show the same picture comes out.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxJsonWriter.h"
#include "tools/kxopt/kxText.h"

#include "opt/verify/kxComparePictures.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

using namespace Kel::Core;
using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

// Changes with every change of the JSON that is more than an added key.
constexpr int kSchemaVersion = 1;

struct Settings
{
    std::string first;
    std::string second;
    kxPictureComparison::Options options;
    bool json = false;
    bool allowOutside = false;
};

std::string toJson(const Settings& settings, const kxPictureResult& result)
{
    kxJsonWriter json;
    json.beginObject();
    json.member("schemaVersion", kSchemaVersion);
    json.member("first", settings.first);
    json.member("second", settings.second);
    json.member("same", result.answer == kxPictureAnswer::SAME);
    json.member("drawsInFirst", result.drawCountA);
    json.member("drawsInSecond", result.drawCountB);
    json.member("onlyInFirst", result.onlyInA);
    json.member("onlyInSecond", result.onlyInB);
    json.key("differences").beginArray();
    for (const std::string& line : result.lines)
        json.text(line);
    json.endArray();
    json.endObject();
    return json.getText();
}

int compare(const Settings& settings)
{
    kxInputScope input;
    const kxSmartPointer<kxFileOptions> fileOptions = kxNew<kxFileOptions>();
    fileOptions->_allowOutside = settings.allowOutside;
    const kxPictureResult result =
        comparePictures(settings.first.c_str(), settings.second.c_str(), settings.options, 20, fileOptions);
    if (result.answer == kxPictureAnswer::TROUBLE)
        return kExitUnusable;
    input.accept();
    if (settings.json)
        std::fputs(toJson(settings, result).c_str(), stdout);
    else if (result.answer == kxPictureAnswer::SAME)
        std::printf("same picture, %zu draws\n", result.drawCountA);
    else
    {
        std::printf("different pictures: of %zu and %zu draws, %zu and %zu have no partner\n", result.drawCountA,
                    result.drawCountB, result.onlyInA, result.onlyInB);
        for (const std::string& line : result.lines)
            std::printf("%s\n", oneLine(line).c_str());
    }
    return result.answer == kxPictureAnswer::SAME ? kExitDone : kExitFailed;
}

} // namespace

void addCompareCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("compare", "tell whether two scenes show the same picture");
    const auto settings = std::make_shared<Settings>();
    command->add_option("A", settings->first, "scene: .glb, .gltf or .kxb")->required();
    command->add_option("B", settings->second, "scene to compare it with")->required();
    command->add_flag("--json", settings->json, "print the answer as JSON");
    command->add_flag("--ignore-images", settings->options.ignoreImages, "compare textures without their images");
    command
        ->add_option("--tolerance", settings->options.tolerance,
                     "difference of matrices that does not count, as a part of their largest number")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command
        ->add_option("--motion-tolerance", settings->options.motionTolerance,
                     "how far clips may move things apart, as a part of the extent of what moves")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command
        ->add_option("--image-tolerance", settings->options.imageTolerance,
                     "root mean square difference of images that does not count, in steps of 255")
        ->check(CLI::NonNegativeNumber)
        ->type_name("RMSE")
        ->capture_default_str();
    command->add_flag("--allow-outside", settings->allowOutside,
                      "follow references to files outside the scenes' folders");
    command->footer("Exit status: 0 the same picture, 1 different ones, 2 unusable arguments or input.");
    command->callback([settings, &action] { action = [settings] { return compare(*settings); }; });
}

} // namespace Kel::Tool
