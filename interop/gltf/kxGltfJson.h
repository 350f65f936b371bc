// JSON text being read: parsing within bounds, and questions to objects whose properties may be missing or wrong.
#pragma once

#include "interop/gltf/kxJsonText.h"
#include "platform/core/kxStringRef.h"

#if defined(__SSE2__) && !defined(RAPIDJSON_SSE2)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/document.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace Kel::Gltf
{

using namespace Kel::Core;
using kxJsonValue = rapidjson::Value;

/// A parsed JSON text. Strings of its values lie in the text itself.
class kxJsonDocument
{
public:
    static constexpr unsigned kMaxDepth = 512;
    /// Bytes that must be allocated behind a text: its end, and what blocks of 16 bytes reach over it.
    static constexpr size_t kBehindText = 16;

    /// Takes the elements of one long list of the root object one by one, so that they need not all be in memory at once;
    /// the list is not in the document then. An element lives until the call returns, but for what `keep` gives: the same
    /// value, as long as the document.
    struct Listener
    {
        std::string_view list;
        std::function<void(const kxJsonValue& element, const std::function<const kxJsonValue*()>& keep)> take;
    };

    /// Parses `byteCount` bytes of UTF-8, which are taken over and changed; `kBehindText` more must be allocated. On
    /// failure `fault` says what was found and where. Takes no stack for nesting.
    bool parse(std::unique_ptr<char[]> text, size_t byteCount, std::string& fault, const Listener* listener = nullptr);
    /// Parses a copy.
    bool parseCopy(std::string_view text, std::string& fault);
    /// Parses a copy of what stood in extras, where numbers keep all of their digits.
    bool parseExtras(std::string_view text, std::string& fault);

    const kxJsonValue& getRoot() const { return m_root; }

private:
    bool parseValue(char*& at, rapidjson::Document& target, unsigned depth, std::string& fault);
    bool parseRoot(char* at, const Listener& listener, std::string& fault);
    bool parseList(char*& at, const Listener& listener, std::string& fault);
    bool refuse(const char* at, const char* reason, std::string& fault) const;

    std::unique_ptr<char[]> m_text;
    const char* m_begin = nullptr;
    const char* m_end = nullptr;
    bool m_isExtras = false;
    rapidjson::Reader m_reader;
    std::unique_ptr<rapidjson::MemoryPoolAllocator<>> m_pool;
    kxJsonValue m_root;
    std::deque<kxJsonValue> m_kept;
};

inline std::string_view textOf(const kxJsonValue& string)
{
    return {string.GetString(), string.GetStringLength()};
}

/// A number below the key "extras" that no double tells apart from its neighbours: a string for all who do not ask here, its
/// text the digits. It is what does not end with a zero, because the text goes on behind it.
inline bool isLongNumber(const kxJsonValue& value)
{
    return value.IsString() && value.GetString()[value.GetStringLength()] != '\0';
}

/// Member of an object; null when there is none and when `object` is none.
const kxJsonValue* findMember(const kxJsonValue& object, std::string_view key);

/// A number without fraction from 0 to `UINT32_MAX`: 3 and 3.0 are the same.
bool readIndex(const kxJsonValue& value, uint32_t& index);
/// The same up to 2^53.
bool readCount(const kxJsonValue& value, uint64_t& count);
/// A number that a float can hold.
bool readFloat(const kxJsonValue& value, float& number);
/// An array of exactly `count` such numbers.
bool readFloats(const kxJsonValue& value, float* numbers, size_t count);

/// True when a number of the array is further than `tolerance` from the nearest float.
bool isFinerThanFloats(const kxJsonValue& value, double tolerance);

/// Writes a value as JSON text, numbers as short as they read back exactly.
void writeValue(kxJsonText& json, const kxJsonValue& value);
std::string printValue(const kxJsonValue& value);

/// True when text is valid UTF-8.
bool isUtf8(std::string_view text);

} // namespace Kel::Gltf
