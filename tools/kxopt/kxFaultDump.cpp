#include "tools/kxopt/kxFaultDump.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxTarget.h"
#include "tools/kxopt/kxText.h"

#include "opt/framework/kxOptManager.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iterator>

#include <unistd.h>

using namespace Kel::Core;
using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

// What is printed on a crash stands ready before the step: a handler of a crash can neither allocate nor format.
char g_crashText[4096];
size_t g_crashTextLength = 0;
alignas(16) char g_handlerStack[64 * 1024]; // a crash may be that there is no stack left

constexpr int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
struct sigaction g_actionsBefore[std::size(kCrashSignals)];

void noteCrash(int signal)
{
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, g_crashText, g_crashTextLength);
    // The step is over for good; whoever handled the signal before (by default: nobody) takes it from here.
    const auto at = std::find(std::begin(kCrashSignals), std::end(kCrashSignals), signal) - std::begin(kCrashSignals);
    ::sigaction(signal, &g_actionsBefore[at], nullptr);
    ::raise(signal);
}

void catchCrashes(const std::string& text)
{
    g_crashTextLength = std::min(text.size(), sizeof g_crashText);
    std::memcpy(g_crashText, text.data(), g_crashTextLength);

    stack_t stack = {};
    stack.ss_sp = g_handlerStack;
    stack.ss_size = sizeof g_handlerStack;
    ::sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = noteCrash;
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    for (size_t i = 0; i < std::size(kCrashSignals); ++i)
        ::sigaction(kCrashSignals[i], &action, &g_actionsBefore[i]);
}

void forgetCrashes()
{
    for (size_t i = 0; i < std::size(kCrashSignals); ++i)
        ::sigaction(kCrashSignals[i], &g_actionsBefore[i], nullptr);
}

} // namespace

kxFaultDump::kxFaultDump(std::string folder, kxOptInterface& service) : m_folder(std::move(folder)), m_service(service)
{
}

kxFaultDump::~kxFaultDump() = default;

bool kxFaultDump::prepare()
{
    std::error_code fault;
    std::filesystem::create_directories(m_folder, fault);
    if (fault)
    {
        kxConsole::get().error(m_folder + ": cannot be made: " + fault.message());
        return false;
    }
    return checkTarget((std::filesystem::path(m_folder) / "kxopt.ini").string());
}

void kxFaultDump::beforeRun(const kxRun& run)
{
    m_script = run.manager.getRegistry();
}

void kxFaultDump::beforeStep(const kxRunStep& step)
{
    const std::string stem = "step" + std::to_string(step.number) + "-" + step.name.str();
    m_scenePath = (std::filesystem::path(m_folder) / (stem + ".kxb")).string();
    m_scriptPath = (std::filesystem::path(m_folder) / (stem + ".ini")).string();
    m_command = "kxopt run " + shellWord(m_scenePath) + " -s " + shellWord(m_scriptPath);
    if (m_service.writeFile(static_cast<kxInfo*>(nullptr), m_scenePath.c_str(), true) != kSuccess ||
        !writeTextFile(m_scriptPath, makeScript(step)))
    {
        // The reason has been reported. The run is worth more than its dump.
        removeFiles();
        return;
    }
    catchCrashes("kxopt: " + oneLine(step.name.view()) + " crashed; to see it again: " + oneLine(m_command) + "\n");
}

void kxFaultDump::afterStep(const kxRunStep& step, kxStepOutcome outcome, double)
{
    if (m_scenePath.empty())
        return;
    forgetCrashes();
    const bool changed = m_verifier && m_verifier->hasLastStepChanged();
    if (outcome != kxStepOutcome::FAILED && !changed)
        return removeFiles();
    kxConsole::get().note(step.name.str() + (changed ? " changed the picture" : " failed") +
                          "; to see it again: " + m_command + (changed ? " --verify" : ""));
    m_scenePath.clear();
}

std::string kxFaultDump::makeScript(const kxRunStep& step) const
{
    const kxSmartPointer<kxRegistry> script = kxNew<kxRegistry>();
    const auto copySection = [&](int from, kxStringRef to)
    {
        for (uint32_t i = 0; i < m_script->getKeyCount(from); ++i)
            script->setValue(to, m_script->getKey(from, i), m_script->getKeyText(from, i));
    };
    copySection(m_script->findSection("OPTIMIZE"), "OPTIMIZE");
    script->setValue("OPTIMIZE", kxOptManager::optCountToken, "1");
    copySection(step.section, kxFormat("%s%d", kxOptManager::optToken, 1));
    return script->toText();
}

void kxFaultDump::removeFiles()
{
    std::error_code gone; // it is no fault when there is nothing to remove
    std::filesystem::remove(m_scenePath, gone);
    std::filesystem::remove(m_scriptPath, gone);
    m_scenePath.clear();
}

} // namespace Kel::Tool
