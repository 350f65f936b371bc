#include "interop/gltf/kxGltfUri.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Kel::Gltf
{

namespace
{

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int8_t, 256> makeBase64Values()
{
    std::array<int8_t, 256> values{};
    for (int8_t& value : values)
        value = -1;
    for (int i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kBase64[i])] = static_cast<int8_t>(i);
    // The variant for file names is met too.
    values[static_cast<unsigned char>('-')] = 62;
    values[static_cast<unsigned char>('_')] = 63;
    return values;
}

constexpr std::array<int8_t, 256> kBase64Values = makeBase64Values();

bool isAsciiLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

} // namespace

std::string folderOf(std::string_view path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

std::string decodePercent(std::string_view uri)
{
    std::string text;
    text.reserve(uri.size());
    for (size_t i = 0; i < uri.size(); ++i)
    {
        if (uri[i] == '%' && i + 2 < uri.size() && hexDigit(uri[i + 1]) >= 0 && hexDigit(uri[i + 2]) >= 0)
        {
            text.push_back(static_cast<char>(hexDigit(uri[i + 1]) * 16 + hexDigit(uri[i + 2])));
            i += 2;
        }
        else
            text.push_back(uri[i]);
    }
    return text;
}

std::string encodePercent(std::string_view path)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : path)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (isAsciiLetter(c) || (c >= '0' && c <= '9') || (c != '\0' && std::strchr("-._~/!$&'()*+,;=@", c)))
            text.push_back(c);
        else
        {
            text.push_back('%');
            text.push_back(kHex[byte >> 4]);
            text.push_back(kHex[byte & 15]);
        }
    }
    return text;
}

bool isDataUri(std::string_view uri)
{
    constexpr std::string_view kScheme = "data:";
    return uri.size() >= kScheme.size() &&
           std::equal(kScheme.begin(), kScheme.end(), uri.begin(),
                      [](char wanted, char c) { return wanted == (c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
}

kxUriKind classifyUri(std::string_view uri, std::string& relativePath)
{
    if (isDataUri(uri))
        return kxUriKind::DATA;
    relativePath = decodePercent(uri);
    // A scheme is two letters or more; a single one is a drive, which is outside as well.
    size_t colon = 0;
    while (colon < uri.size() && (isAsciiLetter(uri[colon]) || (colon > 0 && std::strchr("0123456789+-.", uri[colon]))))
        ++colon;
    if (colon > 0 && colon < uri.size() && uri[colon] == ':')
        return colon == 1 ? kxUriKind::OUTSIDE : kxUriKind::OTHER;
    if (uri.substr(0, 2) == "//" || relativePath.empty() || relativePath.find('\0') != std::string::npos)
        return kxUriKind::OTHER;
    if (relativePath[0] == '/' || relativePath[0] == '\\')
        return kxUriKind::OUTSIDE;
    int depth = 0;
    for (size_t begin = 0; begin <= relativePath.size();)
    {
        const size_t end = std::min(relativePath.find_first_of("/\\", begin), relativePath.size());
        const std::string_view step = std::string_view(relativePath).substr(begin, end - begin);
        if (step == "..")
        {
            if (--depth < 0)
                return kxUriKind::OUTSIDE;
        }
        else if (!step.empty() && step != ".")
            ++depth;
        begin = end + 1;
    }
    return kxUriKind::INSIDE;
}

kxSmartPointer<kxMemoryBlock> decodeDataUri(std::string_view uri, std::string& mediaType, std::string& fault)
{
    const size_t comma = uri.find(',');
    if (!isDataUri(uri) || comma == std::string_view::npos)
    {
        fault = "data URI has no comma";
        return nullptr;
    }
    const std::string_view head = uri.substr(5, comma - 5);
    mediaType = std::string(head.substr(0, head.find(';')));
    std::string_view body = uri.substr(comma + 1);
    if (head.size() < 7 || head.substr(head.size() - 7) != ";base64")
    {
        const std::string bytes = decodePercent(body);
        return kxMemoryBlock::copyOf(bytes.data(), bytes.size());
    }

    std::string unescaped;
    if (body.find('%') != std::string_view::npos)
    {
        unescaped = decodePercent(body);
        body = unescaped;
    }
    constexpr std::string_view kBlanks = " \t\r\n"; // some writers break the lines
    if (body.find_first_of(kBlanks) != std::string_view::npos)
    {
        std::string joined(body);
        std::erase_if(joined, [&](char c) { return kBlanks.find(c) != std::string_view::npos; });
        unescaped = std::move(joined);
        body = unescaped;
    }
    while (!body.empty() && body.back() == '=')
        body.remove_suffix(1);
    if (body.size() % 4 == 1)
    {
        fault = "base64 text of a data URI is cut short";
        return nullptr;
    }
    const size_t byteCount = body.size() / 4 * 3 + (body.size() % 4 ? body.size() % 4 - 1 : 0);
    auto block = kxMemoryBlock::create(byteCount);
    uint8_t* target = block->getWritableData();
    const auto* source = reinterpret_cast<const unsigned char*>(body.data());
    int wrong = 0; // negative once a character was none of the alphabet
    size_t i = 0;
    for (; i + 4 <= body.size(); i += 4, target += 3)
    {
        const int a = kBase64Values[source[i]], b = kBase64Values[source[i + 1]];
        const int c = kBase64Values[source[i + 2]], d = kBase64Values[source[i + 3]];
        wrong |= a | b | c | d;
        const unsigned bits = static_cast<unsigned>(a) << 18 | static_cast<unsigned>(b) << 12 |
                              static_cast<unsigned>(c) << 6 | static_cast<unsigned>(d);
        target[0] = static_cast<uint8_t>(bits >> 16);
        target[1] = static_cast<uint8_t>(bits >> 8);
        target[2] = static_cast<uint8_t>(bits);
    }
    unsigned bits = 0;
    for (size_t k = i; k < body.size(); ++k)
    {
        wrong |= kBase64Values[source[k]];
        bits |= static_cast<unsigned>(kBase64Values[source[k]]) << (18 - 6 * (k - i));
    }
    for (size_t k = i; k + 1 < body.size(); ++k)
        *target++ = static_cast<uint8_t>(bits >> (16 - 8 * (k - i)));
    if (wrong < 0)
    {
        fault = "base64 text of a data URI holds other characters";
        return nullptr;
    }
    return block;
}

void encodeBase64(const uint8_t* bytes, size_t byteCount, std::string& text)
{
    text.reserve(text.size() + (byteCount + 2) / 3 * 4);
    for (size_t i = 0; i < byteCount; i += 3)
    {
        const size_t left = byteCount - i;
        const unsigned bits = static_cast<unsigned>(bytes[i]) << 16 |
                              (left > 1 ? static_cast<unsigned>(bytes[i + 1]) << 8 : 0u) |
                              (left > 2 ? bytes[i + 2] : 0u);
        text.push_back(kBase64[bits >> 18]);
        text.push_back(kBase64[bits >> 12 & 63]);
        text.push_back(left > 1 ? kBase64[bits >> 6 & 63] : '=');
        text.push_back(left > 2 ? kBase64[bits & 63] : '=');
    }
}

} // namespace Kel::Gltf
