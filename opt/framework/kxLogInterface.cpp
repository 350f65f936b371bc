#include "opt/framework/kxLogInterface.h"

#include <cstdio>
#include <string>

namespace Kel::Opt
{

KX_IMPLEMENT(kxLogInterface)

void kxLogInterface::listFields(kxFields<kxLogInterface>& fields)
{
    fields.add(&kxLogInterface::_verbose, "_verbose", "print");
}

int kxLogInterface::vprintf(const char* format, va_list arguments)
{
    if (!_verbose)
        return -1;
    if (!m_sink)
        return std::vprintf(format, arguments);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0)
        return length;
    std::string text(static_cast<size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    m_sink(text.data(), text.size(), m_context);
    return length;
}

bool kxLogInterface::fflush(void* stream)
{
    return std::fflush(static_cast<FILE*>(stream)) == 0;
}

void kxLogInterface::setSink(Sink sink, void* context)
{
    m_sink = sink;
    m_context = context;
}

} // namespace Kel::Opt
