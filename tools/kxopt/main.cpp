// The command `kxopt`.
#include "tools/kxopt/kxCommand.h"
#include "tools/kxopt/kxConsole.h"

#include "interop/gltf/libKXGltf.h"
#include "interop/images/libKXImageIO.h"
#include "opt/libKXOpt.h"
#include "platform/core/kxTimer.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <exception>
#include <new>

namespace
{

using namespace Kel::Tool;

// One line for whatever is wrong with the arguments; `--help` and `--version` come this way, too.
int answerParseError(const CLI::App& program, const CLI::ParseError& error)
{
    if (error.get_exit_code() == 0)
        return program.exit(error);
    const std::vector<CLI::App*> named = program.get_subcommands();
    const std::string command = "kxopt " + (named.empty() ? std::string() : named.front()->get_name() + " ");
    const std::string text = error.what();
    kxConsole::get().error(text.substr(0, text.find('\n')) + " (" + command + "--help says what there is)");
    return kExitUnusable;
}

int runProgram(int argc, char** argv)
{
    CLI::App program("Optimizes 3D scenes: runs a script of optimizations over a glTF 2.0 or native (.kxb) file.",
                     "kxopt");
    program.set_version_flag("--version", "kxopt " KXOPT_VERSION);
    program.require_subcommand(1);
    program.failure_message(CLI::FailureMessage::simple);

    kxAction action;
    addRunCommand(program, action);
    addInspectCommand(program, action);
    addCompareCommand(program, action);
    addConvertCommand(program, action);
    addListCommand(program, action);
    addDescribeCommand(program, action);
    addInitCommand(program, action);
    try
    {
        program.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return answerParseError(program, error);
    }

    // Brings in the plug-ins as well, so that every command knows their classes.
    Kel::libKXOpt_arkRegister();
    Kel::libKXImageIO_arkRegister();
    Kel::libKXGltf_arkRegister();
    const int status = action();
    return kxConsole::get().flushOutput() || status != kExitDone ? status : kExitFailed;
}

} // namespace

int main(int argc, char** argv)
{
    const kxConsole console;
    if (const char* frozen = std::getenv("KXOPT_FROZEN_CLOCK"); frozen && *frozen)
        Kel::Core::kxTimer::setFrozen(true);
    try
    {
        return runProgram(argc, argv);
    }
    catch (const std::bad_alloc&)
    {
        kxConsole::get().error("not enough memory");
    }
    catch (const std::exception& fault)
    {
        kxConsole::get().error(std::string("internal error: ") + fault.what());
    }
    return kExitFailed;
}
