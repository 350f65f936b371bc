// A scene: its graph, cameras, textures and times.
#pragma once

#include "platform/attrs/kxTextureAttr.h"
#include "platform/core/kxInfo.h"
#include "platform/sg/kxCamera.h"

namespace Kel::Sg
{

/// A scene of a file. The lists are derived from the graph by the update functions and hold what was there at that time.
class kxSceneInfo : public kxInfo
{
    KX_OBJECT(kxSceneInfo, kxInfo)
    static void listFields(kxFields<kxSceneInfo>& fields);

    kxSmartPointer<kxNode> _sceneGraph;
    kxSmartPointer<kxCameraList> _cameraList;       ///< null until updated
    kxSmartPointer<kxTextureAttrList> _textureList; ///< null until updated
    int64_t _animationStart = 0;
    int64_t _animationEnd = 0;
    int64_t _animationStep = 0;

    kxNode* getSceneGraph() const { return _sceneGraph; }
    void setSceneGraph(kxNode* root) { _sceneGraph = root; }

    /// Collects the cameras of the graph, in order, each once.
    void updateCameraList();
    /// Collects the textures that attribute sets, material variants and shader passes of the graph bind, in order, each once.
    void updateTextureList();
    /// Sets the times to the first and last key of what moves by itself in the graph (time switches and time transforms).
    void updateAnimationTime();
    bool hasAnimationTime() const { return _animationStart != 0 || _animationEnd != 0 || _animationStep != 0; }

    /// Refuses a graph in which a node lies below itself.
    bool userCheckLoaded(std::string& fault) const override;
};

KX_OBJECT_LIST(kxSceneInfoList, kxSceneInfo)

/// The first node at or below `root` in pre-order for which the question is true, null when there is none. Each node is asked
/// once, however many paths reach it. Iterative.
kxNode* findNode(kxNode* root, bool (*question)(kxNode* node, void* context), void* context);
/// Calls back for every node, as `findNode` does.
void forEachNodeOnce(kxNode* root, void (*callback)(kxNode* node, void* context), void* context);

/// A node that lies below itself; null when the graph has none. Iterative, O(nodes + links).
kxNode* findCycle(kxNode* root);
/// False, with one line that names the node, when there is such a node.
bool checkNoCycle(kxNode* root, std::string& fault);

} // namespace Kel::Sg
