// What a glTF file holds beside its scenes.
#pragma once

#include "interop/gltf/kxGltfBufferView.h"
#include "platform/attrs/kxLightAttr.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/core/kxInfo.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxSceneInfo.h"

namespace Kel::Gltf
{

using namespace Kel::Sg;

/// What a glTF file says as a whole, and the things in it that no scene reaches: those are held here and nowhere else. What
/// scenes do reach is not held, so that what an optimization removes from them goes.
class kxGltfInfo : public kxInfo
{
    KX_OBJECT(kxGltfInfo, kxInfo)
    static void listFields(kxFields<kxGltfInfo>& fields);

    kxStringRef _asset;
    kxSmartPointer<kxSceneInfo> _defaultScene;
    bool _impliedScene = false;
    bool _imagesInText = false;
    kxSmartPointer<kxStringRefList> _extensionsUsed = kxNew<kxStringRefList>();
    kxSmartPointer<kxStringRefList> _extensionsRequired = kxNew<kxStringRefList>();
    kxSmartPointer<kxNodeList> _unusedNodes = kxNew<kxNodeList>();
    kxSmartPointer<kxNodeList> _unusedMeshes = kxNew<kxNodeList>();
    kxSmartPointer<kxNodeList> _unusedCameras = kxNew<kxNodeList>();
    kxSmartPointer<kxAttrSetList> _unusedMaterials = kxNew<kxAttrSetList>();
    kxSmartPointer<kxTextureAttrList> _unusedTextures = kxNew<kxTextureAttrList>();
    kxSmartPointer<kxTextureAttrList> _unusedSamplers = kxNew<kxTextureAttrList>();
    kxSmartPointer<kxImageList> _unusedImages = kxNew<kxImageList>();
    kxSmartPointer<kxLightAttrList> _unusedLights = kxNew<kxLightAttrList>();
    kxSmartPointer<kxVertexArrayList> _unusedArrays = kxNew<kxVertexArrayList>();
    kxSmartPointer<kxGltfBufferViewList> _unusedViews = kxNew<kxGltfBufferViewList>();
    kxStringRef _bufferName; ///< of the first buffer; all are one when they are written
    kxSmartPointer<kxUserData> _bufferUserData;
};

} // namespace Kel::Gltf
