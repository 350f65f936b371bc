// How large the parts of a file have become.
#pragma once

#include "platform/core/kxObject.h"

#include <cstdint>
#include <unordered_map>

namespace Kel::Core
{

/// Bytes that single objects take up in a file that was written. Writers note those whose form in the file differs from
/// that in memory, such as images; an object that was left out is noted with 0. Valid as long as the objects are.
class kxWrittenSizes
{
public:
    void add(const kxObject* object, uint64_t bytes) { m_bytes[object] += bytes; }
    /// Null for an object that no writer spoke of.
    const uint64_t* find(const kxObject* object) const
    {
        const auto at = m_bytes.find(object);
        return at == m_bytes.end() ? nullptr : &at->second;
    }

private:
    std::unordered_map<const kxObject*, uint64_t> m_bytes;
};

} // namespace Kel::Core
