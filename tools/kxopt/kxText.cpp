#include "tools/kxopt/kxText.h"

#include <algorithm>

namespace Kel::Tool
{

namespace
{

// Bytes of the valid UTF-8 sequence at the start of `text`, 0 when there is none. Overlong forms, surrogates and numbers
// beyond the last code point are not valid.
size_t sequenceLength(std::string_view text)
{
    const auto byteAt = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byteAt(0);
    if (first < 0x80)
        return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (size_t i = 1; i < length; ++i)
        if ((byteAt(i) & 0xC0) != 0x80)
            return 0;
    const unsigned char second = byteAt(1);
    const bool outside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                         (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
    return outside ? 0 : length;
}

// Characters of UTF-8 text; what starts no character counts with the one before.
size_t characterCount(std::string_view text)
{
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

std::string mendUtf8(std::string_view text)
{
    std::string mended;
    mended.reserve(text.size());
    while (!text.empty())
    {
        const size_t length = sequenceLength(text);
        mended += length ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD");
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return mended;
}

std::string oneLine(std::string_view text)
{
    std::string line(text);
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return line;
}

std::string shellWord(std::string_view text)
{
    const bool plain =
        !text.empty() && std::all_of(text.begin(), text.end(),
                                     [](char c)
                                     {
                                         return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                                                (c >= '0' && c <= '9') ||
                                                std::string_view("_-./+,:@%=").find(c) != std::string_view::npos;
                                     });
    if (plain)
        return std::string(text);
    std::string word = "'";
    for (const char c : text)
        if (c == '\'')
            word += "'\\''";
        else
            word += c;
    return word + "'";
}

std::string groupDigits(uint64_t number)
{
    std::string digits = std::to_string(number);
    for (size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, 1, ' ');
    return digits;
}

std::vector<std::string> wrapText(std::string_view text, size_t width)
{
    std::vector<std::string> lines;
    while (!text.empty())
    {
        const size_t wordEnd = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, wordEnd);
        if (!lines.empty() && lines.back().size() + 1 + word.size() <= width)
            (lines.back() += ' ') += word;
        else
            lines.emplace_back(word);
        text.remove_prefix(std::min(wordEnd + 1, text.size()));
    }
    return lines;
}

std::string kxTable::toText(size_t indent) const
{
    std::vector<size_t> widths(m_columns.size(), 0);
    for (const std::vector<std::string>& row : m_rows)
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], characterCount(row[i]));
    std::string text;
    for (const std::vector<std::string>& row : m_rows)
    {
        std::string line(indent, ' ');
        for (size_t i = 0; i < row.size(); ++i)
        {
            const size_t padding = widths[i] - characterCount(row[i]);
            if (i > 0)
                line += "  ";
            line.append(m_columns[i] == 'r' ? padding : 0, ' ');
            line += row[i];
            line.append(m_columns[i] == 'r' ? 0 : padding, ' ');
        }
        line.resize(line.find_last_not_of(' ') + 1);
        (text += line) += '\n';
    }
    return text;
}

} // namespace Kel::Tool
