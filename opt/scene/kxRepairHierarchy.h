// Makes both directions of every link between parents and children agree.
#pragma once

#include "opt/framework/kxOptBase.h"
#include "platform/core/kxTSerialMap.h"
#include "platform/sg/kxGroup.h"

namespace Kel::Opt
{

class kxLinkIndex;

/// Reports each node that lists a parent which does not list it, each group with a child that does not list it, and each node
/// with a parent outside the graph; repairs them unless told not to.
class kxRepairHierarchy : public kxOptBase
{
    KX_OBJECT(kxRepairHierarchy, kxOptBase)
    static void listFields(kxFields<kxRepairHierarchy>& fields);

    /// Every node met, sorted by identity, also those of earlier graphs. Holds no references: nodes of earlier graphs may be gone.
    kxSmartPointer<kxNonRefCountedNodeList> _nodeList = kxNew<kxNonRefCountedNodeList>();
    bool _disableRepair = false;
    bool _createParentList = false;

    kxRepairHierarchy();

    /// Always true.
    bool apply(kxSmartPointer<kxNode>& root) override;
    /// Graphs of one file may share nodes: parents in the graphs of other infos do not count as outside.
    bool applyInfo(kxInfo* info) override;
    bool applyToInfos() override;
    bool configure(int section) override;

    /// The first parent whose child list does not contain the node; null when all do.
    static kxGroup* checkParentList(const kxNode* node);
    /// The first child whose parent list does not contain the group; null when all do, or when `node` is no group.
    static kxNode* checkChildList(const kxNode* node);

protected:
    ~kxRepairHierarchy() override;

private:
    class Walk;
    struct LinkSum;
    struct Cuts;

    bool isFileSound() const;
    bool isSound(kxNode* root);
    void collectNodes(kxNode* node, kxLinkIndex& links);
    void detectLeakedNodes(kxNode* node, const Walk& collecting, kxLinkIndex& links, Cuts& cuts);
    template <class... A>
    void say(const char* format, A... arguments);
    bool isKnown(const kxNode* node) const { return m_known.get(node); }
    bool isInGraph(const kxNode* parent) const;
    void noteKnown(kxNode* node);
    /// Before anything is changed: says for every node in which infos' graphs it stands.
    void noteGraphs();
    void forgetGraphs();
    void adoptNodeList();
    void mergeNodeList();

    const kxNodeList* m_adoptedList = nullptr; // the list that the following belong to; only compared
    kxTSerialMap<bool> m_known;                // its nodes
    std::vector<uint32_t> m_serials;           // of its elements, in order
    std::vector<kxNode*> m_newlyKnown;         // not in the list yet
    int64_t m_messageCount = 0;

    /// Infos of the loaded file in whose graphs a node stands.
    struct Place
    {
        uint32_t info = 0; ///< number of the first, from 1
        bool several = false;
    };
    bool m_severalInfos = false; // more than one is being repaired, of which the first can change what others hold
    bool m_fileIsSound = false;  // all graphs of the file, taken together
    bool m_graphsNoted = false;
    kxTSerialMap<Place> m_places;
    uint32_t m_currentInfo = 0;
};

} // namespace Kel::Opt
