#include "tools/kxopt/kxRunHost.h"

#include "tools/kxopt/kxConsole.h"

#include <csignal>

#include <unistd.h>

namespace Kel::Tool
{

namespace
{

volatile std::sig_atomic_t g_interrupted = 0;

// Only what a signal handler may do. The action goes back to the default by itself, so the next Ctrl-C ends the process.
void noteInterrupt(int)
{
    g_interrupted = 1;
    static const char kText[] = "\nkxopt: the run stops behind this step; Ctrl-C again ends it at once\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText, sizeof kText - 1);
}

} // namespace

void catchInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    // Whoever started the command with Ctrl-C switched off, as a shell does in the background, wants it off.
    struct sigaction before = {};
    if (::sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
        ::sigaction(SIGINT, &action, nullptr);
}

bool wasInterrupted()
{
    return g_interrupted != 0;
}

void kxRunHost::setOptStatus(int done, int total)
{
    show(total > 0 ? static_cast<double>(done) / total : 0);
}

void kxRunHost::setOptStatusTitle(Core::kxStringRef title)
{
    m_title = title.str();
    show(0);
}

void kxRunHost::beforeStep(const Opt::kxRunStep& step)
{
    m_step = step.number;
    m_stepCount = step.stepCount;
    m_name = step.name.str();
    m_title.clear();
    show(0);
}

void kxRunHost::afterStep(const Opt::kxRunStep&, Opt::kxStepOutcome, double)
{
    kxConsole::get().clearProgress();
    m_stepCount = 0;
}

void kxRunHost::show(double stepFraction) const
{
    if (m_stepCount <= 0)
        return;
    const std::string title = std::to_string(m_step) + "/" + std::to_string(m_stepCount) + " " + m_name +
                              (m_title.empty() ? "" : ": " + m_title);
    kxConsole::get().showProgress((m_step - 1 + stepFraction) / m_stepCount, title);
}

} // namespace Kel::Tool
