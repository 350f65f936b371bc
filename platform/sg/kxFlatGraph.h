// A graph as arrays.
#pragma once

#include "platform/sg/kxGroup.h"

#include <span>
#include <vector>

namespace Kel::Sg
{

/// The nodes at and below a root side by side, each once, for steps that look at all of a large graph one after another:
/// collecting them costs one walk through memory, and what follows can ask for it ahead. The graph must stay as it is
/// meanwhile.
///
/// Their numbers are those in which a walk, depth first, leaves them: children come before their parents, unless they lie above
/// themselves, and the root is the last. Backwards, each node comes behind its first parent.
class kxFlatGraph
{
public:
    /// `root` may be null.
    explicit kxFlatGraph(kxNode* root);

    static constexpr uint32_t kNone = UINT32_MAX;

    uint32_t getCount() const { return static_cast<uint32_t>(m_nodes.size()); }
    kxNode* getNode(uint32_t number) const { return m_nodes[number]; }
    /// Numbers of the children in their order, without those that are null.
    std::span<const uint32_t> getChildren(uint32_t number) const
    {
        return {m_children.data() + m_starts[number], m_starts[number + 1] - m_starts[number]};
    }
    /// Parent by which the walk comes to the node; `kNone` for the root.
    uint32_t getFirstParent(uint32_t number) const { return m_firstParents[number]; }

private:
    void collect(kxNode* root);
    void sort();

    std::vector<kxNode*> m_nodes;
    std::vector<uint32_t> m_starts; // of each node in the list of children, and the end
    std::vector<uint32_t> m_children;
    std::vector<uint32_t> m_firstParents;
};

} // namespace Kel::Sg
