// The one list of the sg library's classes.
#include "platform/sg/libKXSg.h"

#include "platform/sg/kxBoundingVolume.h"
#include "platform/sg/kxBoundingBoxesMaker.h"
#include "platform/sg/kxNode.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTimeSwitch.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxShaderPass.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxBumpMapShader.h"
#include "platform/sg/kxCartoonShader.h"
#include "platform/sg/kxDOFShader.h"
#include "platform/sg/kxEnvironmentMapShader2.h"
#include "platform/sg/kxMultiTextureShader.h"
#include "platform/sg/kxPlanarShadowShader.h"
#include "platform/sg/kxProjectiveShadowShader.h"
#include "platform/sg/kxShaderFactory.h"
#include "platform/sg/kxIniShaderFactory.h"
#include "platform/sg/kxShaderData.h"
#include "platform/sg/kxInterpretedShaderData.h"
#include "platform/sg/kxInterpretedShader.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxKeyForm.h"
#include "platform/sg/kxTransformSequence.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"
#include "platform/sg/kxAnimationTrack.h"
#include "platform/sg/kxAnimation.h"
#include "platform/sg/kxSkeleton.h"
#include "platform/sg/kxSkin.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxMorphInstance.h"
#include "platform/sg/kxBlendMatrixSelect.h"
#include "platform/sg/kxModelViewMatrixBoneSelect.h"
#include "platform/sg/kxTransformRecorder.h"
#include "platform/sg/kxTimeTransform.h"
#include "platform/sg/kxUserInfo.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxDataPump.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/attrs/libKXAttrs.h"

