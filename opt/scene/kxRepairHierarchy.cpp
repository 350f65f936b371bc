// Most graphs are sound, and that is seen in one plain walk: links as parents list them and links as children list them have
// the same sum. Only otherwise two passes look at what disagrees: the first collects the nodes and repairs links within the
// graph, the second cuts links to parents outside.
//
// A node is looked at once for each path that reaches it, and what it says is said each time; but a part of the graph in which
// nothing was said is not walked again within the same pass, since nothing that a pass does makes new disagreements there.
// Whether a list holds an object is answered by a hash where the list is long. So the cost grows with nodes and links, whatever
// the shape.
#include "opt/scene/kxRepairHierarchy.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/iterate/kxIterateGraph.h"
#include "opt/scene/kxFileGraphs.h"
#include "opt/scene/kxLinkIndex.h"
#include "platform/core/kxDelayLine.h"
#include "platform/core/kxPrefetch.h"
#include "platform/sg/kxSceneInfo.h"

#include <algorithm>

namespace Kel::Opt
{

KX_IMPLEMENT(kxRepairHierarchy)

/// One pass over the graph.
class kxRepairHierarchy::Walk
{
public:
    /// Calls `visit(node)` for every node of every path, leaving out what lies below a node under which nothing was said
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
            visit(node);
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

namespace
{

// Number of a link; the sum of many says which links there are, but for a chance of one in 2^64.
uint64_t numberOf(const kxObject* parent, const kxObject* child)
{
    uint64_t number = reinterpret_cast<uintptr_t>(parent) * 0x9E3779B97F4A7C15ull;
    number = (number ^ number >> 32 ^ reinterpret_cast<uintptr_t>(child)) * 0xBF58476D1CE4E5B9ull;
    number = (number ^ number >> 29) * 0x94D049BB133111EBull;
    return number ^ number >> 32;
}

} // namespace

/// The nodes of one graph or several, each once, and the sum of their links.
struct kxRepairHierarchy::LinkSum
{
    kxTSerialMap<kxNode*> nodes;
    uint64_t sum = 0;

    void add(kxNode* root)
    {
        forEachNodeOnce(
            root, [](kxNode* node, void* self) { static_cast<LinkSum*>(self)->addNode(node); }, this);
        m_waiting.flush([this](const kxNode* node) { addLinks(node); });
    }

private:
    void addNode(kxNode* node)
    {
        kxNode*& known = nodes[node];
        if (known)
            return; // stands in another graph as well
        known = node;
        // The lists are asked for while the walk goes on.
        prefetchObject(node->_parentList);
        if (const auto* group = kxCast<kxGroup>(node))
            prefetchObject(group->_childList);
        m_waiting.push(node, [this](const kxNode* near) { addLinks(near); });
    }
    void addLinks(const kxNode* node)
    {
        if (const kxNodeList* parents = node->_parentList)
            for (const kxObject* parent : *parents)
                sum -= parent ? numberOf(parent, node) : 0;
        if (const auto* group = kxCast<kxGroup>(node); group && group->_childList)
            for (const kxObject* child : *group->_childList)
                sum += child ? numberOf(group, child) : 0;
    }

