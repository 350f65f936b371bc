// Two passes over the graph: the first collects the nodes and repairs links within it, the second cuts links to parents outside.
//
// A node is looked at once for each path that reaches it, and what it says is said each time; but a part of the graph in which
// nothing was said is not walked again within the same pass, since nothing that a pass does makes new disagreements there.
// Whether a list holds an object is answered by a hash where the list is long. So the cost grows with nodes and links, whatever
// the shape.
#include "opt/scene/kxRepairHierarchy.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/iterate/kxIterateGraph.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxPrefetch.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSkin.h"

#include <algorithm>
#include <unordered_set>

namespace Kel::Opt
{

KX_IMPLEMENT(kxRepairHierarchy)

/// Answers whether a list holds an object, and keeps count of edits to lists that it has indexed.
class kxRepairHierarchy::LinkIndex
{
public:
    /// True for a list that is short enough to be read as it stands, and edited at once.
    static bool isShort(const kxObjectList* list) { return list->getCount() <= kScanned; }

    /// False for no list at all.
    bool contains(const kxObjectList* list, const kxObject* object)
    {
        if (!list)
            return false;
        if (isShort(list))
            return list->contains(object);
        if (m_indexed.insert(list->getSerial()).second)
            for (const kxObject* element : *list)
                if (element)
                    ++countOf(list, element);
        return countOf(list, object) > 0;
    }
    void noteAppended(const kxObjectList* list, const kxObject* object)
    {
        if (m_indexed.contains(list->getSerial()))
            ++countOf(list, object);
    }
    void noteRemoved(const kxObjectList* list, const kxObject* object)
    {
        if (m_indexed.contains(list->getSerial()))
            --countOf(list, object);
    }

private:
    static constexpr uint32_t kScanned = 16; // entries that are as quickly scanned as looked up

    struct Slot
    {
        uint64_t link = 0; // serials of list and object; never 0
        uint32_t count = 0;
    };

    uint32_t& countOf(const kxObjectList* list, const kxObject* object)
    {
        if (m_used * 2 >= m_slots.size())
            grow();
        const uint64_t link = uint64_t(list->getSerial()) << 32 | object->getSerial();
        Slot& slot = find(link);
        if (!slot.link)
        {
            slot.link = link;
            ++m_used;
        }
        return slot.count;
    }
    Slot& find(uint64_t link)
    {
        size_t at = (link * 0x9E3779B97F4A7C15ull) >> 20;
        for (;; ++at)
        {
            Slot& slot = m_slots[at & (m_slots.size() - 1)];
            if (slot.link == link || !slot.link)
                return slot;
        }
    }
    void grow()
    {
        std::vector<Slot> old(std::max<size_t>(1024, m_slots.size() * 2));
        old.swap(m_slots);
        for (const Slot& slot : old)
            if (slot.link)
                find(slot.link) = slot;
    }

    std::unordered_set<uint32_t> m_indexed; // serials of lists
    std::vector<Slot> m_slots;
    size_t m_used = 0;
};

/// One pass over the graph.
class kxRepairHierarchy::Walk
{
public:
    /// Calls `visit(node, parent)` for every node of every path, leaving out what lies below a node under which nothing was said
    /// when it was last walked. The graph may lose links during the walk as long as its nodes live.
    template <class Visit>
    void run(kxIterateGraph& iterate, kxNode* root, const int64_t& messageCount, Visit visit)
    {
        iterate.begin(root);
        while (iterate.isNotLast())
        {
            const auto depth = static_cast<size_t>(iterate.getCurrentDepth());
            while (m_path.size() >= depth)
                leave(messageCount);
            kxNode* node = iterate.getCurrent();
            if (!node || m_states.get(node) == OPEN || m_states.get(node) == QUIET)
            {
                iterate.getNextSkippingChildren();
                continue;
            }
            m_states[node] = OPEN;
            m_path.push_back({node, messageCount});
            visit(node, depth > 1 ? m_path[depth - 2].node : nullptr);
            iterate.getNext();
        }
        while (!m_path.empty())
            leave(messageCount);
    }

    bool hasMet(const kxNode* node) const { return m_states.get(node) != UNMET; }

private:
    enum State : uint8_t
    {
        UNMET,
        OPEN, ///< on the path; meeting it again is a cycle
        QUIET,
        NOISY
    };
    struct Entry
    {
        kxNode* node;
        int64_t messageCount; ///< before the node was looked at
    };

