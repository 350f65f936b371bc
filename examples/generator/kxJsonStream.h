#ifndef KX_JSON_STREAM_H
#define KX_JSON_STREAM_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace Kel::Examples
{

/// Writes JSON to a file as it is said, with commas where they belong.
///
/// Holds about a megabyte of text at a time, whatever the length of the document. Numbers have the fewest digits that
/// give the value back, in every locale. A failure to write is remembered: ask `flush` at the end.
class kxJsonStream
{
public:
    explicit kxJsonStream(std::FILE* file) : m_file(file) {}

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view name);

    void text(std::string_view value);
    void number(float value);
    void number(double value);
    void integer(int64_t value);
    void boolean(bool value);
    void raw(std::string_view json);

    void member(std::string_view name, std::string_view value)
    {
        key(name);
        text(value);
    }
    void member(std::string_view name, int64_t value)
    {
        key(name);
        integer(value);
    }
    void member(std::string_view name, float value)
    {
        key(name);
        number(value);
    }
    void member(std::string_view name, const float* values, size_t count);

    /// Hands what is held to the file; false when any write failed.
    bool flush();
    uint64_t byteCount() const { return m_flushedBytes + m_buffer.size(); }

private:
    void separate();
    void open(char bracket);
    void close(char bracket);
    void quote(std::string_view value);

    std::FILE* m_file;
    std::string m_buffer;
    uint64_t m_flushedBytes = 0;
    bool m_needsComma = false;
    bool m_failed = false;
};

} // namespace Kel::Examples

#endif
