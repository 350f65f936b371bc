// Pooled strings: equal texts share one entry, so equality is pointer equality.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <string>
#include <string_view>

namespace Kel::Core
{

/// Reference to a pooled, immutable UTF-8 string. Null differs from empty. Entries live as long as the process; making a
/// reference from text costs one hash look-up, copying one costs nothing.
class kxStringRef
{
public:
    kxStringRef() = default;
    kxStringRef(const char* text); ///< null gives the null reference
    kxStringRef(std::string_view text);
    kxStringRef(const std::string& text) : kxStringRef(std::string_view(text)) {}

    bool isNull() const { return m_entry == nullptr; }
    bool isEmpty() const { return m_entry == nullptr || m_entry->length == 0; }
    explicit operator bool() const { return m_entry != nullptr; }

    /// The text, zero-terminated; the empty string for a null reference.
    const char* c_str() const { return m_entry ? m_entry->text : ""; }
    std::string_view view() const
    {
        return m_entry ? std::string_view(m_entry->text, m_entry->length) : std::string_view();
    }
    std::string str() const { return std::string(view()); }
    size_t length() const { return m_entry ? m_entry->length : 0; }

    /// Number of the pool's entry, in order of creation from 1; 0 for null. This is the identity that sorted lists compare.
    uint32_t getNumber() const { return m_entry ? m_entry->number : 0; }
    uint64_t getHash() const { return m_entry ? m_entry->hash : 0; }

    friend bool operator==(kxStringRef a, kxStringRef b) { return a.m_entry == b.m_entry; }
    friend bool operator!=(kxStringRef a, kxStringRef b) { return a.m_entry != b.m_entry; }
    friend bool operator<(kxStringRef a, kxStringRef b) { return a.getNumber() < b.getNumber(); }

private:
    friend class kxStringPool;
    struct Entry
    {
        uint64_t hash;
        uint32_t number;
        uint32_t length;
        char text[1];
    };
    const Entry* m_entry = nullptr;
};

/// 64-bit hash of bytes, the same in every run.
uint64_t hashBytes(const void* bytes, size_t byteCount, uint64_t seed = 0);

} // namespace Kel::Core
