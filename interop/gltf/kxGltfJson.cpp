#include "interop/gltf/kxGltfJson.h"

#include "platform/core/kxReport.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

namespace Kel::Gltf
{

namespace
{

// True for a number that would not come back as it stands: a double tells apart all numbers of up to 15 digits, but not zeros of
// either sign from each other once it is an integer, nor numbers next to zero.
bool needsText(const char* number, double value, size_t& length)
{
    constexpr size_t kDigits = 15;
    size_t digits = 0;
    bool inExponent = false;
    const char* at = number;
    for (; *at == '-' || *at == '+' || *at == '.' || *at == 'e' || *at == 'E' || (*at >= '0' && *at <= '9'); ++at)
    {
        inExponent |= *at == 'e' || *at == 'E';
        const bool isLeading = digits == 0 && *at == '0';
        digits += !inExponent && *at >= '0' && *at <= '9' && !isLeading;
    }
    length = static_cast<size_t>(at - number);
    const bool isTiny = digits && std::abs(value) < std::numeric_limits<double>::min();
    return digits > kDigits || isTiny || (value == 0 && *number == '-');
}

// Hands the parser's events to the document and ends the parsing where brackets nest too deep. Numbers of extras that a
// double cannot hold stay text.
class EventGuard
{
public:
    EventGuard(rapidjson::Document& document, const rapidjson::InsituStringStream& stream, unsigned depth,
               bool inExtras)
        : m_document(document), m_stream(stream), m_depth(depth), m_extrasDepth(inExtras ? 0 : kNone)
    {
    }

    bool Null() { return m_document.Null(); }
    bool Bool(bool b) { return m_document.Bool(b); }
    bool Int(int i) { return i == 0 && m_depth >= m_extrasDepth ? Double(0) : m_document.Int(i); } // with a minus
    bool Uint(unsigned i) { return m_document.Uint(i); }
    bool Int64(int64_t i) { return m_document.Int64(i); }
    bool Uint64(uint64_t i) { return m_document.Uint64(i); }
    bool Double(double d)
    {
        // The parser reads on in a copy of the stream, which itself still stands at the number.
        size_t length = 0;
        if (m_depth >= m_extrasDepth && needsText(m_stream.src_, d, length))
            return m_document.String(m_stream.src_, static_cast<rapidjson::SizeType>(length), false);
        return m_document.Double(d);
    }
    bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) { return m_document.RawNumber(s, n, copy); }
    bool String(const char* s, rapidjson::SizeType n, bool copy) { return m_document.String(s, n, copy); }
    bool Key(const char* s, rapidjson::SizeType n, bool copy)
    {
        // The next key of the object ends the extras.
        if (m_depth <= m_extrasDepth || m_extrasDepth == kNone)
            m_extrasDepth = std::string_view(s, n) == "extras" ? m_depth : kNone;
        return m_document.Key(s, n, copy);
    }
    bool StartObject() { return ++m_depth <= kxJsonDocument::kMaxDepth && m_document.StartObject(); }
    bool EndObject(rapidjson::SizeType n)
    {
        if (--m_depth < m_extrasDepth)
            m_extrasDepth = kNone;
        return m_document.EndObject(n);
    }
    bool StartArray() { return ++m_depth <= kxJsonDocument::kMaxDepth && m_document.StartArray(); }
    bool EndArray(rapidjson::SizeType n) { return --m_depth, m_document.EndArray(n); }

private:
    static constexpr unsigned kNone = UINT_MAX;
    rapidjson::Document& m_document;
    const rapidjson::InsituStringStream& m_stream;
    unsigned m_depth;
    unsigned m_extrasDepth; // depth of the object whose extras are read
};

// Parses one value and stops behind it.
struct Generator
{
    char* text;
    unsigned depth;
    bool inExtras;
    rapidjson::Reader& reader;
    rapidjson::ParseResult result{};
    size_t end = 0;

    bool operator()(rapidjson::Document& document)
    {
        constexpr unsigned kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag |
                                    rapidjson::kParseFullPrecisionFlag | rapidjson::kParseStopWhenDoneFlag;
        rapidjson::InsituStringStream stream(text);
        EventGuard guard(document, stream, depth, inExtras);
        result = reader.Parse<kFlags>(stream, guard);
        end = stream.Tell();
        return !result.IsError();
    }
};

char* skipBlanks(char* at)
{
    while (*at == ' ' || *at == '\n' || *at == '\r' || *at == '\t')
        ++at;
    return at;
}

} // namespace

