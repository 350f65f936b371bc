// Boxes around what nodes draw.
#pragma once

#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxFlatGraph.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxInstanceArray.h"

#include <vector>

namespace Kel::Sg
{

/// Computes the boxes around what is drawn below nodes, and keeps them at the nodes as bounding volumes.
///
/// A box is given in the node's own space, which for a transform is the space of its children. It is empty for a node that
/// draws nothing. Boxes hold vertices that are drawn, not those that no index names; all children of switches and levels of
/// detail; all instances; billboards in every direction; particles for their lifetime. Morph targets count with every weight
/// from 0 to 1, skins stand in their bind pose where the first of their joints is, and whatever moves stands where it is now.
///
/// Boxes are computed once for each node and each vertex data and then kept: after a change below a node `forget` is due.
/// Iterative; the cost is one step for each link and each index.
class kxBoundingBoxesMaker : public kxObject
{
    KX_OBJECT(kxBoundingBoxesMaker, kxObject)

    /// Pool for the volumes that are made; the default pool until it is set.
    void setCreationMemoryPool(kxMemoryPool& pool) { m_pool = &pool; }

    /// Removes the volumes of all nodes at and below `root`; answers how many there were. `root` may be null here and below.
    static uint32_t removeAll(kxNode* root) { return removeAll(kxFlatGraph(root)); }
    /// Gives every node that draws something a volume that fits, and takes it from those that draw nothing. A volume that
    /// fits already stays. Answers how many nodes have one now.
    uint32_t apply(kxNode* root) { return apply(kxFlatGraph(root)); }
    /// Removes the volumes that reject nothing that the volume above them has let pass: those that hold all of it. The
    /// root and nodes with several parents keep theirs. Answers how many are gone.
    uint32_t optimize(kxNode* root) { return optimize(kxFlatGraph(root)); }

    /// The same for several of these steps over one graph, which is collected only once.
    static uint32_t removeAll(const kxFlatGraph& graph);
    uint32_t apply(const kxFlatGraph& graph);
    uint32_t optimize(const kxFlatGraph& graph);

    /// Box around what is drawn at and below a node, in its own space.
    const kxAABox& getBox(kxNode* node);
    /// The same in the space of its parents.
    kxAABox getBoxInParent(kxNode* node);
    /// Box of drawn vertices.
    const kxAABox& getBox(const kxGeometryAttr* attr);

    /// Takes the word of somebody who knows the box of vertex data already.
    void setBox(const kxGeometryAttr* attr, const kxAABox& box);

    /// Starts to fetch what `getBox` will look up.
    void prefetchBox(const kxNode* node) { __builtin_prefetch(&m_boxes[node]); }

    /// Forgets all boxes.
    void forget() { m_boxes.clear(); }
    /// Forgets the box of one node or vertex data; those above and below stay as they are.
    void forget(const kxObject* object) { m_boxes[object] = {}; }

protected:
    ~kxBoundingBoxesMaker() override;

private:
    enum State : uint8_t
    {
        UNKNOWN,
        OPEN, ///< what is below is being looked at
        KNOWN
    };
    struct Entry
    {
        kxAABox box;
        State state = UNKNOWN;
        bool followsBones = false; ///< something in the box is placed by bones
        bool standsFree = false;   ///< something in it is not
    };

    /// What a class of nodes does to the boxes below it. Bits.
    enum Kind : uint8_t
    {
        GROUP = 1,
        TRANSFORM = 2,
        GEOMETRY = 4,
        PLACES = 8, ///< an actor, instances or a billboard
        CLASSIFIED = 128
    };

    uint8_t kindOf(const kxNode* node);
    void measure(kxNode* node);
    static void addBelow(Entry& entry, const Entry& below);
    static Entry inParent(const Entry& entry, const kxNode* node, uint8_t kind);
    void finish(Entry& entry, const kxNode* node, uint8_t kind);
    void addGeometry(Entry& entry, const kxGeometry* geometry);
    void place(Entry& entry, const kxGroup* group);
    void placeSkinned(Entry& entry, const kxActor* actor);
    void setVolume(kxNode* node, const kxAABox& box);

    std::vector<uint8_t> m_kinds; // by index of the type
    kxMemoryPool* m_pool = &kxMemoryPool::getDefault();
    kxTSerialMap<Entry> m_boxes; // of nodes and of vertex data
};

/// Matrix from a node's own space to that of the root above it, along the first parent of each node.
kxMatrix44f worldMatrixOf(const kxNode* node);

} // namespace Kel::Sg
