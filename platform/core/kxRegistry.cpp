// Parsing of scripts. A line is looked at on its own; only the section that it belongs to is carried along.
#include "platform/core/kxRegistry.h"

#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace Kel::Core
{

KX_IMPLEMENT(kxRegistry)

namespace
{

// Where a key can stand besides a section: in one that cannot be reached, because its name is repeated or its line is
// broken, and in front of the first one.
constexpr int kNoSection = -1;
constexpr int kInFront = -2;

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isCommentSign(char c)
{
    return c == ';' || c == '#';
}

std::string_view trim(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Nothing, or blanks and a comment.
bool isNothing(std::string_view text)
{
    text = trim(text);
    return text.empty() || isCommentSign(text.front());
}

// The part in front of a comment: of a sign behind a blank that no pair of quotes encloses.
std::string_view withoutComment(std::string_view text)
{
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == '"')
            quoted = !quoted && text.find('"', i + 1) != std::string_view::npos;
        else if (!quoted && i > 0 && isCommentSign(text[i]) && isBlank(text[i - 1]))
            return text.substr(0, i);
    return text;
}

// A value that is quoted as a whole, comment behind it allowed; false for any other.
bool unquote(std::string_view text, std::string& value)
{
    if (text.empty() || text.front() != '"')
        return false;
    for (size_t i = 1; i < text.size(); ++i)
    {
        if (text[i] != '"')
            value += text[i];
        else if (i + 1 < text.size() && text[i + 1] == '"')
            value += text[i++];
        else
        {
            // A comment sign right behind the quote would be part of an unquoted value.
            const std::string_view rest = text.substr(i + 1);
            return rest.empty() || (isBlank(rest.front()) && isNothing(rest));
        }
    }
    return false;
}

std::string_view withoutPlus(std::string_view text)
{
    return text.size() > 1 && text[0] == '+' && text[1] != '-' ? text.substr(1) : text;
}

bool parse(std::string_view text, int32_t& value)
{
    text = withoutPlus(text);
    const bool negative = !text.empty() && text[0] == '-';
    std::string_view digits = text.substr(negative ? 1 : 0);
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
    {
        digits.remove_prefix(2);
        base = 16;
    }
    uint64_t magnitude = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, base);
    const uint64_t limit = uint64_t(std::numeric_limits<int32_t>::max()) + (negative ? 1 : 0);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size() || magnitude > limit)
        return false;
    const auto wide = static_cast<int64_t>(magnitude);
    value = static_cast<int32_t>(negative ? -wide : wide);
    return true;
}

bool parse(std::string_view text, bool& value)
{
    std::string small(text);
    for (char& c : small)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    value = small == "true" || small == "yes" || small == "1";
    return value || small == "false" || small == "no" || small == "0";
}

bool parse(std::string_view text, double& value)
{
    text = withoutPlus(text);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && !std::isnan(value);
}

bool parse(std::string_view text, float& value)
{
    text = withoutPlus(text);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
    {
        // Too small for a float is zero, too large is a fault.
        double wide;
        if (!parse(text, wide) || std::abs(wide) > 1)
            return false;
        value = static_cast<float>(wide);
        return true;
    }
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && !std::isnan(value);
}

bool parse(std::string_view text, kxStringRef& value)
{
    value = kxStringRef(text);
    return true;
}

const char* describe(int32_t)
{
    return "an integer of 32 bits";
}
const char* describe(bool)
{
    return "true or false";
}
const char* describe(double)
{
    return "a number";
}
const char* describe(kxStringRef)
{
    return "text";
}

bool hasLineBreak(std::string_view text)
{
    return text.find_first_of("\r\n") != std::string_view::npos;
}

bool needsQuotes(std::string_view text)
{
    if (text.empty())
        return false;
    return isBlank(text.front()) || isBlank(text.back()) || text.front() == '"' || isCommentSign(text.front()) ||
           withoutComment(text).size() != text.size();
}

} // namespace

