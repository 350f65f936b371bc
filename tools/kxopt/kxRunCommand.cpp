// kxopt run: a scene goes in, a script runs over it, a scene and reports come out.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxFaultDump.h"
#include "tools/kxopt/kxRunHost.h"
#include "tools/kxopt/kxRunReport.h"
#include "tools/kxopt/kxRunSummary.h"
#include "tools/kxopt/kxTarget.h"

#include "interop/gltf/kxGltfOptions.h"
#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptManager.h"
#include "opt/framework/kxUnreadKeys.h"
#include "opt/verify/kxVerifyObserver.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxWrittenSizes.h"
#include "platform/gfx/kxImageCodec.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

using namespace Kel::Core;
using namespace Kel::Gfx;
using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

struct Settings
{
    std::string input;
    std::string script = "Veltrin.ini";
    std::string output;
    std::string report;
    std::string dump;
    bool verify = false;
    bool verifyEach = false;
    bool quiet = false;
    bool keepGoing = false;
    bool allowOutside = false;
    bool writeVolumes = false;
    bool noFallback = false;
    kxPictureComparison::Options picture;
};

void printReportText(const char* text, size_t length, void*)
{
    kxConsole::get().clearProgress();
    std::fwrite(text, 1, length, stdout);
}

void dropReportText(const char*, size_t, void*) {}

kxSmartPointer<kxRegistry> loadScript(const std::string& path)
{
    std::string fault;
    const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path.c_str(), &fault);
    if (!file)
    {
        kxConsole::get().error(path + ": " + fault + " (-s names a script, kxopt init writes one)");
        return nullptr;
    }
    kxSmartPointer<kxRegistry> script = kxNew<kxRegistry>();
    script->loadText(std::string_view(reinterpret_cast<const char*>(file->getData()), file->getSize()), path.c_str());
    return script;
}

/// One call of the command.
class Run
{
public:
    explicit Run(const Settings& settings) : m_settings(settings) {}

    int execute()
    {
        kxConsole& console = kxConsole::get();
        console.setQuiet(m_settings.quiet);
        catchInterrupt();
        if (!prepare())
            return kExitUnusable;

        // The driver asks behind each step; an interruption while the scene was read counts as well.
        const bool completed = !wasInterrupted() && m_driver->apply(static_cast<kxInfo*>(nullptr));
        console.clearProgress();
        const bool succeeded = judge(completed);
        const bool written = writeOutput(succeeded);
        // Images are counted as they stand in the result, or would stand there.
        if (wantsAmounts())
            m_summary.after =
                kxSceneAmounts::count(m_host->_file, [&](const kxImage& image) { return bytesOf(image); });
        if (m_report.hasBegun() && !m_settings.quiet && m_services->_logInterface->_verbose)
            std::fputs(describeRun(m_report.getSteps(), m_summary).c_str(), stdout);
        const bool reported = writeReport();
        return succeeded && written && reported ? kExitDone : kExitFailed;
    }

private:
    bool wantsAmounts() const { return !m_settings.quiet || !m_settings.report.empty(); }

    // Everything that can be wrong with the arguments and the input is found here, before the first step.
    bool prepare()
    {
        kxInputScope input;
        m_services = kxNew<kxDefaultManager>(m_host.get());
        m_services->_logInterface->setSink(m_settings.quiet ? dropReportText : printReportText, nullptr);
        const kxSmartPointer<Gltf::kxGltfOptions> options = kxNew<Gltf::kxGltfOptions>();
        options->_writeVolumes = m_settings.writeVolumes;
        options->_allowOutside = m_settings.allowOutside;
        options->_noFallback = m_settings.noFallback;
        options->m_writtenSizes = &m_writtenSizes;
        m_host->setFileOptions(options);

        const kxSmartPointer<kxRegistry> script = loadScript(m_settings.script);
        if (!script || (!m_settings.output.empty() && !checkSceneTarget(m_settings.output)) ||
            (!m_settings.report.empty() && !checkTarget(m_settings.report)))
            return false;
        if (!m_settings.dump.empty())
        {
            m_dump = std::make_unique<kxFaultDump>(m_settings.dump, *m_host);
            if (!m_dump->prepare())
                return false;
        }
        m_summary.input = m_settings.input;
        m_summary.inputBytes = getFileBytes(m_settings.input);
        m_summary.script = m_settings.script;
        kxConsole::get().showProgress(0, "reading " + m_settings.input);
        kxSmartPointer<Sg::kxSceneInfo> scene;
        const bool loaded = m_host->loadFile(m_settings.input.c_str(), scene);
        kxConsole::get().clearProgress();
        if (!loaded)
            return false;
        input.accept();
        if (wantsAmounts())
            m_summary.before = kxSceneAmounts::count(m_host->_file, getStoredBytes);

        m_services->setup(m_driver);
        m_driver->setRegistry(script);
        m_driver->addObserver(m_host.get());
        m_driver->addObserver(&m_report);
        m_driver->addObserver(&m_unreadKeys);
        if (m_settings.verify || m_settings.verifyEach)
        {
            m_verifier = std::make_unique<kxVerifyObserver>(
                m_settings.verifyEach ? kxVerifyObserver::EACH_STEP : kxVerifyObserver::AT_END, m_settings.picture, 20);
            m_driver->addObserver(m_verifier.get());
        }
        if (m_dump)
        {
            m_dump->watch(m_verifier.get());
            m_driver->addObserver(m_dump.get());
        }
        return true;
    }