bool isUtf8(std::string_view text)
{
    const auto* at = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = at + text.size();
    auto follows = [&](int count)
    {
        if (end - at <= count)
            return false;
        for (int i = 1; i <= count; ++i)
            if ((at[i] & 0xc0) != 0x80)
                return false;
        return true;
    };
    while (at < end)
    {
        uint64_t eight;
        if (end - at >= 8 && (std::memcpy(&eight, at, 8), (eight & 0x8080808080808080u) == 0))
            at += 8;
        else if (*at < 0x80)
            ++at;
        else if (*at >= 0xc2 && *at <= 0xdf && follows(1))
            at += 2;
        else if ((*at & 0xf0) == 0xe0 && follows(2) && !(*at == 0xe0 && at[1] < 0xa0) && !(*at == 0xed && at[1] > 0x9f))
            at += 3;
        else if (*at >= 0xf0 && *at <= 0xf4 && follows(3) && !(*at == 0xf0 && at[1] < 0x90) &&
                 !(*at == 0xf4 && at[1] > 0x8f))
            at += 4;
        else
            return false;
    }
    return true;
}

bool kxJsonDocument::refuse(const char* at, const char* reason, std::string& fault) const
{
    fault = kxFormat("JSON text is broken at byte %zu: %s", static_cast<size_t>(at - m_begin), reason);
    return false;
}

bool kxJsonDocument::parse(std::unique_ptr<char[]> text, size_t byteCount, std::string& fault, const Listener* listener)
{
    m_root.SetNull();
    m_kept.clear();
    m_text = std::move(text);
    char* begin = m_text.get();
    if (byteCount >= 3 && std::memcmp(begin, "\xef\xbb\xbf", 3) == 0)
        begin += 3, byteCount -= 3;
    // Some writers fill up to a boundary with zero bytes.
    while (byteCount > 0 && begin[byteCount - 1] == '\0')
        --byteCount;
    std::memset(begin + byteCount, 0, kBehindText);
    m_begin = begin;
    m_end = begin + byteCount;
    if (!isUtf8({begin, byteCount}))
    {
        fault = "JSON text is not UTF-8";
        return false;
    }

    const size_t chunk = std::min<size_t>(std::max<size_t>(byteCount / 8, 4096), size_t(1) << 20);
    m_pool = std::make_unique<rapidjson::MemoryPoolAllocator<>>(chunk);
    char* at = skipBlanks(begin);
    bool done = false;
    if (listener && *at == '{')
        done = parseRoot(at, *listener, fault);
    else
    {
        rapidjson::Document document(m_pool.get());
        done = parseValue(at, document, 0, fault);
        m_root = static_cast<kxJsonValue&>(document);
        at = done ? skipBlanks(at) : at;
        if (done && at != m_end)
            done = refuse(at, "The document root must not be followed by other values.", fault);
    }
    if (!done)
        m_root.SetNull();
    return done;
}

bool kxJsonDocument::parseValue(char*& at, rapidjson::Document& target, unsigned depth, std::string& fault)
{
    Generator generator{at, depth, m_isExtras, m_reader};
    target.Populate(generator);
    if (!generator.result.IsError())
    {
        at += generator.end;
        return true;
    }
    if (generator.result.Code() == rapidjson::kParseErrorTermination)
        fault = kxFormat("JSON text nests deeper than %u", kMaxDepth);
    else
        refuse(at + generator.result.Offset(), rapidjson::GetParseError_En(generator.result.Code()), fault);
    return false;
}

// The members of the root object, each parsed by itself.
bool kxJsonDocument::parseRoot(char* at, const Listener& listener, std::string& fault)
{
    bool isTaken = false;
    m_root.SetObject();
    at = skipBlanks(at + 1);
    if (*at != '}')
        for (;;)
        {
            if (*at != '"')
                return refuse(at, "Missing a name for object member.", fault);
            rapidjson::Document part(m_pool.get());
            kxJsonValue key;
            if (!parseValue(at, part, 1, fault))
                return false;
            key = static_cast<kxJsonValue&>(part);
            at = skipBlanks(at);
            if (*at != ':')
                return refuse(at, "Missing a colon after a name of object member.", fault);
            at = skipBlanks(at + 1);
            if (*at == '[' && !isTaken && textOf(key) == listener.list)
            {
                isTaken = true;
                if (!parseList(at, listener, fault))
                    return false;
            }
            else
            {
                if (!parseValue(at, part, 1, fault))
                    return false;
                m_root.AddMember(key, static_cast<kxJsonValue&>(part), *m_pool);
            }
            at = skipBlanks(at);
            if (*at == '}')
                break;
            if (*at != ',')
                return refuse(at, "Missing a comma or } after an object member.", fault);
            at = skipBlanks(at + 1);
        }
    at = skipBlanks(at + 1);
    return at == m_end || refuse(at, "The document root must not be followed by other values.", fault);
}

