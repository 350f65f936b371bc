// kxopt convert: a file of one format goes in, one of another comes out.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxTarget.h"

#include "interop/gltf/kxGltfOptions.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptInterface.h"
#include "platform/sg/kxSceneInfo.h"

#include <CLI/CLI.hpp>

#include <memory>

using namespace Kel::Core;
using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

struct Settings
{
    std::string input;
    std::string output;
    bool allowOutside = false;
    bool writeVolumes = false;
    bool noFallback = false;
};

int convert(const Settings& settings)
{
    kxInputScope input;
    if (!checkSceneTarget(settings.output))
        return kExitUnusable;
    const kxSmartPointer<kxOptInterface> service = kxNew<kxOptInterface>();
    const kxSmartPointer<kxManager> services = kxNew<kxDefaultManager>(service.get());
    const kxSmartPointer<Gltf::kxGltfOptions> options = kxNew<Gltf::kxGltfOptions>();
    options->_writeVolumes = settings.writeVolumes;
    options->_allowOutside = settings.allowOutside;
    options->_noFallback = settings.noFallback;
    service->setFileOptions(options);
    kxSmartPointer<Sg::kxSceneInfo> scene;
    if (!service->loadFile(settings.input.c_str(), scene))
        return kExitUnusable;
    input.accept();
    const kxResult result = service->writeFile(static_cast<kxInfo*>(nullptr), settings.output.c_str(), true);
    return result == kSuccess ? kExitDone : kExitFailed;
}

} // namespace

void addConvertCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("convert", "read a scene and write it, nothing else");
    const auto settings = std::make_shared<Settings>();
    command->add_option("IN", settings->input, "scene to read: .glb, .gltf or .kxb")->required();
    command->add_option("OUT", settings->output, "file to write; its extension names the format")->required();
    command->add_flag("--write-volumes", settings->writeVolumes,
                      "write the boxes around nodes into a glTF result, as extras");
    command->add_flag("--allow-outside", settings->allowOutside,
                      "follow references to files outside the scene's folder");
    command->add_flag("--no-fallback", settings->noFallback,
                      "write DDS images without a PNG for readers that do not know them");
    command->callback([settings, &action] { action = [settings] { return convert(*settings); }; });
}

} // namespace Kel::Tool