    // Says what went wrong and gives the run its result. The driver counts a run whose steps failed as completed; a scene that
    // went through only some of its script is not what was asked for.
    bool judge(bool completed)
    {
        kxConsole& console = kxConsole::get();
        for (const kxRunReport::Step& step : m_report.getSteps())
            if (step.outcome != kxStepOutcome::DONE && step.outcome != kxStepOutcome::CANCELLED)
            {
                ++m_failedSteps;
                console.error(m_settings.script + ": " + describeFault(step));
            }
        const bool same = reportPicture();
        if (completed)
        {
            m_summary.result = m_failedSteps || !same ? "failed" : "done";
            return m_failedSteps == 0 && same;
        }
        const bool refused = !m_report.hasBegun() && !wasInterrupted();
        m_summary.result = refused ? "failed" : "cancelled";
        m_incomplete = true;
        console.error(refused ? m_settings.script + ": " + describeScriptFault()
                              : m_settings.input + ": the run was cancelled");
        return false;
    }

    static std::string describeFault(const kxRunReport::Step& step)
    {
        std::string text = std::string("[") + kxOptManager::optToken + std::to_string(step.number) + "] ";
        if (!step.name.empty())
            text += step.name + ": ";
        text += getOutcomeName(step.outcome);
        // Not every optimization says that it needs a type.
        if (step.outcome == kxStepOutcome::NOT_CONFIGURED || step.outcome == kxStepOutcome::FAILED)
            for (const kxParameter& setting : step.settings)
                if (setting.type == "class name" && setting.value.empty())
                    text += "; " + setting.key + " names no class";
        if (step.outcome == kxStepOutcome::SKIPPED_UNKNOWN)
            if (const std::string nearest = findNearestOptimization(step.name); !nearest.empty())
                text += "; did you mean " + nearest + "?";
        return text;
    }

    // Names what changed the picture, and where. True when nothing did, or nobody asked.
    bool reportPicture() const
    {
        if (!m_verifier)
            return true;
        kxConsole& console = kxConsole::get();
        for (const kxVerifyObserver::Change& change : m_verifier->getChanges())
        {
            console.error(change.step == 0
                              ? m_settings.input + ": the picture has changed"
                              : m_settings.script + ": [" + kxOptManager::optToken + std::to_string(change.step) +
                                    "] " + change.name.str() + ": the picture has changed");
            for (const std::string& line : change.lines)
                console.error(m_settings.input + ": " + line);
        }
        return m_verifier->isSame();
    }

    std::string describeScriptFault() const
    {
        const kxRegistry& script = *m_driver->getRegistry();
        const int section = script.findSection("OPTIMIZE");
        if (section < 0)
            return "has no section [OPTIMIZE]";
        const int key = script.findKey(section, kxOptManager::optCountToken);
        const std::string name = kxOptManager::optCountToken;
        if (key < 0)
            return "has no " + name + " in [OPTIMIZE]";
        return name + " = " + script.getKeyText(section, static_cast<uint32_t>(key)).str() +
               " is not a number of steps";
    }