kxRegistry::kxRegistry() = default;
kxRegistry::~kxRegistry() = default;

void kxRegistry::clear()
{
    m_fileName = kxStringRef();
    m_sections.clear();
    m_sectionIndex.clear();
}

bool kxRegistry::load(const char* path)
{
    std::string fault;
    const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path, &fault);
    if (!file)
        return false;
    return loadText(std::string_view(reinterpret_cast<const char*>(file->getData()), file->getSize()), path);
}

bool kxRegistry::loadText(std::string_view text, const char* name)
{
    clear();
    m_fileName = name;
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    int section = kInFront;
    for (int number = 1; !text.empty(); ++number)
    {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        line = trim(line);
        if (!isNothing(line))
            parseLine(line, number, section);
    }
    return true;
}

void kxRegistry::parseLine(std::string_view line, int number, int& section)
{
    if (line.front() == '[')
    {
        const size_t end = line.find(']');
        const std::string_view name = end == std::string_view::npos ? "" : trim(line.substr(1, end - 1));
        section = kNoSection;
        if (name.empty() || !isNothing(line.substr(end + 1)))
        {
            kxReport::warning("%s:%d: not a section: %.*s", m_fileName.c_str(), number, static_cast<int>(line.size()),
                              line.data());
            return;
        }
        const int known = findSection(name);
        if (known >= 0)
            kxReport::warning("%s:%d: section [%.*s] is in line %d already; the first counts", m_fileName.c_str(),
                              number, static_cast<int>(name.size()), name.data(), getSectionLine(known));
        else
            section = addSection(name, number);
        return;
    }

    const size_t sign = line.find('=');
    const std::string_view key = sign == std::string_view::npos ? "" : trim(line.substr(0, sign));
    if (key.empty() || withoutComment(key).size() != key.size())
    {
        kxReport::warning("%s:%d: neither section nor key = value: %.*s", m_fileName.c_str(), number,
                          static_cast<int>(line.size()), line.data());
        return;
    }
    if (section == kNoSection)
        return;
    if (section == kInFront)
        section = addSection("", number);
    const int known = findKey(section, key);
    if (known >= 0)
    {
        kxReport::warning("%s:%d: key %.*s is in line %d already; the first counts", m_fileName.c_str(), number,
                          static_cast<int>(key.size()), key.data(), getKeyLine(section, static_cast<uint32_t>(known)));
        return;
    }

    // A comment right behind the sign follows a blank only when there is one, so the blanks count here.
    const std::string_view raw = line.substr(sign + 1);
    std::string value;
    if (!unquote(trim(raw), value))
        value = trim(withoutComment(raw));
    Section& target = m_sections[static_cast<size_t>(section)];
    const kxStringRef name(key);
    target.index.emplace(name.getNumber(), static_cast<uint32_t>(target.entries.size()));
    target.entries.push_back({name, kxStringRef(value), number});
}

int kxRegistry::addSection(kxStringRef name, int line)
{
    const auto index = static_cast<uint32_t>(m_sections.size());
    m_sectionIndex.emplace(name.getNumber(), index);
    m_sections.push_back({name, line, {}, {}});
    return static_cast<int>(index);
}

int kxRegistry::findSection(kxStringRef name) const
{
    const auto at = m_sectionIndex.find(name.getNumber());
    return at == m_sectionIndex.end() ? -1 : static_cast<int>(at->second);
}

uint32_t kxRegistry::getKeyCount(int section) const
{
    return section < 0 ? 0 : static_cast<uint32_t>(m_sections[static_cast<size_t>(section)].entries.size());
}

int kxRegistry::findKey(int section, kxStringRef key) const
{
    if (section < 0)
        return -1;
    const auto& index = m_sections[static_cast<size_t>(section)].index;
    const auto at = index.find(key.getNumber());
    return at == index.end() ? -1 : static_cast<int>(at->second);
}

