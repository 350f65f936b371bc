// Where the text of a run goes.
#pragma once

#include "opt/framework/kxOptNames.h"

#include <cstdarg>

namespace Kel::Opt
{

/// Prints to standard output, or to the sink of a host, while it is verbose.
class kxLogInterface : public kxObject
{
    KX_OBJECT(kxLogInterface, kxObject)
    static void listFields(kxFields<kxLogInterface>& fields);

    bool _verbose = false;

    /// Number of bytes printed, negative on failure; -1 while silent.
    [[gnu::format(printf, 2, 0)]] virtual int vprintf(const char* format, va_list arguments);
    /// Flushes a `FILE*`; true when that worked.
    virtual bool fflush(void* stream);

    using Sink = void (*)(const char* text, size_t length, void* context);
    /// Sends the text to `sink` in place of standard output; null sends it back there.
    void setSink(Sink sink, void* context);

private:
    Sink m_sink = nullptr;
    void* m_context = nullptr;
};

} // namespace Kel::Opt