    bool writeOutput(bool succeeded)
    {
        kxConsole& console = kxConsole::get();
        const std::string& output = m_settings.output;
        if (output.empty())
        {
            console.note(m_settings.input + ": the result is not written (-o names a file for it)");
            return true;
        }
        if (m_incomplete)
        {
            console.error(output + ": not written");
            return false;
        }
        if (!succeeded && !m_settings.keepGoing)
        {
            const std::string reason = m_failedSteps == 0
                                           ? "the picture has changed"
                                           : std::to_string(m_failedSteps) + " of " +
                                                 std::to_string(m_report.getSteps().size()) + " steps did not succeed";
            console.error(output + ": not written, because " + reason + " (--keep-going writes it all the same)");
            return false;
        }
        if (m_driver->getNoWrite())
        {
            console.warning(output + ": not written, because " + m_settings.script + " says noWrite = true");
            return true;
        }
        console.showProgress(1, "writing " + output);
        const bool written = m_driver->writeFile(output.c_str()) == kSuccess;
        console.clearProgress();
        if (written)
        {
            m_summary.output = output;
            m_summary.outputBytes = getFileBytes(output);
        }
        else
            m_summary.result = "failed";
        return written;
    }

    uint64_t bytesOf(const kxImage& image) const
    {
        if (const uint64_t* bytes = m_writtenSizes.find(&image))
            return *bytes;
        if (!m_summary.output.empty() || image._encoded || !image._pixels)
            return getStoredBytes(image);
        kxImageFileForm form;
        return kxImageCodec::encodeForFile(const_cast<kxImage&>(image), false, form) ? form.bytes->getSize()
                                                                                     : getStoredBytes(image);
    }

    bool writeReport() const
    {
        return m_settings.report.empty() || writeTextFile(m_settings.report, m_report.toJson(m_summary));
    }

    const Settings& m_settings;
    kxSmartPointer<kxRunHost> m_host = kxNew<kxRunHost>();
    kxSmartPointer<kxManager> m_services;
    kxRunReport m_report;
    kxUnreadKeyObserver m_unreadKeys;
    std::unique_ptr<kxVerifyObserver> m_verifier;
    std::unique_ptr<kxFaultDump> m_dump;
    kxSmartPointer<kxOptManager> m_driver = kxNew<kxOptManager>(); // behind its observers: it goes before them
    kxRunReport::Summary m_summary;
    kxWrittenSizes m_writtenSizes;
    int m_failedSteps = 0;
    bool m_incomplete = false;
};

} // namespace

void addRunCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("run", "run a script of optimizations over a scene");
    const auto settings = std::make_shared<Settings>();
    command->add_option("IN", settings->input, "scene to optimize: .glb, .gltf or .kxb")->required();
    command->add_option("-s,--script", settings->script, "script to run")->type_name("SCRIPT")->capture_default_str();
    command->add_option("-o,--output", settings->output, "file for the result; its extension names the format")
        ->type_name("OUT");
    command->add_option("--report", settings->report, "write what each step did as JSON")->type_name("FILE");
    command
        ->add_option("--dump", settings->dump,
                     "keep the scene before a step that fails, and a script of that step, in this folder")
        ->type_name("DIR");
    CLI::Option* verify =
        command->add_flag("--verify", settings->verify, "fail when the result shows another picture than the input");
    command->add_flag("--verify-each", settings->verifyEach, "the same behind every step, which is named")
        ->excludes(verify);
    command
        ->add_option("--image-tolerance", settings->picture.imageTolerance,
                     "with --verify or --verify-each: root mean square difference of images that does not count, in "
                     "steps of 255")
        ->check(CLI::NonNegativeNumber)
        ->type_name("RMSE")
        ->capture_default_str();
    command->add_flag("--keep-going", settings->keepGoing, "write the result although steps failed");
    command->add_flag("--quiet", settings->quiet, "print warnings and errors only");
    command->add_flag("--write-volumes", settings->writeVolumes,
                      "write the boxes around nodes into a glTF result, as extras");
    command->add_flag("--allow-outside", settings->allowOutside,
                      "follow references to files outside the scene's folder");
    command->add_flag("--no-fallback", settings->noFallback,
                      "write DDS images without a PNG for readers that do not know them");
    command->footer("Exit status: 0 done, 1 the run failed or was cancelled, 2 unusable arguments or input.");
    command->callback([settings, &action] { action = [settings] { return Run(*settings).execute(); }; });
}

} // namespace Kel::Tool
