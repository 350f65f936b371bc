#include "platform/sg/kxTextValues.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <charconv>

namespace Kel::Sg
{

namespace
{

constexpr size_t kMaxMemoryBytes = 64; // more bytes are summed up
constexpr uint32_t kMaxBriefValues = 8;
constexpr size_t kMaxBriefString = 60;

int hexDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

// The value of two digits, -1 when they are none.
int hexByte(std::string_view text, size_t at)
{
    if (at + 2 > text.size() || hexDigit(text[at]) < 0 || hexDigit(text[at + 1]) < 0)
        return -1;
    return hexDigit(text[at]) * 16 + hexDigit(text[at + 1]);
}

} // namespace

bool isOfSeveralNumbers(const kxMetaField& field)
{
    switch (field.getKind())
    {
    case kxFieldKind::VEC2F:
    case kxFieldKind::VEC3F:
    case kxFieldKind::VEC4F:
    case kxFieldKind::QUATF:
    case kxFieldKind::MATRIX44F:
    case kxFieldKind::AABOX: return true;
    default: return false;
    }
}

// --- writing ---

bool kxTextWriter::isTooLong(kxStringRef string) const
{
    return m_isBrief && string.length() > kMaxBriefString;
}

void kxTextWriter::writeString(kxStringRef string)
{
    if (string.isNull())
    {
        m_text += "null";
        return;
    }
    if (isTooLong(string))
        return writeSummary(string.length(), "characters", string.getHash());
    m_text += '"';
    for (const char c : string.view())
        switch (c)
        {
        case '"': m_text += "\\\""; break;
        case '\\': m_text += "\\\\"; break;
        case '\n': m_text += "\\n"; break;
        case '\t': m_text += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
                m_text += kxFormat("\\x%02x", static_cast<unsigned>(c));
            else
                m_text += c;
        }
    m_text += '"';
}

void kxTextWriter::writeSummary(uint64_t count, const char* what, uint64_t hash)
{
    m_text += kxFormat("<%llu %s %016llx>", static_cast<unsigned long long>(count), what,
                       static_cast<unsigned long long>(hash));
}

void kxTextWriter::writeMemory(const kxMemoryBlock* block)
{
    if (!block)
        m_text += "null";
    else if (block->getSize() > kMaxMemoryBytes)
        writeSummary(block->getSize(), "bytes", block->getContentHash());
    else
    {
        m_text += 'x';
        for (size_t i = 0; i < block->getSize(); ++i)
            m_text += kxFormat("%02x", block->getData()[i]);
    }
}

void kxTextWriter::writeValue(const kxMetaField& field, const void* value)
{
    switch (field.getKind())
    {
    case kxFieldKind::STRING: return writeString(*static_cast<const kxStringRef*>(value));
    case kxFieldKind::MEMORY:
        return writeMemory(
            static_cast<const kxMemoryBlock*>(static_cast<const kxObjectField&>(field).getObject(value)));
    case kxFieldKind::OBJECT:
    {
        const kxObject* object = static_cast<const kxObjectField&>(field).getObject(value);
        if (object && !kxCast<kxMetaObject>(object))
            return writeString(field.valueToText(value));
        m_text += field.valueToText(value);
        return;
    }
    default:
    {
        std::string text = field.valueToText(value);
        std::replace(text.begin(), text.end(), ' ', ',');
        m_text += text;
    }
    }
}

void kxTextWriter::writeValues(const kxListBase& list, char separator)
{
    const uint32_t count = list.getCount();
    const size_t start = m_text.size();
    for (uint32_t i = 0; i < count; ++i)
    {
        if (i)
            m_text += separator;
        writeValue(*list.getElementField(), list.getElementAddress(i));
    }
    if (m_isBrief && count > kMaxBriefValues)
    {
        // Of the text: the list's own hash is that of pooled strings, whose numbers differ between runs.
        const uint64_t hash = hashBytes(m_text.data() + start, m_text.size() - start);
        m_text.resize(start);
        writeSummary(count, "values", hash);
    }
}

void kxTextWriter::writeFactor(float value)
{
    char digits[32];
    if (m_text.back() != '<')
        m_text += ' ';
    m_text.append(digits, std::to_chars(digits, digits + sizeof digits, value == 0 ? 0.0f : value).ptr);
}

void kxTextWriter::writeMatrix(const kxMatrix44f& m)
{
    bool isDiagonal = m[3][3] == 1;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            isDiagonal = isDiagonal && (row == column || m[row][column] == 0);
    m_text += '<';
    if (!isDiagonal)
    {
        m_text += "matrix";
        for (int i = 0; i < 16; ++i)
            writeFactor(m[i / 4][i % 4]);
    }
    else
    {
        if (m[3][0] != 0 || m[3][1] != 0 || m[3][2] != 0)
            for (int i = 0; i < 3; ++i)
                writeFactor(m[3][i]);
        if (m[0][0] != 1 || m[1][1] != 1 || m[2][2] != 1 || m_text.back() == '<')
        {
            m_text += m_text.back() == '<' ? "scale" : " scale";
            writeFactor(m[0][0]);
            if (m[0][0] != m[1][1] || m[0][0] != m[2][2])
            {
                writeFactor(m[1][1]);
                writeFactor(m[2][2]);
            }
        }
    }
    m_text += '>';
}

// --- reading ---

bool kxTextReader::fail(size_t at, const std::string& what)
{
    const std::string_view before = m_text.substr(0, at);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const size_t lineStart = before.rfind('\n') + 1; // 0 when there is none
    m_fault = kxFormat("%td:%zu: %s", line, at - lineStart + 1, what.c_str());
    return false;
}

bool kxTextReader::isWordCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

char kxTextReader::peek()
{
    m_at = std::min(m_text.find_first_not_of(" \t\r\n", m_at), m_text.size());
    return m_at < m_text.size() ? m_text[m_at] : '\0';
}

bool kxTextReader::take(char c)
{
    if (peek() != c || m_at == m_text.size())
        return false;
    ++m_at;
    return true;
}

std::string_view kxTextReader::readWord()
{
    const size_t start = m_at;
    while (m_at < m_text.size() && isWordCharacter(m_text[m_at]))
        ++m_at;
    return m_text.substr(start, m_at - start);
}

std::string_view kxTextReader::readToken()
{
    const size_t start = m_at;
    m_at = std::min(m_text.find_first_of(" \t\r\n])>}", m_at), m_text.size());
    return m_text.substr(start, m_at - start);
}

bool kxTextReader::readString(std::string& string)
{
    const size_t start = m_at;
    string.clear();
    for (++m_at; m_at < m_text.size(); ++m_at)
    {
        const char c = m_text[m_at];
        if (c == '"')
        {
            ++m_at;
            return true;
        }
        if (c != '\\')
        {
            string += c;
            continue;
        }
        const char escaped = ++m_at < m_text.size() ? m_text[m_at] : '\0';
        switch (escaped)
        {
        case 'n': string += '\n'; break;
        case 't': string += '\t'; break;
        case '"':
        case '\\': string += escaped; break;
        case 'x':
        {
            const int byte = hexByte(m_text, m_at + 1);
            if (byte < 0)
                return fail("\\x is followed by two digits");
            string += static_cast<char>(byte);
            m_at += 2;
            break;
        }
        default: return fail("only \\\" \\\\ \\n \\t and \\x may be escaped");
        }
    }
    return fail(start, "the string has no end");
}

bool kxTextReader::readMemory(kxSmartPointer<kxMemoryBlock>& block)
{
    const size_t start = m_at;
    const std::string_view token = readToken();
    block = nullptr;
    if (token == "null")
        return true;
    bool isRead = token.starts_with('x') && token.size() % 2 == 1;
    if (isRead)
    {
        block = kxMemoryBlock::create(token.size() / 2);
        uint8_t* target = block->getWritableData();
        for (size_t i = 1; i < token.size() && isRead; i += 2)
        {
            const int byte = hexByte(token, i);
            isRead = byte >= 0;
            *target++ = static_cast<uint8_t>(byte);
        }
    }
    return isRead || fail(start, "x and two digits for each byte are wanted");
}

bool kxTextReader::readValue(const kxMetaField& field, void* value, std::string_view name)
{
    const char first = peek();
    const size_t start = m_at;
    if (first == '<')
        return fail("what is only summed up cannot be read: such a scene is kept as a file");
    if (field.getKind() == kxFieldKind::MEMORY)
    {
        kxSmartPointer<kxMemoryBlock> block;
        if (!readMemory(block))
            return false;
        static_cast<const kxObjectField&>(field).setObject(value, block);
        return true;
    }
    std::string text;
    bool isRead;
    if (first == '"')
    {
        if (!readString(text))
            return false;
        isRead = (field.getKind() == kxFieldKind::STRING || field.getKind() == kxFieldKind::OBJECT) &&
                 field.valueFromText(text, value);
    }
    else
    {
        text = readToken();
        std::replace(text.begin(), text.end(), ',', ' ');
        const bool isString = field.getKind() == kxFieldKind::STRING;
        isRead = isString ? text == "null" : field.valueFromText(text, value);
        if (isString && isRead)
            *static_cast<kxStringRef*>(value) = kxStringRef();
    }
    return isRead || fail(start, kxFormat("%.*s cannot be %s", static_cast<int>(name.size()), name.data(),
                                          text.empty() ? "empty" : text.c_str()));
}

// Reads a value up to the separator, so that a vector's own commas belong to it.
bool kxTextReader::readListValue(const kxMetaField& element, void* value, char separator)
{
    const char first = peek();
    if (first == '"' || first == '<')
        return readValue(element, value, "a value of the list");
    const std::string_view whole = m_text;
    const size_t start = m_at;
    const std::string_view token = readToken();
    m_at = start;
    m_text = whole.substr(0, start + std::min(token.find(separator), token.size()));
    const bool isRead = readValue(element, value, "a value of the list");
    m_text = whole;
    return isRead;
}

bool kxTextReader::readValues(kxListBase& list)
{
    const kxMetaField& element = *list.getElementField();
    const char separator = isOfSeveralNumbers(element) ? ';' : ',';
    list.clear();
    const bool isInParentheses = take('(');
    if (isInParentheses && take(')'))
        return true;
    alignas(16) unsigned char value[sizeof(kxMatrix44f)];
    while (true)
    {
        element.constructValue(value);
        const bool isRead = readListValue(element, value, separator);
        if (isRead)
            list.appendElement(value);
        element.destroyValue(value);
        if (!isRead)
            return false;
        // A bare list ends at a blank, one in parentheses may have blanks.
        if (isInParentheses)
            peek();
        if (m_at >= m_text.size() || m_text[m_at] != separator)
            return !isInParentheses || take(')') || fail(kxFormat("'%c' or ')' is wanted", separator));
        ++m_at;
    }
}

bool kxTextReader::readNumbers(std::vector<float>& numbers, std::string_view text)
{
    const char* at = text.data();
    const char* end = at + text.size();
    while (true)
    {
        while (at != end && (*at == ' ' || *at == ',' || *at == '\n' || *at == '\t' || *at == '\r'))
            ++at;
        if (at == end)
            return true;
        float number;
        const auto result = std::from_chars(at, end, number);
        if (result.ec != std::errc())
            return false;
        numbers.push_back(number);
        at = result.ptr;
    }
}

const char* kxTextReader::readMatrix(std::string_view text, kxMatrix44f& matrix)
{
    std::vector<float> numbers;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.starts_with("matrix"))
    {
        if (!readNumbers(numbers, text.substr(6)) || numbers.size() != 16)
            return "16 numbers are wanted behind matrix";
        std::copy(numbers.begin(), numbers.end(), &matrix[0][0]);
        return nullptr;
    }
    const size_t scaleAt = text.find("scale");
    if (!readNumbers(numbers, text.substr(0, scaleAt)) || (numbers.size() != 3 && !(numbers.empty() && scaleAt == 0)))
        return "3 numbers, scale and 1 or 3 numbers, or matrix and 16 numbers are wanted";
    for (size_t i = 0; i < numbers.size(); ++i)
        matrix[3][i] = numbers[i];
    if (scaleAt == std::string_view::npos)
        return nullptr;
    numbers.clear();
    if (!readNumbers(numbers, text.substr(scaleAt + 5)) || (numbers.size() != 1 && numbers.size() != 3))
        return "1 or 3 numbers are wanted behind scale";
    for (size_t i = 0; i < 3; ++i)
        matrix[i][i] = numbers[numbers.size() == 1 ? 0 : i];
    return nullptr;
}

} // namespace Kel::Sg