bool kxJsonDocument::parseList(char*& at, const Listener& listener, std::string& fault)
{
    // Elements are small and many: memory, parser and document serve them all.
    constexpr size_t kPoolBytes = size_t(1) << 16;
    const auto buffer = std::make_unique_for_overwrite<char[]>(kPoolBytes);
    rapidjson::MemoryPoolAllocator<> pool(buffer.get(), kPoolBytes);
    rapidjson::Document element(&pool);
    const std::function<const kxJsonValue*()> keep = [&]
    { return &m_kept.emplace_back(static_cast<const kxJsonValue&>(element), *m_pool); };
    at = skipBlanks(at + 1);
    if (*at == ']')
    {
        ++at;
        return true;
    }
    for (;;)
    {
        if (!parseValue(at, element, 2, fault))
            return false;
        listener.take(element, keep);
        element.SetNull();
        pool.Clear();
        at = skipBlanks(at);
        if (*at == ']')
            break;
        if (*at != ',')
            return refuse(at, "Missing a comma or ] after an array element.", fault);
        at = skipBlanks(at + 1);
    }
    ++at;
    return true;
}

bool kxJsonDocument::parseExtras(std::string_view text, std::string& fault)
{
    m_isExtras = true;
    const bool done = parseCopy(text, fault);
    m_isExtras = false;
    return done;
}

bool kxJsonDocument::parseCopy(std::string_view text, std::string& fault)
{
    auto copy = std::make_unique_for_overwrite<char[]>(text.size() + kBehindText);
    std::memcpy(copy.get(), text.data(), text.size());
    return parse(std::move(copy), text.size(), fault);
}

const kxJsonValue* findMember(const kxJsonValue& object, std::string_view key)
{
    if (!object.IsObject())
        return nullptr;
    for (auto at = object.MemberBegin(); at != object.MemberEnd(); ++at)
        if (textOf(at->name) == key)
            return &at->value;
    return nullptr;
}

bool readCount(const kxJsonValue& value, uint64_t& count)
{
    constexpr uint64_t kLargest = uint64_t(1) << 53;
    if (value.IsUint64())
        count = value.GetUint64();
    else if (value.IsDouble() && value.GetDouble() >= 0 && value.GetDouble() <= static_cast<double>(kLargest) &&
             value.GetDouble() == std::floor(value.GetDouble()))
        count = static_cast<uint64_t>(value.GetDouble());
    else
        return false;
    return count <= kLargest;
}

bool readIndex(const kxJsonValue& value, uint32_t& index)
{
    uint64_t count = 0;
    if (!readCount(value, count) || count > UINT32_MAX)
        return false;
    index = static_cast<uint32_t>(count);
    return true;
}

bool readFloat(const kxJsonValue& value, float& number)
{
    // Half a step beyond the largest float: what is below rounds to it, as the usual nine digits of the largest do.
    constexpr double kLimit = 3.4028235677973366e38;
    if (!value.IsNumber() || std::abs(value.GetDouble()) >= kLimit)
        return false;
    number = static_cast<float>(value.GetDouble());
    return true;
}

bool readFloats(const kxJsonValue& value, float* numbers, size_t count)
{
    if (!value.IsArray() || value.Size() != count)
        return false;
    for (rapidjson::SizeType i = 0; i < count; ++i)
        if (!readFloat(value[i], numbers[i]))
            return false;
    return true;
}

bool isFinerThanFloats(const kxJsonValue& value, double tolerance)
{
    return value.IsArray() && std::any_of(value.Begin(), value.End(),
                                          [&](const kxJsonValue& element)
                                          {
                                              float rounded;
                                              return readFloat(element, rounded) &&
                                                     std::abs(element.GetDouble() - rounded) > tolerance;
                                          });
}

void writeValue(kxJsonText& json, const kxJsonValue& value)
{
    // Calls itself once for each level; the parser has seen to it that there are few.
    switch (value.GetType())
    {
    case rapidjson::kNullType: json.null(); break;
    case rapidjson::kFalseType: json.boolean(false); break;
    case rapidjson::kTrueType: json.boolean(true); break;
    case rapidjson::kStringType: isLongNumber(value) ? json.raw(textOf(value)) : json.string(textOf(value)); break;
    case rapidjson::kNumberType:
        if (value.IsUint64())
            json.unsignedInteger(value.GetUint64());
        else if (value.IsInt64())
            json.integer(value.GetInt64());
        else
            json.number(value.GetDouble());
        break;
    case rapidjson::kObjectType:
        json.beginObject();
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
        {
            json.key(textOf(at->name));
            writeValue(json, at->value);
        }
        json.endObject();
        break;
    case rapidjson::kArrayType:
        json.beginArray();
        for (auto at = value.Begin(); at != value.End(); ++at)
            writeValue(json, *at);
        json.endArray();
        break;
    }
}

std::string printValue(const kxJsonValue& value)
{
    kxJsonText json;
    writeValue(json, value);
    return json.str();
}

} // namespace Kel::Gltf
