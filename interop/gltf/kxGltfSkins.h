// The skins of a file being written: one more for every set of copies that the joints of a skin have become.
#pragma once

#include "interop/gltf/kxGltfGraph.h"

#include <unordered_map>

namespace Kel::Gltf
{

/// Where a node with its joints is reached on several paths, glTF gets copies of all of them. Each copy of a skinned node
/// follows the joints that were copied with it: those to which it is next of kin.
class kxGltfSkins
{
public:
    struct Entry
    {
        const kxSkin* skin;
        std::vector<uint32_t> joints; ///< nodes of the graph
        uint32_t root;                ///< node of the graph, `kNone` where the skin names none
        uint32_t copy = 0;            ///< 0 for the first entry of a skin, then 1, 2 ...
    };

    explicit kxGltfSkins(const kxGltfGraph& graph) : m_graph(graph) {}

    /// Finds the entries that are needed: those of `skins` in their order, then the further ones in the order of the nodes
    /// that need them. Every joint must be in the graph. Cost: for each skinned node and joint that has copies a search among
    /// those and the way up to the node that both are below.
    void assign(const std::vector<const kxSkin*>& skins, const std::vector<uint32_t>& nodeOrder);

    const std::vector<Entry>& getEntries() const { return m_entries; }
    /// Number of the skin of a node of the graph; `kNone` when it has none or the skin is not written.
    uint32_t numberOf(uint32_t node) const;

private:
    static constexpr uint32_t kNone = kxGltfGraph::kNone;

    void orderNodes();
    uint32_t nearest(const kxNode* source, uint32_t node);
    uint32_t kinship(uint32_t node, uint32_t other) const;
    bool shareScene(uint32_t root, uint32_t other) const;

    const kxGltfGraph& m_graph;
    std::vector<Entry> m_entries;
    std::unordered_map<uint32_t, uint32_t> m_numbers; // of skinned nodes
    // Known once a joint has copies: the place of each node in a walk from the roots down, and how deep it lies.
    std::vector<uint32_t> m_place, m_depth;
    std::unordered_map<const kxNode*, std::vector<std::pair<uint32_t, uint32_t>>> m_copies; // (place, node) by place
    std::unordered_map<uint32_t, std::vector<uint32_t>> m_scenesOfRoot;
};

} // namespace Kel::Gltf
