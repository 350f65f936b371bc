#include "platform/sg/kxNode.h"

#include "platform/sg/kxGroup.h"

#include <unordered_map>
#include <vector>

namespace Kel::Sg
{

KX_IMPLEMENT(kxNode)
KX_IMPLEMENT(kxNodeList)
KX_IMPLEMENT(kxNonRefCountedNodeList)

void kxNode::listFields(kxFields<kxNode>& fields)
{
    fields.add(&kxNode::_name, "_name", "name of the node");
    fields.add(&kxNode::_flags, "_flags", "0x40: the node is dynamic, 0x80: it is animated");
    fields.add(&kxNode::_parentList, "_parentList", "groups of which the node is a child")
        .setFlags(kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK);
    fields.add(&kxNode::_boundingVolume, "_boundingVolume", "box around what is drawn below the node");
    fields.add(&kxNode::_userData, "_userData", "what a file says beyond these fields");
}

namespace
{

// Where each parent stands in the list of a node with many, so that such a node loses its parents in any order without a
// scan for each. The list is a field that others may edit: what the index says is checked against the list at every use,
// and an index that is out of date is made anew.
class ParentIndex
{
public:
    void build(const kxNodeList* list)
    {
        m_heads.clear();
        m_links.clear();
        for (kxNode* parent : *list)
            append(parent);
    }

    void append(const kxNode* parent)
    {
        const auto place = static_cast<uint32_t>(m_links.size());
        const auto [head, isNew] = m_heads.try_emplace(parent, place);
        m_links.push_back({kNone, isNew ? kNone : head->second});
        if (!isNew)
        {
            m_links[head->second].previous = place;
            head->second = place;
        }
    }

    // Moves the last parent into the place of `parent`. False, with nothing changed, when the index does not find it.
    bool remove(const kxNode* parent, kxNodeList* list)
    {
        const auto head = m_heads.find(parent);
        const uint32_t count = list->getCount();
        if (head == m_heads.end() || m_links.size() != count)
            return false;
        const uint32_t place = head->second;
        const uint32_t last = count - 1;
        const kxNode* moved = list->get(last);
        if (place >= count || list->get(place) != parent || !isPlaceOf(last, moved, list))
            return false;

        const uint32_t next = m_links[place].next;
        if (next == kNone)
            m_heads.erase(head);
        else
        {
            head->second = next;
            m_links[next].previous = kNone;
        }
        if (place != last)
        {
            const Link link = m_links[last];
            m_links[place] = link;
            if (link.previous == kNone)
                m_heads[moved] = place;
            else
                m_links[link.previous].next = place;
            if (link.next != kNone)
                m_links[link.next].previous = place;
            list->set(place, list->get(last));
        }
        m_links.pop_back();
        list->removeLast();
        return true;
    }

private:
    static constexpr uint32_t kNone = ~0u;
    struct Link // places of the same parent, the one added last first
    {
        uint32_t previous;
        uint32_t next;
    };

    bool isPlaceOf(uint32_t place, const kxNode* parent, const kxNodeList* list) const
    {
        const uint32_t previous = m_links[place].previous;
        if (previous != kNone)
            return list->get(previous) == parent;
        const auto head = m_heads.find(parent);
        return head != m_heads.end() && head->second == place;
    }

    std::unordered_map<const kxNode*, uint32_t> m_heads;
    std::vector<Link> m_links;
};

// Parents from which an index pays.
constexpr uint32_t kIndexedParents = 64;

// Beside the nodes: few nodes ever have one, and a member would cost all of them.
std::unordered_map<const kxNode*, ParentIndex>& parentIndices()
{
    static auto* indices = new std::unordered_map<const kxNode*, ParentIndex>;
    return *indices;
}

} // namespace

kxNode::kxNode() = default;

kxNode::~kxNode()
{
    if (m_hasParentIndex)
        parentIndices().erase(this);
}

uint32_t kxNode::getParentCount() const
{
    return _parentList ? _parentList->getCount() : 0;
}

kxGroup* kxNode::getParent(uint32_t index) const
{
    return static_cast<kxGroup*>(_parentList->get(index));
}

void kxNode::addParent(kxGroup* parent)
{
    if (!_parentList)
        _parentList = kxNew<kxNonRefCountedNodeList>();
    _parentList->append(parent);
    if (m_hasParentIndex)
        parentIndices()[this].append(parent);
}

void kxNode::removeParent(const kxGroup* parent)
{
    if (!_parentList)
        return;
    if (_parentList->getCount() < kIndexedParents)
    {
        if (m_hasParentIndex)
            parentIndices().erase(this);
        m_hasParentIndex = false;
        _parentList->remove(parent);
        return;
    }
    ParentIndex& index = parentIndices()[this];
    if (m_hasParentIndex && index.remove(parent, _parentList))
        return;
    m_hasParentIndex = true;
    index.build(_parentList);
    index.remove(parent, _parentList);
}

} // namespace Kel::Sg
