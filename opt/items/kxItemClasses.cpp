// The one list of the item system's classes.
#include "opt/items/kxItemClasses.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxOptInterface.h"
#include "opt/items/kxChildContainer.h"
#include "opt/items/kxChildEdit.h"
#include "opt/items/kxCompareAttr.h"
#include "opt/items/kxFieldUpdate.h"
#include "opt/items/kxFlattenNode.h"
#include "opt/items/kxItemInterface.h"
#include "opt/items/kxObjectProperty.h"
#include "opt/items/kxReplaceChild.h"
#include "opt/iterate/kxIterateObject.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockBase.h"
#include "opt/tracking/kxReplacedEvents.h"

namespace Kel::Opt
{

void registerItemClasses()
{
    kxRegisterClass<kxParameterSet>("kxParameterSet", "record whose fields are made as they are used");
    kxRegisterClass<kxParameterSetList>("kxParameterSetList", "list of parameter sets");
    kxRegisterClass<kxParameterSetConstraint>("kxParameterSetConstraint", "requirement on a parameter set");
    kxRegisterClass<kxParameterSetConstraintList>("kxParameterSetConstraintList",
                                                  "list of requirements on a parameter set");
    kxRegisterClass<kxParameterExist>("kxParameterExist", "asks for a parameter of a type");
    kxRegisterClass<kxParameterMatch>("kxParameterMatch", "asks for two parameters of the same type");
    kxRegisterClass<kxParameterNonNull>("kxParameterNonNull", "asks for a parameter that is not null");

    kxRegisterClass<kxInterfaceDeclarationList>("kxInterfaceDeclarationList", "functions of an item by name");
    kxRegisterClass<kxInterfaceDeclarationField>("kxInterfaceDeclarationField",
                                                 "field that refers to functions of an item");
    kxRegisterClass<kxItemDataBaseField>("kxItemDataBaseField", "field that refers to records of types and items");
    kxRegisterClass<kxItemManager>("kxItemManager", "reserved");
    kxRegisterClass<kxItemBase>("kxItemBase", "base of every item");

    kxRegisterClass<kxChildContainer>("kxChildContainer", "base of the items that list children");
    kxRegisterClass<kxAttrContainer>("kxAttrContainer", "base of the items that list attributes");
    kxRegisterClass<kxNodeTraversal>("kxNodeTraversal", "item: children and parents of a node");
    kxRegisterClass<kxAttrTraversal>("kxAttrTraversal", "item: attributes of a node");
    kxRegisterClass<kxObjectTraversal>("kxObjectTraversal", "item: what an object refers to");
    kxRegisterClass<kxChildEdit>("kxChildEdit", "item: adds and removes children");
    kxRegisterClass<kxChildEditForNode>("kxChildEditForNode", "item: adds and removes children of a group");
    kxRegisterClass<kxAttrEdit>("kxAttrEdit", "item: adds and removes attributes");
    kxRegisterClass<kxAttrEditForNode>("kxAttrEditForNode", "base of the items that edit attribute lists");
    kxRegisterClass<kxAttrEditForAttrSet>("kxAttrEditForAttrSet",
                                          "item: adds and removes attributes of an attribute set");
    kxRegisterClass<kxAttrEditForLightSet>("kxAttrEditForLightSet", "item: adds and removes lights of a light set");
    kxRegisterClass<kxAttrEditForLightStateSet>("kxAttrEditForLightStateSet",
                                                "item: adds and removes states of a light state set");
    kxRegisterClass<kxReplaceChild>("kxReplaceChild", "item: replaces a child");
    kxRegisterClass<kxReplaceChildForNode>("kxReplaceChildForNode", "item: replaces a child of a group");
    kxRegisterClass<kxReplaceAttr>("kxReplaceAttr", "item: replaces an attribute");
    kxRegisterClass<kxReplaceAttrForNode>("kxReplaceAttrForNode", "item: replaces an attribute of an attribute set");
    kxRegisterClass<kxReplaceObject>("kxReplaceObject", "item: replaces an object wherever it is a child");
    kxRegisterClass<kxCompareAttr>("kxCompareAttr", "item: compares attributes by their fields");
    kxRegisterClass<kxCompareAttrForTexture>("kxCompareAttrForTexture",
                                             "item: compares texture binds by what their textures hold");
    kxRegisterClass<kxFieldUpdate>("kxFieldUpdate", "item: sets a field of an object");
    kxRegisterClass<kxFieldSource>("kxFieldSource", "item: reads a field of an object");

    kxRegisterClass<kxObjectProperty>("kxObjectProperty",
                                      "item: what may be done to an object's children and attributes");
    kxRegisterClass<kxObjectPropertyForNode>("kxObjectPropertyForNode",
                                             "item: says of unknown nodes that nothing may be done to them");
    kxRegisterClass<kxObjectPropertyForActor>("kxObjectPropertyForActor",
                                              "item: what may be done to the children and attributes of an actor");
    kxRegisterClass<kxObjectPropertyForAttrSet>(
        "kxObjectPropertyForAttrSet", "item: what may be done to the children and attributes of an attribute set");
    kxRegisterClass<kxObjectPropertyForBillboard>(
        "kxObjectPropertyForBillboard", "item: what may be done to the children and attributes of a billboard");
    kxRegisterClass<kxObjectPropertyForBlendMatrixSelect>(
        "kxObjectPropertyForBlendMatrixSelect",
        "item: what may be done to the children and attributes of a choice of blend matrices");
    kxRegisterClass<kxObjectPropertyForBumpMapShader>(
        "kxObjectPropertyForBumpMapShader",
        "item: what may be done to the children and attributes of a bump-map shader");
    kxRegisterClass<kxObjectPropertyForCamera>("kxObjectPropertyForCamera",
                                               "item: what may be done to the children and attributes of a camera");
    kxRegisterClass<kxObjectPropertyForCartoonShader>(
        "kxObjectPropertyForCartoonShader",
        "item: what may be done to the children and attributes of a cartoon shader");
    kxRegisterClass<kxObjectPropertyForCompiledGraph>(
        "kxObjectPropertyForCompiledGraph",
        "item: what may be done to the children and attributes of a compiled graph");
    kxRegisterClass<kxObjectPropertyForDOFShader>(
        "kxObjectPropertyForDOFShader",
        "item: what may be done to the children and attributes of a depth-of-field shader");
    kxRegisterClass<kxObjectPropertyForGeometry>("kxObjectPropertyForGeometry",
                                                 "item: what may be done to the children and attributes of a geometry");
    kxRegisterClass<kxObjectPropertyForGroup>("kxObjectPropertyForGroup",
                                              "item: what may be done to the children and attributes of a group");
    kxRegisterClass<kxObjectPropertyForInstanceArray>(
        "kxObjectPropertyForInstanceArray",
        "item: what may be done to the children and attributes of an instance array");
    kxRegisterClass<kxObjectPropertyForJoint>("kxObjectPropertyForJoint",
                                              "item: what may be done to the children and attributes of a joint");
    kxRegisterClass<kxObjectPropertyForLightSet>(
        "kxObjectPropertyForLightSet", "item: what may be done to the children and attributes of a light set");
    kxRegisterClass<kxObjectPropertyForLightStateSet>(
        "kxObjectPropertyForLightStateSet",
        "item: what may be done to the children and attributes of a light state set");
    kxRegisterClass<kxObjectPropertyForLod>(
        "kxObjectPropertyForLod", "item: what may be done to the children and attributes of a level of detail");
    kxRegisterClass<kxObjectPropertyForMesh>("kxObjectPropertyForMesh",
                                             "item: what may be done to the children and attributes of a mesh");
    kxRegisterClass<kxObjectPropertyForModelViewMatrixBoneSelect>(
        "kxObjectPropertyForModelViewMatrixBoneSelect",
        "item: what may be done to the children and attributes of a choice of a bone");
    kxRegisterClass<kxObjectPropertyForMultiTextureShader>(
        "kxObjectPropertyForMultiTextureShader",
        "item: what may be done to the children and attributes of a multitexture shader");
    kxRegisterClass<kxObjectPropertyForOverrideAttrSet>(
        "kxObjectPropertyForOverrideAttrSet",
        "item: what may be done to the children and attributes of an overriding attribute set");
    kxRegisterClass<kxObjectPropertyForPlanarShadowShader>(
        "kxObjectPropertyForPlanarShadowShader",
        "item: what may be done to the children and attributes of a planar-shadow shader");
    kxRegisterClass<kxObjectPropertyForSegment>("kxObjectPropertyForSegment",
                                                "item: what may be done to the children and attributes of a segment");
    kxRegisterClass<kxObjectPropertyForShader>("kxObjectPropertyForShader",
                                               "item: what may be done to the children and attributes of a shader");
    kxRegisterClass<kxObjectPropertyForSwitch>("kxObjectPropertyForSwitch",
                                               "item: what may be done to the children and attributes of a switch");
    kxRegisterClass<kxObjectPropertyForTimeSwitch>(
        "kxObjectPropertyForTimeSwitch", "item: what may be done to the children and attributes of a time switch");
    kxRegisterClass<kxObjectPropertyForTimeTransform>(
        "kxObjectPropertyForTimeTransform",
        "item: what may be done to the children and attributes of a time transform");
    kxRegisterClass<kxObjectPropertyForTransform>(
        "kxObjectPropertyForTransform", "item: what may be done to the children and attributes of a transform");
    kxRegisterClass<kxObjectPropertyForTransformRecorder>(
        "kxObjectPropertyForTransformRecorder",
        "item: what may be done to the children and attributes of a transform recorder");
    kxRegisterClass<kxObjectPropertyForUserInfo>(
        "kxObjectPropertyForUserInfo", "item: what may be done to the children and attributes of user information");
    kxRegisterClass<kxObjectPropertyForEnvironmentMapShader>(
        "kxObjectPropertyForEnvironmentMapShader",
        "item: what may be done to the children and attributes of an environment-map shader");
    kxRegisterClass<kxObjectPropertyForProjectiveShadowShader>(
        "kxObjectPropertyForProjectiveShadowShader",
        "item: what may be done to the children and attributes of a level of detail, for hosts that look for it here");

    kxRegisterClass<kxCollapseNode>("kxCollapseNode", "item: decides what becomes of a node in a collapse");
    kxRegisterClass<kxCollapseNodeForNode>("kxCollapseNodeForNode",
                                           "item: decides what becomes of a bare node in a collapse");
    kxRegisterClass<kxCollapseNodeForAttrSet>("kxCollapseNodeForAttrSet",
                                              "item: decides what becomes of an attribute set in a collapse");
    kxRegisterClass<kxCollapseNodeForGeometry>("kxCollapseNodeForGeometry",
                                               "item: decides what becomes of a geometry in a collapse");
    kxRegisterClass<kxCollapseNodeForGroup>("kxCollapseNodeForGroup",
                                            "item: decides what becomes of a group in a collapse");
    kxRegisterClass<kxCollapseNodeForLightSet>("kxCollapseNodeForLightSet",
                                               "item: decides what becomes of a light set in a collapse");
    kxRegisterClass<kxCollapseNodeForLightStateSet>("kxCollapseNodeForLightStateSet",
                                                    "item: decides what becomes of a light state set in a collapse");
    kxRegisterClass<kxCollapseNodeForLod>("kxCollapseNodeForLod",
                                          "item: decides what becomes of a level of detail in a collapse");
    kxRegisterClass<kxCollapseNodeForModelViewMatrixBoneSelect>(
        "kxCollapseNodeForModelViewMatrixBoneSelect", "item: decides what becomes of a choice of a bone in a collapse");
    kxRegisterClass<kxCollapseNodeForMorphInstance>("kxCollapseNodeForMorphInstance",
                                                    "item: decides what becomes of a morph instance in a collapse");
    kxRegisterClass<kxCollapseNodeForTransform>("kxCollapseNodeForTransform",
                                                "item: decides what becomes of a transform in a collapse");
    kxRegisterClass<kxCollapseNodeForMultitextureShader>(
        "kxCollapseNodeForMultitextureShader", "item: decides what becomes of a multitexture shader in a collapse");
    kxRegisterClass<kxCollapseNodeForUserInfo>("kxCollapseNodeForUserInfo",
                                               "item: decides what becomes of user information in a collapse");
    kxRegisterClass<kxFlattenNode>("kxFlattenNode", "item: decides what becomes of a node in a flattening");
    kxRegisterClass<kxFlattenNodeForAttrSet>("kxFlattenNodeForAttrSet",
                                             "item: decides what becomes of an attribute set in a flattening");
    kxRegisterClass<kxFlattenNodeForGroup>("kxFlattenNodeForGroup",
                                           "item: decides what becomes of a group in a flattening");

    kxRegisterClass<kxEvent>("kxEvent", "something that happened to the scene");
    kxRegisterClass<kxReplacedChildEvent>("kxReplacedChildEvent", "a child was replaced");
    kxRegisterClass<kxReplacedObjectEvent>("kxReplacedObjectEvent", "an object was replaced");
    kxRegisterClass<kxListener>("kxListener", "hears of events");
    kxRegisterClass<kxListenerList>("kxListenerList", "list of listeners");
    kxRegisterClass<kxLockBase>("kxLockBase", "rule by which objects are locked");
    kxRegisterClass<kxTypeLock>("kxTypeLock", "rule by type");
    kxRegisterClass<kxSegmentLock>("kxSegmentLock", "locks segments");
    kxRegisterClass<kxInstanceLock>("kxInstanceLock", "rule by object");
    kxRegisterClass<kxDynamicLock>("kxDynamicLock", "locks dynamic nodes");
    kxRegisterClass<kxCachedInstanceLock>("kxCachedInstanceLock", "rule by a cached list of objects");
    kxRegisterClass<kxDataPumpLock>("kxDataPumpLock", "locks what data pumps drive");

    kxRegisterClass<kxIterateObject>("kxIterateObject", "walk over any structure of objects");
}

} // namespace Kel::Opt
