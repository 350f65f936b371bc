// Settings from an ini-style script.
#pragma once

#include "platform/core/kxFields.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kel::Core
{

/// Sections of keys with values, read from a script:
///
///     ; a comment, as is a line that starts with #
///     [Section]
///     key = value       ; a comment: the sign follows a blank
///     other = " 1 ; 2 " ; quotes keep blanks and comment signs; "" within them is one quote
///
/// Names of sections and keys are case-sensitive. Keys in front of the first section belong to the section "". Of sections
/// or keys that are repeated the first counts; each repetition, and each line that is none of the above, gives one warning
/// "FILE:LINE: ...". Text is UTF-8 with or without byte-order mark, lines end with LF or CRLF.
class kxRegistry : public kxObject
{
    KX_OBJECT(kxRegistry, kxObject)

    kxRegistry();

    /// Reads a script in place of what the registry held. False when the file cannot be read; the caller reports that.
    bool load(const char* path);
    /// The same from memory; `name` stands for the file in warnings. Always true.
    bool loadText(std::string_view text, const char* name);
    void clear();

    /// Name of the file that was loaded, for messages.
    kxStringRef getFileName() const { return m_fileName; }

    /// Index of a section, -1 when there is none of that name.
    int findSection(kxStringRef name) const;
    uint32_t getSectionCount() const { return static_cast<uint32_t>(m_sections.size()); }
    kxStringRef getSectionName(int section) const { return m_sections[static_cast<size_t>(section)].name; }
    int getSectionLine(int section) const { return m_sections[static_cast<size_t>(section)].line; }

    /// Keys of a section in the order of the script. Asking through these notes no key as read.
    uint32_t getKeyCount(int section) const;
    kxStringRef getKey(int section, uint32_t index) const { return entryAt(section, index).key; }
    kxStringRef getKeyText(int section, uint32_t index) const { return entryAt(section, index).text; }
    int getKeyLine(int section, uint32_t index) const { return entryAt(section, index).line; }
    /// Index of a key within its section, -1 when it has none of that name or `section` is -1.
    int findKey(int section, kxStringRef key) const;

    /// Gives the value of a key and notes the key as read; true when the key is there and its value is a `T`. Otherwise
    /// `value` becomes the default. A value that does not parse gives one warning for its key. `section` may be -1.
    ///
    /// `T` is int32_t (decimal, or hexadecimal after 0x; signed), bool (true, false, yes, no, 1, 0 in any case), float,
    /// double (not NaN) or kxStringRef. What is out of the range of `T` does not parse.
    template <class T>
    bool getValue(int section, kxStringRef key, T& value, std::type_identity_t<T> defaultValue = {}) const;

    /// Notes a key as read without asking for its value.
    void markRead(int section, kxStringRef key) const;
    using UnreadCallback = std::function<void(kxStringRef section, kxStringRef key, int line)>;
    /// Calls back for every key that nobody asked for, in the order of the script.
    void forEachUnreadKey(const UnreadCallback& callback) const;

    /// Sets a value, adding section and key behind the others where they are missing. False, with nothing changed, when
    /// the three cannot stand in a script: an empty key, a line break, a name that would read as something else.
    bool setValue(kxStringRef section, kxStringRef key, kxStringRef text);
    /// The script that gives these sections and keys back; comments are not kept.
    std::string toText() const;

private:
    struct Entry
    {
        kxStringRef key;
        kxStringRef text;
        int line;
        mutable bool read = false;
        mutable bool warned = false;
    };
    struct Section
    {
        kxStringRef name;
        int line;
        std::vector<Entry> entries;
        std::unordered_map<uint32_t, uint32_t> index; // number of the key's string -> place in `entries`
    };

    ~kxRegistry() override;
    const Entry& entryAt(int section, uint32_t index) const
    {
        return m_sections[static_cast<size_t>(section)].entries[index];
    }
    const Entry* readEntry(int section, kxStringRef key) const;
    int addSection(kxStringRef name, int line);
    void parseLine(std::string_view line, int number, int& section);

    kxStringRef m_fileName;
    std::vector<Section> m_sections;
    std::unordered_map<uint32_t, uint32_t> m_sectionIndex;
};

} // namespace Kel::Core
