// Errors and warnings for whoever runs the program: one line each, to a sink that a host can replace.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <string>

namespace Kel::Core
{

/// The report facility. A line names the thing, what was found and what was wanted, and ends without a line break:
/// "city.glb: accessor 12 ends 40 bytes past its buffer view".
class kxReport
{
public:
    enum Severity
    {
        ERROR,
        WARNING
    };
    /// Answer of the sink to one line.
    enum Answer
    {
        CONTINUE,
        IGNORE_FROM_NOW_ON ///< the one who reports should not report this kind again
    };
    using Sink = Answer (*)(Severity severity, const std::string& line, void* context);

    /// Replaces the sink and gives back the old one through the pointers (either may be null). The sink at start prints
    /// the line to standard error.
    static void setSink(Sink sink, void* context, Sink* oldSink = nullptr, void** oldContext = nullptr);

    [[gnu::format(printf, 1, 2)]] static Answer error(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static Answer warning(const char* format, ...);
};

/// Collects what is reported while it lives, in place of the sink that was there; for tests and for hosts that show the
/// lines themselves.
class kxReportCollector
{
public:
    kxReportCollector();
    ~kxReportCollector();
    kxReportCollector(const kxReportCollector&) = delete;
    kxReportCollector& operator=(const kxReportCollector&) = delete;

    std::string m_errors;   ///< a line break behind each line
    std::string m_warnings; ///< the same
    kxReport::Answer m_answer = kxReport::CONTINUE;

private:
    kxReport::Sink m_oldSink = nullptr;
    void* m_oldContext = nullptr;
};

/// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string kxFormat(const char* format, ...);

} // namespace Kel::Core
