// Text for people: what is safe to print, aligned columns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kel::Tool
{

/// The text with U+FFFD in place of every byte that is not part of valid UTF-8.
std::string mendUtf8(std::string_view text);

/// The text as part of one line: control characters, which could move a terminal's cursor, become question marks.
std::string oneLine(std::string_view text);

/// The text as one word of a shell command, quoted where it needs to be.
std::string shellWord(std::string_view text);

/// A number with its thousands set apart: 1234567 gives "1 234 567".
std::string groupDigits(uint64_t number);

/// The text broken at blanks into lines of up to `width` bytes; longer words stay whole.
std::vector<std::string> wrapText(std::string_view text, size_t width);

/// Rows of columns, each column as wide as its widest cell.
class kxTable
{
public:
    /// `rightAligned` holds one letter for each column, 'r' for columns of numbers and 'l' for all others.
    explicit kxTable(std::string columns) : m_columns(std::move(columns)) {}
    void addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
    bool isEmpty() const { return m_rows.empty(); }
    /// All rows, each with `indent` blanks in front and none at its end.
    std::string toText(size_t indent) const;

private:
    std::string m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace Kel::Tool
