#include "interop/gltf/kxGltfSkins.h"

#include "interop/gltf/kxGltfObjects.h"

#include <algorithm>

namespace Kel::Gltf
{

uint32_t kxGltfSkins::numberOf(uint32_t node) const
{
    const auto found = m_numbers.find(node);
    return found == m_numbers.end() ? kNone : found->second;
}

void kxGltfSkins::assign(const std::vector<const kxSkin*>& skins, const std::vector<uint32_t>& nodeOrder)
{
    std::unordered_map<const kxSkin*, std::vector<uint32_t>> entriesOf; // those that nodes use
    for (const kxSkin* skin : skins)
    {
        // What no node wears has no kin: the first copies will do.
        Entry& entry = m_entries.emplace_back(Entry{skin, {}, kNone});
        for (const kxNode* joint : *skin->_joints)
            entry.joints.push_back(m_graph.first(joint));
        const kxNode* root = skin->_skeletonRoot->isEmpty() ? nullptr : skin->_skeletonRoot->get(0);
        if (kindOf(root) == kxGltfKind::NODE && m_graph.has(root))
            entry.root = m_graph.first(root);
        entriesOf[skin];
    }
    std::unordered_map<const kxSkin*, uint32_t> first;
    for (uint32_t i = 0; i < m_entries.size(); ++i)
        first[m_entries[i].skin] = i;

    for (const uint32_t node : nodeOrder)
    {
        const uint32_t more = m_graph.nodes[node].more;
        const kxSkin* skin = more == kNone ? nullptr : m_graph.more[more].skin;
        const auto written = skin ? entriesOf.find(skin) : entriesOf.end();
        if (written == entriesOf.end())
            continue;
        Entry needed{skin, {}, kNone};
        for (const kxNode* joint : *skin->_joints)
            needed.joints.push_back(nearest(joint, node));
        if (m_entries[first[skin]].root != kNone)
            needed.root = nearest(skin->_skeletonRoot->get(0), node);
        std::vector<uint32_t>& known = written->second;
        const auto same =
            std::find_if(known.begin(), known.end(),
                         [&](uint32_t number) {
                             return m_entries[number].joints == needed.joints && m_entries[number].root == needed.root;
                         });
        uint32_t number = same == known.end() ? first[skin] : *same;
        if (same == known.end())
        {
            needed.copy = static_cast<uint32_t>(known.size());
            if (!known.empty())
            {
                number = static_cast<uint32_t>(m_entries.size());
                m_entries.emplace_back();
            }
            known.push_back(number);
            m_entries[number] = std::move(needed);
        }
        m_numbers[node] = number;
    }
}

// From the roots down, children in any order: what lies below one node lies together.
void kxGltfSkins::orderNodes()
{
    const auto& nodes = m_graph.nodes;
    const auto count = static_cast<uint32_t>(nodes.size());
    std::vector<uint32_t> child(count, kNone), sibling(count, kNone), open;
    m_place.resize(count);
    m_depth.resize(count);
    for (uint32_t i = count; i-- > 0;)
        if (nodes[i].parent != kNone)
        {
            sibling[i] = child[nodes[i].parent];
            child[nodes[i].parent] = i;
        }
    for (uint32_t scene = 0; scene < m_graph.scenes.size(); ++scene)
        for (const uint32_t root : m_graph.scenes[scene].roots)
            m_scenesOfRoot[root].push_back(scene);
    uint32_t place = 0;
    for (uint32_t root = 0; root < count; ++root)
    {
        if (nodes[root].parent != kNone)
            continue;
        for (open.push_back(root); !open.empty();)
        {
            const uint32_t node = open.back();
            open.pop_back();
            m_place[node] = place++;
            m_depth[node] = nodes[node].parent == kNone ? 0 : m_depth[nodes[node].parent] + 1;
            for (uint32_t at = child[node]; at != kNone; at = sibling[at])
                open.push_back(at);
        }
    }
}

bool kxGltfSkins::shareScene(uint32_t root, uint32_t other) const
{
    const auto a = m_scenesOfRoot.find(root), b = m_scenesOfRoot.find(other);
    return a != m_scenesOfRoot.end() && b != m_scenesOfRoot.end() &&
           std::any_of(a->second.begin(), a->second.end(),
                       [&](uint32_t scene)
                       { return std::find(b->second.begin(), b->second.end(), scene) != b->second.end(); });
}

// 0 for strangers, 1 for nodes of one scene, more the deeper the node lies that both are below.
uint32_t kxGltfSkins::kinship(uint32_t node, uint32_t other) const
{
    const auto& nodes = m_graph.nodes;
    while (node != other)
    {
        uint32_t& deeper = m_depth[node] >= m_depth[other] ? node : other;
        if (nodes[deeper].parent == kNone)
            return shareScene(node, other) ? 1 : 0;
        deeper = nodes[deeper].parent;
    }
    return m_depth[node] + 2;
}

// The copy of a node that is next of kin to another node.
uint32_t kxGltfSkins::nearest(const kxNode* source, uint32_t node)
{
    const uint32_t first = m_graph.first(source);
    if (m_graph.nodes[first].nextCopy == kNone)
        return first;
    if (m_place.empty())
        orderNodes();
    auto& copies = m_copies[source];
    if (copies.empty())
    {
        for (uint32_t at = first; at != kNone; at = m_graph.nodes[at].nextCopy)
            copies.emplace_back(m_place[at], at);
        std::sort(copies.begin(), copies.end());
    }
    // What lies below one node lies together, so the next of kin is a neighbour in that order.
    const auto behind = std::lower_bound(copies.begin(), copies.end(), std::pair(m_place[node], 0u));
    uint32_t best = first, bestKinship = kinship(node, first);
    const auto consider = [&](uint32_t copy)
    {
        if (const uint32_t found = kinship(node, copy); found > bestKinship)
        {
            best = copy;
            bestKinship = found;
        }
    };
    if (behind != copies.begin())
        consider(std::prev(behind)->second);
    if (behind != copies.end())
        consider(behind->second);
    return best;
}

} // namespace Kel::Gltf