    void leave(int64_t messageCount)
    {
        m_states[m_path.back().node] = m_path.back().messageCount == messageCount ? QUIET : NOISY;
        m_path.pop_back();
    }

    kxTSerialMap<uint8_t> m_states;
    std::vector<Entry> m_path;
};

/// What the second pass has cut but not yet taken out of long child lists outside the graph, and the nodes that it keeps.
struct kxRepairHierarchy::Cuts
{
    struct Link
    {
        kxSmartPointer<kxGroup> parent;
        kxSmartPointer<kxNode> child;
    };
    std::vector<Link> links;
    std::vector<kxSmartPointer<kxNode>> kept; // nodes cut from the graph while the walk stands on them

    /// Takes each child out of its parent's list as often as it was cut, first entries first.
    void carryOut()
    {
        std::stable_sort(links.begin(), links.end(),
                         [](const Link& a, const Link& b) { return a.parent->getSerial() < b.parent->getSerial(); });
        kxTSerialMap<uint32_t> toRemove;
        for (size_t first = 0, last; first < links.size(); first = last)
        {
            for (last = first; last < links.size() && links[last].parent.get() == links[first].parent.get(); ++last)
                ++toRemove[links[last].child];
            removeIf(*links[first].parent->_childList,
                     [&](const kxObject* child) { return child && toRemove.get(child) > 0 && toRemove[child]--; });
        }
    }

