// What the commands of the program have in common.
#pragma once

#include <functional>

namespace CLI
{
class App;
}

namespace Kel::Tool
{

/// Exit status of the program.
enum kxExit
{
    kExitDone = 0,
    kExitFailed = 1,  ///< the run failed or was cancelled, or a result could not be written
    kExitUnusable = 2 ///< arguments or input that cannot be used; nothing was done
};

/// What the command named on the command line does; gives the exit status.
using kxAction = std::function<int()>;

/// Each adds one command to the program. Parsing a command line that names the command sets `action`.
void addRunCommand(CLI::App& program, kxAction& action);
void addInspectCommand(CLI::App& program, kxAction& action);
void addCompareCommand(CLI::App& program, kxAction& action);
void addConvertCommand(CLI::App& program, kxAction& action);
void addListCommand(CLI::App& program, kxAction& action);
void addDescribeCommand(CLI::App& program, kxAction& action);
void addInitCommand(CLI::App& program, kxAction& action);

} // namespace Kel::Tool
