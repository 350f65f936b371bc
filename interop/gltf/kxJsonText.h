// JSON text being written, piece by piece.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kel::Gltf
{

/// Compact JSON text. Commas come by themselves; whoever writes sees to it that brackets match and that members have keys.
/// The text is kept in pieces, so that a text of a hundred megabytes is never copied while it grows.
class kxJsonText
{
public:
    void beginObject() { open('{'); }
    void endObject() { put('}'); }
    void beginArray() { open('['); }
    void endArray() { put(']'); }
    void key(std::string_view name);

    void string(std::string_view text);
    void boolean(bool value);
    void null();
    void integer(int64_t value);
    void unsignedInteger(uint64_t value);
    /// The shortest text that reads back as exactly this value. What JSON has no word for is written as 0.
    void number(float value);
    void number(double value);
    /// A value that is JSON text already.
    void raw(std::string_view json);
    /// Blanks, to fill up to a boundary.
    void pad(size_t count);

    void member(std::string_view name, std::string_view text) { key(name), string(text); }
    void member(std::string_view name, float value) { key(name), number(value); }
    void member(std::string_view name, uint64_t value) { key(name), unsignedInteger(value); }
    void floats(const float* values, size_t count);

    uint64_t getSize() const { return m_finishedBytes + m_piece.size(); }
    /// The whole text in one string.
    std::string str() const;
    /// Calls back for each piece in order while the answers are true.
    template <class Write>
    bool forEachPiece(Write write) const
    {
        for (const std::string& piece : m_finished)
            if (!write(piece))
                return false;
        return write(m_piece);
    }

private:
    void open(char bracket);
    void separate();
    void put(char c)
    {
        m_piece.push_back(c);
        m_last = c;
    }
    void put(std::string_view text)
    {
        m_piece.append(text);
        m_last = text.back();
    }
    void finishPiece();

    static constexpr size_t kPieceBytes = size_t(1) << 20;
    std::vector<std::string> m_finished;
    std::string m_piece;
    uint64_t m_finishedBytes = 0;
    char m_last = ':'; // the last character written, which says whether a comma is due
};

} // namespace Kel::Gltf
