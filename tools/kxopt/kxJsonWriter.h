// JSON as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kel::Tool
{

/// Writes one JSON value, indented by two blanks, members in the order of the calls. Within an object each value follows
/// a call of `key`. Text that is not UTF-8 is mended with U+FFFD; numbers that are not finite become null.
class kxJsonWriter
{
public:
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }

    kxJsonWriter& key(std::string_view name);

    void text(std::string_view value);
    void integer(int64_t value);
    void number(double value);
    /// The shortest digits that give the float back.
    void number(float value);
    void boolean(bool value);
    void null();

    /// A member of the object: `key` and the value.
    void member(std::string_view name, std::string_view value) { key(name).text(value); }
    void member(std::string_view name, const char* value) { key(name).text(value); }
    void member(std::string_view name, const std::string& value) { key(name).text(value); }
    void member(std::string_view name, bool value) { key(name).boolean(value); }
    void member(std::string_view name, double value) { key(name).number(value); }
    template <class T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool>) void member(std::string_view name, T value)
    {
        key(name).integer(static_cast<int64_t>(value));
    }

    /// The text so far; complete, with a line feed at its end, once every object and array has ended.
    const std::string& getText() const { return m_text; }

private:
    void begin(char bracket);
    void end(char bracket);
    void beginValue();
    void appendQuoted(std::string_view value);
    void raw(std::string_view value);

    std::string m_text;
    std::vector<bool> m_hasElements; // of each open object and array
    bool m_afterKey = false;
};

} // namespace Kel::Tool
