#include "tools/kxopt/kxJsonWriter.h"

#include "tools/kxopt/kxText.h"

#include <charconv>
#include <cmath>

namespace Kel::Tool
{

void kxJsonWriter::begin(char bracket)
{
    beginValue();
    m_text += bracket;
    m_hasElements.push_back(false);
}

void kxJsonWriter::end(char bracket)
{
    const bool hadElements = m_hasElements.back();
    m_hasElements.pop_back();
    if (hadElements)
    {
        m_text += '\n';
        m_text.append(2 * m_hasElements.size(), ' ');
    }
    m_text += bracket;
    if (m_hasElements.empty())
        m_text += '\n';
}

void kxJsonWriter::beginValue()
{
    if (m_afterKey)
    {
        m_afterKey = false;
        return;
    }
    if (m_hasElements.empty())
        return;
    m_text += m_hasElements.back() ? ",\n" : "\n";
    m_hasElements.back() = true;
    m_text.append(2 * m_hasElements.size(), ' ');
}

kxJsonWriter& kxJsonWriter::key(std::string_view name)
{
    beginValue();
    appendQuoted(name);
    m_text += ": ";
    m_afterKey = true;
    return *this;
}

void kxJsonWriter::text(std::string_view value)
{
    beginValue();
    appendQuoted(value);
}

void kxJsonWriter::integer(int64_t value)
{
    raw(std::to_string(value));
}

void kxJsonWriter::number(double value)
{
    char digits[32];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
    raw(std::isfinite(value) ? std::string_view(digits, result.ptr) : "null");
}

void kxJsonWriter::number(float value)
{
    char digits[32];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
    raw(std::isfinite(value) ? std::string_view(digits, result.ptr) : "null");
}

void kxJsonWriter::boolean(bool value)
{
    raw(value ? "true" : "false");
}

void kxJsonWriter::null()
{
    raw("null");
}

void kxJsonWriter::raw(std::string_view value)
{
    beginValue();
    m_text += value;
}

void kxJsonWriter::appendQuoted(std::string_view value)
{
    static const char kHex[] = "0123456789abcdef";
    m_text += '"';
    for (const char c : mendUtf8(value))
    {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            (m_text += '\\') += c;
        else if (c == '\n')
            m_text += "\\n";
        else if (c == '\t')
            m_text += "\\t";
        else if (byte < 0x20)
            ((m_text += "\\u00") += kHex[byte >> 4]) += kHex[byte & 15];
        else
            m_text += c;
    }
    m_text += '"';
}

} // namespace Kel::Tool
