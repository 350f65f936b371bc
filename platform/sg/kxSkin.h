// How vertices follow bones.
#pragma once

#include "platform/attrs/kxVertexArray.h"
#include "platform/sg/kxNode.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Bones that vertices follow, with the matrices that take vertices to each bone's space. The bones are held by the graph they
/// stand in and by the data pumps that lock them, not by the skin: a mesh may hang below a bone of its own skin.
class kxSkin : public kxObject
{
    KX_OBJECT(kxSkin, kxObject)
    static void listFields(kxFields<kxSkin>& fields);

    kxStringRef _name;
    kxSmartPointer<kxNodeList> _joints = kxNew<kxNonRefCountedNodeList>();
    kxSmartPointer<kxNodeList> _skeletonRoot = kxNew<kxNonRefCountedNodeList>();
    kxSmartPointer<kxVertexArray> _inverseBindMatrices;
    kxSmartPointer<kxNode> _skinnedGraph;
    kxSmartPointer<kxUserData> _userData;

    kxNode* getSkinnedGraph() const { return _skinnedGraph; }
    void setSkinnedGraph(kxNode* graph) { _skinnedGraph = graph; }

    /// Refuses a skinned graph in which a node lies below itself.
    bool userCheckLoaded(std::string& fault) const override;
};

KX_OBJECT_LIST(kxSkinList, kxSkin)

} // namespace Kel::Sg
