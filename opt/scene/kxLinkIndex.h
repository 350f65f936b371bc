// Which objects stand in which lists.
#pragma once

#include "platform/core/kxObjectList.h"

#include <unordered_set>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Core;

/// Answers whether a list holds an object, and keeps count of edits to lists that it has indexed. Short lists are read as they
/// stand; of a long one the index is made when it is first asked about.
class kxLinkIndex
{
public:
    /// True for a list that is short enough to be read as it stands, and edited at once.
    static bool isShort(const kxObjectList* list) { return list->getCount() <= kScanned; }

    /// False for no list at all.
    bool contains(const kxObjectList* list, const kxObject* object);

    void noteAppended(const kxObjectList* list, const kxObject* object);
    void noteRemoved(const kxObjectList* list, const kxObject* object);

private:
    static constexpr uint32_t kScanned = 16; // entries that are as quickly scanned as looked up

    struct Slot
    {
        uint64_t link = 0; // serials of list and object; never 0
        uint32_t count = 0;
    };

    uint32_t& countOf(const kxObjectList* list, const kxObject* object);
    Slot& find(uint64_t link);
    void grow();

    std::unordered_set<uint32_t> m_indexed; // serials of lists
    std::vector<Slot> m_slots;
    size_t m_used = 0;
};

} // namespace Kel::Opt
