#include "kxJsonStream.h"

#include <charconv>

namespace Kel::Examples
{

namespace
{

constexpr size_t kBufferBytes = size_t(1) << 20;

template <typename Number>
void appendNumber(std::string& text, Number value)
{
    char digits[32];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
    text.append(digits, result.ptr);
}

} // namespace

void kxJsonStream::separate()
{
    if (m_needsComma)
        m_buffer += ',';
    m_needsComma = true;
    if (m_buffer.size() >= kBufferBytes)
        flush();
}

void kxJsonStream::open(char bracket)
{
    separate();
    m_buffer += bracket;
    m_needsComma = false;
}

void kxJsonStream::close(char bracket)
{
    m_buffer += bracket;
    m_needsComma = true;
}

void kxJsonStream::quote(std::string_view value)
{
    m_buffer += '"';
    for (const char character : value)
    {
        if (character == '"' || character == '\\')
        {
            m_buffer += '\\';
            m_buffer += character;
        }
        else if (static_cast<unsigned char>(character) < 0x20)
        {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
            m_buffer += escape;
        }
        else
        {
            m_buffer += character;
        }
    }
    m_buffer += '"';
}

void kxJsonStream::key(std::string_view name)
{
    separate();
    quote(name);
    m_buffer += ':';
    m_needsComma = false;
}

void kxJsonStream::text(std::string_view value)
{
    separate();
    quote(value);
}

void kxJsonStream::number(float value)
{
    separate();
    appendNumber(m_buffer, value);
}

void kxJsonStream::number(double value)
{
    separate();
    appendNumber(m_buffer, value);
}

void kxJsonStream::integer(int64_t value)
{
    separate();
    appendNumber(m_buffer, value);
}

void kxJsonStream::boolean(bool value)
{
    raw(value ? "true" : "false");
}

void kxJsonStream::raw(std::string_view json)
{
    separate();
    m_buffer += json;
}

void kxJsonStream::member(std::string_view name, const float* values, size_t count)
{
    key(name);
    beginArray();
    for (size_t index = 0; index < count; ++index)
        number(values[index]);
    endArray();
}

bool kxJsonStream::flush()
{
    if (std::fwrite(m_buffer.data(), 1, m_buffer.size(), m_file) != m_buffer.size())
        m_failed = true;
    m_flushedBytes += m_buffer.size();
    m_buffer.clear();
    return !m_failed;
}

} // namespace Kel::Examples