const kxRegistry::Entry* kxRegistry::readEntry(int section, kxStringRef key) const
{
    const int index = findKey(section, key);
    if (index < 0)
        return nullptr;
    const Entry& entry = entryAt(section, static_cast<uint32_t>(index));
    entry.read = true;
    return &entry;
}

template <class T>
bool kxRegistry::getValue(int section, kxStringRef key, T& value, std::type_identity_t<T> defaultValue) const
{
    const Entry* entry = readEntry(section, key);
    if (entry && parse(entry->text.view(), value))
        return true;
    if (entry && !entry->warned)
    {
        entry->warned = true;
        kxReport::warning("%s:%d: %s = %s in section [%s] is not %s", m_fileName.c_str(), entry->line,
                          entry->key.c_str(), entry->text.c_str(), getSectionName(section).c_str(), describe(value));
    }
    value = defaultValue;
    return false;
}

template bool kxRegistry::getValue<int32_t>(int, kxStringRef, int32_t&, int32_t) const;
template bool kxRegistry::getValue<bool>(int, kxStringRef, bool&, bool) const;
template bool kxRegistry::getValue<float>(int, kxStringRef, float&, float) const;
template bool kxRegistry::getValue<double>(int, kxStringRef, double&, double) const;
template bool kxRegistry::getValue<kxStringRef>(int, kxStringRef, kxStringRef&, kxStringRef) const;

void kxRegistry::markRead(int section, kxStringRef key) const
{
    readEntry(section, key);
}

void kxRegistry::forEachUnreadKey(const UnreadCallback& callback) const
{
    for (const Section& section : m_sections)
        for (const Entry& entry : section.entries)
            if (!entry.read)
                callback(section.name, entry.key, entry.line);
}

bool kxRegistry::setValue(kxStringRef section, kxStringRef key, kxStringRef text)
{
    const std::string_view name = key.view();
    if (name.empty() || trim(name) != name || hasLineBreak(name) || name.front() == '[' ||
        isCommentSign(name.front()) || name.find('=') != std::string_view::npos ||
        withoutComment(name).size() != name.size())
        return false;
    if (trim(section.view()) != section.view() || section.view().find_first_of("]\r\n") != std::string_view::npos)
        return false;
    if (hasLineBreak(text.view()))
        return false;

    if (section.isNull())
        section = "";
    if (text.isNull())
        text = "";
    int index = findSection(section);
    if (index < 0)
        index = addSection(section, 0);
    Section& target = m_sections[static_cast<size_t>(index)];
    const int known = findKey(index, key);
    if (known >= 0)
    {
        Entry& entry = target.entries[static_cast<size_t>(known)];
        entry.text = text;
        entry.warned = false;
        return true;
    }
    target.index.emplace(key.getNumber(), static_cast<uint32_t>(target.entries.size()));
    target.entries.push_back({key, text, 0});
    return true;
}

std::string kxRegistry::toText() const
{
    std::string text;
    auto appendSection = [&](const Section& section)
    {
        for (const Entry& entry : section.entries)
        {
            text += entry.key.view();
            text += " =";
            if (!entry.text.isEmpty())
                text += ' ';
            if (needsQuotes(entry.text.view()))
            {
                text += '"';
                for (char c : entry.text.view())
                    text.append(c == '"' ? 2 : 1, c);
                text += '"';
            }
            else
                text += entry.text.view();
            text += '\n';
        }
    };
    // Keys without a section stand first: behind a section they would belong to it.
    const int nameless = findSection("");
    if (nameless >= 0)
        appendSection(m_sections[static_cast<size_t>(nameless)]);
    for (const Section& section : m_sections)
    {
        if (section.name.isEmpty())
            continue;
        if (!text.empty())
            text += '\n';
        text += '[';
        text += section.name.view();
        text += "]\n";
        appendSection(section);
    }
    return text;
}

} // namespace Kel::Core
