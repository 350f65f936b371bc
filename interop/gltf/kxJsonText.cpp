#include "interop/gltf/kxJsonText.h"

#include <charconv>
#include <cmath>

namespace Kel::Gltf
{

void kxJsonText::finishPiece()
{
    m_finishedBytes += m_piece.size();
    m_finished.push_back(std::move(m_piece));
    m_piece = std::string();
    m_piece.reserve(kPieceBytes + kPieceBytes / 8);
}

void kxJsonText::separate()
{
    if (m_piece.size() >= kPieceBytes)
        finishPiece();
    if (m_last != '{' && m_last != '[' && m_last != ':')
        m_piece.push_back(',');
}

void kxJsonText::open(char bracket)
{
    separate();
    put(bracket);
}

void kxJsonText::key(std::string_view name)
{
    string(name);
    put(':');
}

void kxJsonText::string(std::string_view text)
{
    separate();
    m_piece.push_back('"');
    size_t done = 0;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\')
            continue;
        m_piece.append(text, done, i - done);
        done = i + 1;
        static constexpr char kHex[] = "0123456789abcdef";
        switch (c)
        {
        case '"': m_piece.append("\\\""); break;
        case '\\': m_piece.append("\\\\"); break;
        case '\n': m_piece.append("\\n"); break;
        case '\t': m_piece.append("\\t"); break;
        case '\r': m_piece.append("\\r"); break;
        default:
            m_piece.append("\\u00");
            m_piece.push_back(kHex[c >> 4]);
            m_piece.push_back(kHex[c & 15]);
        }
    }
    m_piece.append(text, done, text.size() - done);
    put('"');
}

void kxJsonText::boolean(bool value)
{
    separate();
    put(value ? std::string_view("true") : std::string_view("false"));
}

void kxJsonText::null()
{
    separate();
    put(std::string_view("null"));
}

namespace
{

template <class T>
std::string_view print(char (&text)[40], T value)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        // A reader would take -0 for an integer, which has no sign.
        if (value == 0 && std::signbit(value))
            return "-0.0";
        if (!std::isfinite(value))
            value = 0;
    }
    const auto end = std::to_chars(text, text + sizeof text, value);
    return {text, static_cast<size_t>(end.ptr - text)};
}

} // namespace

void kxJsonText::integer(int64_t value)
{
    char text[40];
    separate();
    put(print(text, value));
}

void kxJsonText::unsignedInteger(uint64_t value)
{
    char text[40];
    separate();
    put(print(text, value));
}

void kxJsonText::number(float value)
{
    char text[40];
    separate();
    put(print(text, value));
}

void kxJsonText::number(double value)
{
    char text[40];
    separate();
    put(print(text, value));
}

void kxJsonText::raw(std::string_view json)
{
    separate();
    put(json.empty() ? std::string_view("null") : json);
}

void kxJsonText::pad(size_t count)
{
    m_piece.append(count, ' ');
}

void kxJsonText::floats(const float* values, size_t count)
{
    beginArray();
    for (size_t i = 0; i < count; ++i)
        number(values[i]);
    endArray();
}

std::string kxJsonText::str() const
{
    std::string text;
    text.reserve(getSize());
    forEachPiece(
        [&](const std::string& piece)
        {
            text += piece;
            return true;
        });
    return text;
}

} // namespace Kel::Gltf
