// The string pool: an open hash table of entries that lie in an arena and never move.
#include "platform/core/kxStringRef.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace Kel::Core
{

uint64_t hashBytes(const void* bytes, size_t byteCount, uint64_t seed)
{
    const uint64_t multiplier = 0x9E3779B97F4A7C15ull;
    auto mix = [&](uint64_t h, uint64_t value)
    {
        h ^= value * multiplier;
        h = (h << 31) | (h >> 33);
        return h * 0xC2B2AE3D27D4EB4Full;
    };
    const auto* p = static_cast<const unsigned char*>(bytes);
    uint64_t hash = seed ^ (byteCount * multiplier);
    for (; byteCount >= 8; byteCount -= 8, p += 8)
    {
        uint64_t word;
        std::memcpy(&word, p, 8);
        hash = mix(hash, word);
    }
    if (byteCount > 0)
    {
        uint64_t word = 0;
        std::memcpy(&word, p, byteCount);
        hash = mix(hash, word);
    }
    hash ^= hash >> 29;
    hash *= 0xBF58476D1CE4E5B9ull;
    return hash ^ (hash >> 32);
}

class kxStringPool
{
public:
    static kxStringPool& get()
    {
        // Never destroyed: references in static objects outlive every other order of destruction.
        static kxStringPool* pool = new kxStringPool;
        return *pool;
    }

    const kxStringRef::Entry* intern(std::string_view text)
    {
        const uint64_t hash = hashBytes(text.data(), text.size());
        if (m_count * 2 >= m_slots.size())
            grow();
        const size_t mask = m_slots.size() - 1;
        size_t at = hash & mask;
        for (; m_slots[at].entry; at = (at + 1) & mask)
        {
            const Slot& slot = m_slots[at];
            if (slot.hash == hash && std::string_view(slot.entry->text, slot.entry->length) == text)
                return slot.entry;
        }
        return (m_slots[at] = {makeEntry(text, hash), hash}).entry;
    }

private:
    static constexpr size_t kArenaBytes = 64 * 1024;

    // The hash stands here as well: of a million entries only those are looked at that are alike.
    struct Slot
    {
        const kxStringRef::Entry* entry = nullptr;
        uint64_t hash = 0;
    };

    const kxStringRef::Entry* makeEntry(std::string_view text, uint64_t hash)
    {
        const size_t bytes = (offsetof(kxStringRef::Entry, text) + text.size() + 1 + 7) & ~size_t(7);
        char* memory;
        if (bytes > kArenaBytes / 4)
            m_arenas.push_back(memory = static_cast<char*>(::operator new(bytes)));
        else
        {
            if (bytes > m_arenaLeft)
            {
                m_arenas.push_back(m_arena = static_cast<char*>(::operator new(kArenaBytes)));
                m_arenaLeft = kArenaBytes;
            }
            memory = m_arena;
            m_arena += bytes;
            m_arenaLeft -= bytes;
        }
        auto* entry = reinterpret_cast<kxStringRef::Entry*>(memory);
        entry->hash = hash;
        entry->number = ++m_count;
        entry->length = static_cast<uint32_t>(text.size());
        char* target = memory + offsetof(kxStringRef::Entry, text);
        if (!text.empty())
            std::memcpy(target, text.data(), text.size());
        target[text.size()] = 0;
        return entry;
    }

    void grow()
    {
        std::vector<Slot> old(m_slots.empty() ? 1024 : m_slots.size() * 2);
        old.swap(m_slots);
        const size_t mask = m_slots.size() - 1;
        for (const Slot& slot : old)
        {
            if (!slot.entry)
                continue;
            size_t at = slot.hash & mask;
            while (m_slots[at].entry)
                at = (at + 1) & mask;
            m_slots[at] = slot;
        }
    }

    std::vector<Slot> m_slots;
    std::vector<char*> m_arenas; // keeps every arena reachable for leak checkers
    char* m_arena = nullptr;
    size_t m_arenaLeft = 0;
    uint32_t m_count = 0;
};

kxStringRef::kxStringRef(const char* text)
    : m_entry(text ? kxStringPool::get().intern(std::string_view(text)) : nullptr)
{
}

kxStringRef::kxStringRef(std::string_view text) : m_entry(kxStringPool::get().intern(text)) {}

} // namespace Kel::Core
