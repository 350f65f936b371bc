#include "tools/kxopt/kxConsole.h"

#include "tools/kxopt/kxText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Kel::Tool
{

namespace
{

constexpr size_t kBarWidth = 24;
const char kRed[] = "\033[1;31m";
const char kYellow[] = "\033[1;33m";
const char kPlain[] = "\033[0m";

kxConsole* g_console = nullptr;

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value;
}

} // namespace

kxConsole::kxConsole()
{
    const char* terminal = std::getenv("TERM");
    m_terminal = isatty(STDERR_FILENO) && terminal && *terminal && std::string_view(terminal) != "dumb";
    m_colour = m_terminal && !isSet("NO_COLOR");
    g_console = this;
    Core::kxReport::setSink(&kxConsole::receive, this, &m_oldSink, &m_oldContext);
}

kxConsole::~kxConsole()
{
    clearProgress();
    Core::kxReport::setSink(m_oldSink, m_oldContext);
    g_console = nullptr;
}

kxConsole& kxConsole::get()
{
    return *g_console;
}

Core::kxReport::Answer kxConsole::receive(Core::kxReport::Severity severity, const std::string& line, void* context)
{
    auto* console = static_cast<kxConsole*>(context);
    if (severity == Core::kxReport::WARNING)
        console->warning(line);
    else
        console->error(line);
    return Core::kxReport::CONTINUE;
}

void kxConsole::error(const std::string& line)
{
    if (m_inputScope && std::exchange(m_inputScope->m_hadError, true))
        return;
    printLine(kRed, "", line);
}

void kxConsole::warning(const std::string& line)
{
    if (m_inputScope)
        m_inputScope->m_warnings.push_back(line);
    else
        printLine(kYellow, "warning: ", line);
}

void kxConsole::note(const std::string& line)
{
    if (!m_quiet)
        printLine(nullptr, "", line);
}

void kxConsole::printLine(const char* colour, const char* severity, const std::string& line)
{
    clearProgress();
    // What the report has said so far belongs in front of this line where both go to one terminal or file.
    std::fflush(stdout);
    const bool coloured = m_colour && colour;
    const std::string text =
        std::string(coloured ? colour : "") + "kxopt: " + severity + (coloured ? kPlain : "") + oneLine(line) + "\n";
    std::fputs(text.c_str(), stderr);
}

void kxConsole::showProgress(double fraction, const std::string& title)
{
    if (!m_terminal || m_quiet)
        return;
    const auto full = static_cast<size_t>(std::clamp(fraction, 0.0, 1.0) * kBarWidth);
    std::string bar = "[";
    bar.append(full, '#').append(kBarWidth - full, '.').append("] ").append(oneLine(title));
    if (bar == m_progress)
        return;
    m_progress = bar;
    std::fflush(stdout);
    std::fprintf(stderr, "\r\033[K%s", bar.c_str());
    std::fflush(stderr);
}

void kxConsole::clearProgress()
{
    if (m_progress.empty())
        return;
    m_progress.clear();
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
}

bool kxConsole::flushOutput()
{
    const bool failedBefore = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !failedBefore)
        return true;
    error(std::string("standard output: ") + (failedBefore ? "not everything was written" : std::strerror(errno)));
    return false;
}

kxInputScope::kxInputScope()
{
    kxConsole::get().m_inputScope = this;
}

kxInputScope::~kxInputScope()
{
    kxConsole::get().m_inputScope = nullptr;
}

void kxInputScope::accept()
{
    kxConsole::get().m_inputScope = nullptr;
    for (const std::string& line : std::exchange(m_warnings, {}))
        kxConsole::get().warning(line);
}

} // namespace Kel::Tool
