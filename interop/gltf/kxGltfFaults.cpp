#include "interop/gltf/kxGltfFaults.h"

#include <cstdarg>
#include <cstdio>

namespace Kel::Gltf
{

namespace
{

// Texts of the file stand in the lines: what would break a line or a terminal is shown as '?', what would fill it is cut.
std::string printable(const std::string& text)
{
    constexpr size_t kLongest = 200;
    std::string shown = text.substr(0, kLongest);
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    return shown;
}

} // namespace

bool kxGltfFaults::refuse(const char* format, ...)
{
    if (!m_refused)
    {
        char text[1024];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        kxReport::error("%s: %s", m_path.c_str(), printable(text).c_str());
    }
    m_refused = true;
    return false;
}

void kxGltfFaults::warn(const char* kind, const std::string& where)
{
    for (Kind& known : m_kinds)
        if (known.text == kind)
        {
            ++known.count;
            return;
        }
    m_kinds.push_back({kind, printable(where), 1});
}

void kxGltfFaults::reportWarnings()
{
    for (const Kind& kind : m_kinds)
    {
        const std::string where = kind.first.empty() ? "" : kind.first + ": ";
        if (kind.count == 1)
            kxReport::warning("%s: %s%s", m_path.c_str(), where.c_str(), kind.text.c_str());
        else
            kxReport::warning("%s: %s%s (and %llu more)", m_path.c_str(), where.c_str(), kind.text.c_str(),
                              static_cast<unsigned long long>(kind.count - 1));
    }
    m_kinds.clear();
}

} // namespace Kel::Gltf
