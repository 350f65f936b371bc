// Standard error as the user sees it, and the end of standard output.
#pragma once

#include "platform/core/kxReport.h"

#include <string>
#include <vector>

namespace Kel::Tool
{

class kxInputScope;

/// Lines of standard error: "kxopt: FILE: what is wrong", and on a terminal a progress bar below them. While it lives,
/// everything that the libraries report goes through it. There is one, from the start of `main` to its end.
class kxConsole
{
public:
    kxConsole();
    ~kxConsole();
    kxConsole(const kxConsole&) = delete;
    kxConsole& operator=(const kxConsole&) = delete;

    static kxConsole& get();

    /// Lines without their beginning and without a line break.
    void error(const std::string& line);
    void warning(const std::string& line);
    /// What is neither: left out when quiet.
    void note(const std::string& line);

    /// No notes and no progress bar.
    void setQuiet(bool quiet) { m_quiet = quiet; }

    /// Draws the bar, `fraction` of it (0 to 1) full. Nothing where standard error is no terminal.
    void showProgress(double fraction, const std::string& title);
    void clearProgress();

    /// Hands standard output on to the system. False, with an error line, when not all of it arrived.
    bool flushOutput();

private:
    friend class kxInputScope;
    void printLine(const char* colour, const char* severity, const std::string& line);
    static Core::kxReport::Answer receive(Core::kxReport::Severity severity, const std::string& line, void* context);

    bool m_terminal;
    bool m_colour;
    bool m_quiet = false;
    std::string m_progress; // the bar that is shown; empty when there is none
    kxInputScope* m_inputScope = nullptr;
    Core::kxReport::Sink m_oldSink = nullptr;
    void* m_oldContext = nullptr;
};

/// Around the reading of input. A refused input is one line, its error: warnings wait until the input is accepted, and go
/// with the scope when it never is; of several errors the first is shown.
class kxInputScope
{
public:
    kxInputScope();
    ~kxInputScope();
    kxInputScope(const kxInputScope&) = delete;
    kxInputScope& operator=(const kxInputScope&) = delete;

    /// Shows the warnings; lines that follow are shown at once.
    void accept();

private:
    friend class kxConsole;
    std::vector<std::string> m_warnings;
    bool m_hadError = false;
};

} // namespace Kel::Tool