namespace Kel
{

using namespace Kel::Sg;

void libKXSg_arkRegister()
{
    libKXAttrs_arkRegister();
    kxRegisterClass<kxBoundingVolume>("kxBoundingVolume", "box around what is drawn below a node");
    kxRegisterClass<kxNode>("kxNode", "base of everything in a scene graph");
    kxRegisterClass<kxNodeList>("kxNodeList", "list of kxNode objects");
    kxRegisterClass<kxNonRefCountedNodeList>("kxNonRefCountedNodeList",
                                             "list of kxNode objects that holds no references");
    kxRegisterClass<kxGroup>("kxGroup", "node with ordered children");
    kxRegisterClass<kxGroupList>("kxGroupList", "list of kxGroup objects");
    kxRegisterClass<kxAttrSet>("kxAttrSet", "group that sets attributes for everything below it");
    kxRegisterClass<kxAttrSetList>("kxAttrSetList", "list of kxAttrSet objects");
    kxRegisterClass<kxGeometry>("kxGeometry", "attribute set that draws vertex data");
    kxRegisterClass<kxMaterialVariant>("kxMaterialVariant", "other attributes that a geometry can be drawn with");
    kxRegisterClass<kxMaterialVariantList>("kxMaterialVariantList", "list of kxMaterialVariant objects");
    kxRegisterClass<kxGeometryList>("kxGeometryList", "list of kxGeometry objects");
    kxRegisterClass<kxTransform>("kxTransform", "group that moves everything below it");
    kxRegisterClass<kxTransformList>("kxTransformList", "list of kxTransform objects");
    kxRegisterClass<kxOverrideAttrSet>("kxOverrideAttrSet", "attribute set whose attributes win over those below");
    kxRegisterClass<kxMesh>("kxMesh", "geometries that belong together under one name");
    kxRegisterClass<kxInstanceArray>("kxInstanceArray", "draws its children many times");
    kxRegisterClass<kxSwitch>("kxSwitch", "group of which one child is drawn");
    kxRegisterClass<kxTimeSwitch>("kxTimeSwitch", "switch that follows the time");
    kxRegisterClass<kxLod>("kxLod", "group that draws the child for the distance");
    kxRegisterClass<kxLightSet>("kxLightSet", "puts lights into the scene");
    kxRegisterClass<kxLightStateSet>("kxLightStateSet", "turns lights on and off for its children");
    kxRegisterClass<kxBillboard>("kxBillboard", "group that turns to the viewer");
    kxRegisterClass<kxCamera>("kxCamera", "a camera");
    kxRegisterClass<kxCameraList>("kxCameraList", "list of kxCamera objects");
    kxRegisterClass<kxSegment>("kxSegment", "part of the scene that is loaded on its own");
    kxRegisterClass<kxShaderPass>("kxShaderPass", "one pass of a shader");
    kxRegisterClass<kxShaderPassList>("kxShaderPassList", "list of kxShaderPass objects");
    kxRegisterClass<kxShader>("kxShader", "draws its children in passes");
    kxRegisterClass<kxBumpMapShader>("kxBumpMapShader", "shader that lights a bump map");
    kxRegisterClass<kxCartoonShader>("kxCartoonShader", "shader that draws like a cartoon");
    kxRegisterClass<kxDOFShader>("kxDOFShader", "shader of a lens with depth of field");
    kxRegisterClass<kxEnvironmentMapShader2>("kxEnvironmentMapShader2",
                                             "shader of reflections from an environment map");
    kxRegisterClass<kxMultiTextureShader>("kxMultiTextureShader", "shader of several textures at once");
    kxRegisterClass<kxPlanarShadowShader>("kxPlanarShadowShader", "shader of shadows on a plane");
    kxRegisterClass<kxProjectiveShadowShader>("kxProjectiveShadowShader", "shader of shadows from a projected map");
    kxRegisterClass<kxShaderFactory>("kxShaderFactory", "makes shaders from their data");
    kxRegisterClass<kxIniShaderFactory>("kxIniShaderFactory", "makes shaders from ini-style text");
    kxRegisterClass<kxShaderData>("kxShaderData", "data that a shader is made from");
    kxRegisterClass<kxInterpretedShaderData>("kxInterpretedShaderData", "data of an interpreted shader");
    kxRegisterClass<kxInterpretedShader>("kxInterpretedShader", "shader made from data when it is loaded");
    kxRegisterClass<kxCompiledGraph>("kxCompiledGraph", "group whose drawing is recorded once");
    kxRegisterClass<kxJoint>("kxJoint", "transform that skins refer to");
    kxRegisterClass<kxKeyForm>("kxKeyForm", "how a file holds keys");
    kxRegisterClass<kxTransformSequence>("kxTransformSequence", "keys of a moving transform");
    kxRegisterClass<kxTransformSequenceList>("kxTransformSequenceList", "list of kxTransformSequence objects");
    kxRegisterClass<kxTransformSequence1_5>("kxTransformSequence1_5", "keys of translation, rotation and scale");
    kxRegisterClass<kxValueSequence>("kxValueSequence", "keys of numbers");
    kxRegisterClass<kxAnimationTrack>("kxAnimationTrack", "what moves one bone");
    kxRegisterClass<kxAnimationTrackList>("kxAnimationTrackList", "list of kxAnimationTrack objects");
    kxRegisterClass<kxAnimation>("kxAnimation", "a clip: tracks that play together");
    kxRegisterClass<kxAnimationList>("kxAnimationList", "list of kxAnimation objects");
    kxRegisterClass<kxSkeleton>("kxSkeleton", "bones by name");
    kxRegisterClass<kxSkeletonList>("kxSkeletonList", "list of kxSkeleton objects");
    kxRegisterClass<kxSkin>("kxSkin", "how vertices follow bones");
    kxRegisterClass<kxSkinList>("kxSkinList", "list of kxSkin objects");
    kxRegisterClass<kxActor>("kxActor", "draws its children with a skin");
    kxRegisterClass<kxMorphInstance>("kxMorphInstance", "draws its children with morph weights");
    kxRegisterClass<kxBlendMatrixSelect>("kxBlendMatrixSelect", "chooses matrices from a blend palette");
    kxRegisterClass<kxModelViewMatrixBoneSelect>("kxModelViewMatrixBoneSelect", "draws its children in a bone's space");
    kxRegisterClass<kxTransformRecorder>("kxTransformRecorder", "notes the matrix of its path");
    kxRegisterClass<kxTimeTransform>("kxTimeTransform", "transform that follows the time");
    kxRegisterClass<kxUserInfo>("kxUserInfo", "group that carries information of the user's");
    kxRegisterClass<kxSceneInfo>("kxSceneInfo", "a scene: its graph, cameras, textures and times");
    kxRegisterClass<kxSceneInfoList>("kxSceneInfoList", "list of kxSceneInfo objects");
    kxRegisterClass<kxAnimationDatabase>("kxAnimationDatabase", "clips, skeletons and skins of a file");
    kxRegisterClass<kxBoundingBoxesMaker>("kxBoundingBoxesMaker", "computes the boxes around what nodes draw");
    kxRegisterClass<kxDataPump>("kxDataPump", "drives an object from outside");
    kxRegisterClass<kxDataPumpList>("kxDataPumpList", "list of kxDataPump objects");
    kxRegisterClass<kxDataPumpInfo>("kxDataPumpInfo", "the data pumps of a file");
}

} // namespace Kel