    /// Takes out the elements for which the question is true, in one go.
    template <class Question>
    static void removeIf(kxObjectList& list, Question question)
    {
        uint32_t kept = 0;
        for (uint32_t i = 0; i < list.getCount(); ++i)
        {
            kxObject* element = list.get(i);
            if (question(element))
                continue;
            if (kept != i)
                list.set(kept, element);
            ++kept;
        }
        while (list.getCount() > kept)
            list.removeLast();
    }
};

void kxRepairHierarchy::listFields(kxFields<kxRepairHierarchy>& fields)
{
    fields.add(&kxRepairHierarchy::_nodeList, "_nodeList", "every node met, sorted by identity")
        .setFlags(kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK);
    fields.add(&kxRepairHierarchy::_disableRepair, "_disableRepair", "only report");
    fields.add(&kxRepairHierarchy::_createParentList, "_createParentList",
               "give children without a parent list one, so that the missing link can be added");
}

kxRepairHierarchy::kxRepairHierarchy() = default;
kxRepairHierarchy::~kxRepairHierarchy() = default;

bool kxRepairHierarchy::configure(int)
{
    return true;
}

bool kxRepairHierarchy::applyToInfos()
{
    noteGraphs();
    const bool result = kxOptBase::applyToInfos();
    m_graphsNoted = false;
    m_places.clear();
    return result;
}

bool kxRepairHierarchy::applyInfo(kxInfo* info)
{
    const bool alone = !m_graphsNoted;
    if (alone)
        noteGraphs();
    const kxInfoList* infos = _optInterface ? _optInterface->getInfos() : nullptr;
    m_currentInfo = infos ? static_cast<uint32_t>(infos->find(info) + 1) : 0;
    const bool result = kxOptBase::applyInfo(info);
    m_currentInfo = 0;
    if (alone)
    {
        m_graphsNoted = false;
        m_places.clear();
    }
    return result;
}

void kxRepairHierarchy::noteGraphs()
{
    m_graphsNoted = true;
    const kxInfoList* infos = _optInterface ? _optInterface->getInfos() : nullptr;
    if (!infos || infos->getCount() < 2)
        return;
    struct Context
    {
        kxTSerialMap<Place>& places;
        uint32_t info;
    };
    for (uint32_t i = 0; i < infos->getCount(); ++i)
    {
        Context context{m_places, i + 1};
        const auto note = [&context](kxNode* root)
        {
            forEachNodeOnce(
                root,
                [](kxNode* node, void* data)
                {
                    const Context& at = *static_cast<Context*>(data);
                    Place& place = at.places[node];
                    place.several = place.several || (place.info != 0 && place.info != at.info);
                    if (place.info == 0)
                        place.info = at.info;
                },
                &context);
        };
        if (const auto* scene = kxCast<kxSceneInfo>(infos->get(i)))
            note(scene->getSceneGraph());
        else if (const auto* database = kxCast<kxAnimationDatabase>(infos->get(i)))
        {
            for (const kxSkin* skin : *database->getSkinList())
                if (skin)
                    note(skin->getSkinnedGraph());
        }
    }
}

bool kxRepairHierarchy::isInGraph(const kxNode* parent) const
{
    if (isKnown(parent))
        return true;
    if (m_currentInfo == 0)
        return false;
    const Place place = m_places.get(parent);
    return place.several || (place.info != 0 && place.info != m_currentInfo);
}

bool kxRepairHierarchy::apply(kxSmartPointer<kxNode>& root)
{
    const kxSmartPointer<kxIterateGraph> iterate(new (getCreationMemoryPool()) kxIterateGraph);
    LinkIndex links;
    Cuts cuts;
    Walk collecting;
    Walk detecting;
    adoptNodeList();
    m_suspects.clear();
    collecting.run(*iterate, root, m_messageCount,
                   [&](kxNode* node, const kxNode* pathParent) { collectNodes(node, pathParent, links); });
    mergeNodeList();
    // Where every parent that was met has turned out to be in the graph, the second pass would find nothing.
    const bool allKnown =
        std::all_of(m_suspects.begin(), m_suspects.end(), [this](const kxNode* parent) { return isInGraph(parent); });
    m_suspects.clear();
    if (allKnown)
        return true;
    detecting.run(*iterate, root, m_messageCount,
                  [&](kxNode* node, const kxNode*) { detectLeakedNodes(node, collecting, links, cuts); });
    cuts.carryOut();
    return true;
}

kxGroup* kxRepairHierarchy::checkParentList(const kxNode* node)
{
    for (uint32_t i = 0; node && i < node->getParentCount(); ++i)
    {
        auto* parent = kxCast<kxGroup>(static_cast<kxObject*>(node->_parentList->get(i)));
        if (parent && parent->getChild(node) < 0)
            return parent;
    }
    return nullptr;
}

kxNode* kxRepairHierarchy::checkChildList(const kxNode* node)
{
    const auto* group = kxCast<kxGroup>(node);
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
    {
        kxNode* child = group->getChild(i);
        if (child && (!child->_parentList || !child->_parentList->contains(group)))
            return child;
    }
    return nullptr;
}

namespace
{

// What is asked of the neighbours of a node lies anywhere in memory in a large graph. Asked for ahead it arrives together.
constexpr uint32_t kNodesAhead = 8;
constexpr uint32_t kListsAhead = 4;

void prefetchParents(const kxNodeList* parents)
{
    const uint32_t count = std::min(parents->getCount(), kNodesAhead);
    for (uint32_t i = 0; i < count; ++i)
        prefetchObject(parents->kxObjectList::get(i));
    for (uint32_t i = 0; i < count; ++i)
        if (const auto* group = kxCast<kxGroup>(parents->kxObjectList::get(i)))
            prefetchObject(group->_childList);
}

void prefetchChildren(const kxGroup* group, uint32_t index)
{
    if (index + kNodesAhead < group->getChildCount())
        prefetchObject(group->getChild(index + kNodesAhead));
    if (index + kListsAhead < group->getChildCount())
        if (const kxNode* child = group->getChild(index + kListsAhead))
            prefetchObject(child->_parentList);
}

} // namespace

// `pathParent` is a parent known to list the node, since the walk came from there.
void kxRepairHierarchy::collectNodes(kxNode* node, const kxNode* pathParent, LinkIndex& links)
{
    if (kxNodeList* parents = node->_parentList)
    {
        bool stopped = false;
        auto disagrees = [&](kxObject* element)
        {
            const auto* parent = kxCast<kxGroup>(element);
            if (stopped || !parent || parent == pathParent || links.contains(parent->_childList, node))
                return false;
            say("The node %s is not present in the the list of children of its parent %s\n", node->getName().c_str(),
                parent->getName().c_str());
            stopped = _disableRepair;
            if (stopped)
                return false;
            links.noteRemoved(parents, parent);
            say("\terror recovered.\n");
            count("parents removed that do not list the node");
            return true;
        };
        if (parents->getCount() != 1 || parents->get(0) != pathParent)
        {
            prefetchParents(parents);
            Cuts::removeIf(*parents, disagrees);
            for (uint32_t i = 0; i < parents->getCount(); ++i)
                noteParent(static_cast<const kxNode*>(parents->get(i)));
        }
        else
            noteParent(pathParent);
    }

    const auto* group = kxCast<kxGroup>(node);
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
    {
        prefetchChildren(group, i);
        kxNode* child = group->getChild(i);
        if (!child || links.contains(child->_parentList, group))
            continue;
        if (!child->_parentList && _createParentList)
            child->_parentList = kxNew<kxNonRefCountedNodeList>();
        if (!child->_parentList)
            return noteParent(node); // which does not become known
        say("The node %s has the child %s which doesn't reference it as a parent\n", node->getName().c_str(),
            child->getName().c_str());
        if (_disableRepair)
            return noteParent(node);
        child->_parentList->append(node);
        links.noteAppended(child->_parentList, node);
        say("\terror recovered.\n");
        count("parents added to children");
    }
    if (!isKnown(node))
    {
        m_known[node] = true;
        m_newlyKnown.push_back(node);
    }
}

void kxRepairHierarchy::detectLeakedNodes(kxNode* node, const Walk& collecting, LinkIndex& links, Cuts& cuts)
{
    kxNodeList* parents = node->_parentList;
    if (!parents)
        return;
    auto isOutside = [&](kxObject* element)
    {
        auto* parent = static_cast<kxNode*>(element);
        if (!parent || isInGraph(parent))
            return false;
        say("The parent %s of %s isn't in the graph.\n", parent->getName().c_str(), node->getName().c_str());
        if (_disableRepair)
            return false;
        auto* group = kxCast<kxGroup>(element);
        if (!group || !links.contains(group->_childList, node))
            say("(the node %s was not in the list of children of %s\n", node->getName().c_str(),
                parent->getName().c_str());
        else if (collecting.hasMet(group) || LinkIndex::isShort(group->_childList))
        {
            // A list that the walk itself goes over must lose the child at once.
            cuts.kept.emplace_back(node);
            links.noteRemoved(group->_childList, node);
            group->_childList->remove(node);
        }
        else
        {
            links.noteRemoved(group->_childList, node);
            cuts.links.push_back({group, node});
        }
        say("\terror recovered.\n");
        count("links to parents outside the graph removed");
        return true;
    };
    Cuts::removeIf(*parents, isOutside);
}

template <class... A>
void kxRepairHierarchy::say(const char* format, A... arguments)
{
    ++m_messageCount;
    if constexpr (sizeof...(arguments) == 0)
        printf("%s", format);
    else
        printf(format, arguments...);
}

// The elements are not looked at again once they were listed: a node of an earlier graph may be gone. Their serials are kept
// beside the list, which tells all that membership and order need.
void kxRepairHierarchy::adoptNodeList()
{
    if (!_nodeList)
        _nodeList = kxNew<kxNonRefCountedNodeList>();
    if (_nodeList.get() == m_adoptedList && _nodeList->getCount() == m_serials.size())
        return;
    m_known.clear();
    m_serials.clear();
    m_adoptedList = _nodeList;
    for (const kxNode* node : *_nodeList)
    {
        m_known[node] = true;
        m_serials.push_back(node->getSerial());
    }
}

void kxRepairHierarchy::mergeNodeList()
{
    if (m_newlyKnown.empty())
        return;
    struct Known
    {
        uint32_t serial;
        kxObject* node; // may be gone, so it is nothing but an address
    };
    std::vector<Known> all;
    all.reserve(m_serials.size() + m_newlyKnown.size());
    for (uint32_t i = 0; i < m_serials.size(); ++i)
        all.push_back({m_serials[i], _nodeList->kxObjectList::get(i)});
    const auto middle = static_cast<ptrdiff_t>(all.size());
    for (kxNode* node : m_newlyKnown)
        all.push_back({node->getSerial(), node});
    m_newlyKnown.clear();
    auto bySerial = [](const Known& a, const Known& b) { return a.serial < b.serial; };
    std::sort(all.begin() + middle, all.end(), bySerial);
    std::inplace_merge(all.begin(), all.begin() + middle, all.end(), bySerial);
    _nodeList->clear();
    m_serials.clear();
    _nodeList->reserve(static_cast<uint32_t>(all.size()));
    for (const Known& known : all)
    {
        _nodeList->append(known.node);
        m_serials.push_back(known.serial);
    }
}

} // namespace Kel::Opt
