#include "platform/core/kxReport.h"

#include <cstdarg>
#include <cstdio>

namespace Kel::Core
{

namespace
{

kxReport::Answer printLine(kxReport::Severity severity, const std::string& line, void*)
{
    std::fprintf(stderr, "%s%s\n", severity == kxReport::WARNING ? "warning: " : "", line.c_str());
    return kxReport::CONTINUE;
}

kxReport::Sink g_sink = printLine;
void* g_context = nullptr;

std::string formatList(const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, ' ');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

kxReport::Answer report(kxReport::Severity severity, const char* format, va_list arguments)
{
    return g_sink(severity, formatList(format, arguments), g_context);
}

} // namespace

void kxReport::setSink(Sink sink, void* context, Sink* oldSink, void** oldContext)
{
    if (oldSink)
        *oldSink = g_sink;
    if (oldContext)
        *oldContext = g_context;
    g_sink = sink ? sink : printLine;
    g_context = context;
}

kxReport::Answer kxReport::error(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = report(ERROR, format, arguments);
    va_end(arguments);
    return answer;
}

kxReport::Answer kxReport::warning(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = report(WARNING, format, arguments);
    va_end(arguments);
    return answer;
}

kxReportCollector::kxReportCollector()
{
    kxReport::setSink(
        [](kxReport::Severity severity, const std::string& line, void* context)
        {
            auto* collector = static_cast<kxReportCollector*>(context);
            (severity == kxReport::ERROR ? collector->m_errors : collector->m_warnings) += line + "\n";
            return collector->m_answer;
        },
        this, &m_oldSink, &m_oldContext);
}

kxReportCollector::~kxReportCollector()
{
    kxReport::setSink(m_oldSink, m_oldContext);
}

std::string kxFormat(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatList(format, arguments);
    va_end(arguments);
    return text;
}

} // namespace Kel::Core