    kxDelayLine<const kxNode*, 8> m_waiting;
};

bool kxRepairHierarchy::applyToInfos()
{
    m_severalInfos = true;
    m_fileIsSound = isFileSound();
    const bool result = kxOptBase::applyToInfos();
    m_severalInfos = false;
    m_fileIsSound = false;
    forgetGraphs();
    return result;
}

// Graphs that share nodes are sound only when they are taken together.
bool kxRepairHierarchy::isFileSound() const
{
    const kxInfoList* infos = _optInterface ? _optInterface->getInfos() : nullptr;
    std::vector<kxNode*> roots;
    for (uint32_t i = 0; infos && i < infos->getCount(); ++i)
        for (kxNode* root : getGraphRoots(infos->get(i)))
            roots.push_back(root);
    if (roots.size() < 2)
        return false; // the one graph will tell by itself
    LinkSum links;
    for (kxNode* root : roots)
        links.add(root);
    return links.sum == 0;
}

bool kxRepairHierarchy::applyInfo(kxInfo* info)
{
    const kxInfoList* infos = _optInterface ? _optInterface->getInfos() : nullptr;
    m_currentInfo = infos ? static_cast<uint32_t>(infos->find(info) + 1) : 0;
    const bool result = kxOptBase::applyInfo(info);
    m_currentInfo = 0;
    if (!m_severalInfos)
        forgetGraphs();
    return result;
}

void kxRepairHierarchy::forgetGraphs()
{
    m_graphsNoted = false;
    m_places.clear();
}

void kxRepairHierarchy::noteGraphs()
{
    if (m_graphsNoted || m_currentInfo == 0)
        return;
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
        for (kxNode* root : getGraphRoots(infos->get(i)))
        {
            Context context{m_places, i + 1};
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

// True when all links agree and none leaves the graph; its nodes are known then. Nor is there anything to say of a graph of a
// file whose graphs are sound when they are taken together.
bool kxRepairHierarchy::isSound(kxNode* root)
{
    LinkSum links;
    links.add(root);
    if (links.sum != 0 && !(m_currentInfo != 0 && m_fileIsSound))
        return false;
    links.nodes.forEach(
        [this](kxNode* node)
        {
            if (node)
                noteKnown(node);
        });
    mergeNodeList();
    return true;
}

void kxRepairHierarchy::noteKnown(kxNode* node)
{
    if (isKnown(node))
        return;
    m_known[node] = true;
    m_newlyKnown.push_back(node);
}

bool kxRepairHierarchy::apply(kxSmartPointer<kxNode>& root)
{
    adoptNodeList();
    if (isSound(root))
        return true;
    noteGraphs();
    const kxSmartPointer<kxIterateGraph> iterate(new (getCreationMemoryPool()) kxIterateGraph);
    kxLinkIndex links;
    Cuts cuts;
    Walk collecting;
    Walk detecting;
    collecting.run(*iterate, root, m_messageCount, [&](kxNode* node) { collectNodes(node, links); });
    mergeNodeList();
    detecting.run(*iterate, root, m_messageCount,
                  [&](kxNode* node) { detectLeakedNodes(node, collecting, links, cuts); });
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

void kxRepairHierarchy::collectNodes(kxNode* node, kxLinkIndex& links)
{
    if (kxNodeList* parents = node->_parentList)
    {
        bool stopped = false;
        auto disagrees = [&](kxObject* element)
        {
            const auto* parent = kxCast<kxGroup>(element);
            if (stopped || !parent || links.contains(parent->_childList, node))
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
        Cuts::removeIf(*parents, disagrees);
    }

    const auto* group = kxCast<kxGroup>(node);
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
    {
        kxNode* child = group->getChild(i);
        if (!child || links.contains(child->_parentList, group))
            continue;
        if (!child->_parentList && _createParentList)
            child->_parentList = kxNew<kxNonRefCountedNodeList>();
        if (!child->_parentList)
            return; // the node does not become known
        say("The node %s has the child %s which doesn't reference it as a parent\n", node->getName().c_str(),
            child->getName().c_str());
        if (_disableRepair)
            return;
        child->_parentList->append(node);
        links.noteAppended(child->_parentList, node);
        say("\terror recovered.\n");
        count("parents added to children");
    }
    noteKnown(node);
}

void kxRepairHierarchy::detectLeakedNodes(kxNode* node, const Walk& collecting, kxLinkIndex& links, Cuts& cuts)
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
        else if (collecting.hasMet(group) || kxLinkIndex::isShort(group->_childList))
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
    // Graphs of a file that was just loaded follow each other in the order of their nodes' serials.
    const auto isRising = [](const kxNode* a, const kxNode* b) { return a->getSerial() < b->getSerial(); };
    if ((m_serials.empty() || m_serials.back() < m_newlyKnown.front()->getSerial()) &&
        std::is_sorted(m_newlyKnown.begin(), m_newlyKnown.end(), isRising))
    {
        for (kxNode* node : m_newlyKnown)
        {
            _nodeList->append(node);
            m_serials.push_back(node->getSerial());
        }
        m_newlyKnown.clear();
        return;
    }
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
    if (!std::is_sorted(all.begin() + middle, all.end(), bySerial))
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
