#include "opt/items/kxObjectProperty.h"

#include "opt/items/kxItemNames.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxBillboard.h"
#include "platform/sg/kxBlendMatrixSelect.h"
#include "platform/sg/kxBumpMapShader.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxCartoonShader.h"
#include "platform/sg/kxCompiledGraph.h"
#include "platform/sg/kxDOFShader.h"
#include "platform/sg/kxEnvironmentMapShader2.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxLightSet.h"
#include "platform/sg/kxLightStateSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxModelViewMatrixBoneSelect.h"
#include "platform/sg/kxMultiTextureShader.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxPlanarShadowShader.h"
#include "platform/sg/kxSegment.h"
#include "platform/sg/kxTimeSwitch.h"
#include "platform/sg/kxTimeTransform.h"
#include "platform/sg/kxTransformRecorder.h"
#include "platform/sg/kxUserInfo.h"

#include <iterator>

namespace Kel::Opt
{

KX_IMPLEMENT(kxObjectProperty)
KX_IMPLEMENT(kxObjectPropertyForNode)

void kxObjectProperty::listFields(kxFields<kxObjectProperty>& fields)
{
    fields.add(&kxObjectProperty::_object, "_object", "the object in question")
        .setFlags(kxMetaField::PARAMETER | kxMetaField::REQUIRED);
    fields.add(&kxObjectProperty::_canAddChild, "_canAddChild", "children may be added");
    fields.add(&kxObjectProperty::_canRemoveChild, "_canRemoveChild", "children may be removed");
    fields.add(&kxObjectProperty::_canReplaceChild, "_canReplaceChild", "children may be replaced in place");
    fields.add(&kxObjectProperty::_canAddAttr, "_canAddAttr", "attributes may be added");
    fields.add(&kxObjectProperty::_canRemoveAttr, "_canRemoveAttr", "attributes may be removed");
    fields.add(&kxObjectProperty::_canReplaceAttr, "_canReplaceAttr", "attributes may be replaced in place");
}

kxStringRef kxObjectProperty::getInterfaceName()
{
    return kxItemNames::get().objectProperty;
}

kxMetaObject* kxObjectProperty::getInterfacedType()
{
    return kxObject::staticMetaObject();
}

kxSmartPointer<kxInterfaceDeclarationList> kxObjectProperty::getFunctions()
{
    const kxInterfaceDeclaration declarations[] = {{"getProperty", &kxObjectProperty::getProperty}};
    return getFunctionsFromArray(declarations, std::size(declarations));
}

void kxObjectProperty::userSetupOutput(kxParameterSet* result)
{
    const kxItemNames& names = kxItemNames::get();
    result->setFieldValue(names.canAddChildField, _canAddChild);
    result->setFieldValue(names.canRemoveChildField, _canRemoveChild);
    result->setFieldValue(names.canReplaceChildField, _canReplaceChild);
    result->setFieldValue(names.canAddAttrField, _canAddAttr);
    result->setFieldValue(names.canRemoveAttrField, _canRemoveAttr);
    result->setFieldValue(names.canReplaceAttrField, _canReplaceAttr);
}

kxMetaObject* kxObjectPropertyForNode::getInterfacedType()
{
    return kxNode::staticMetaObject();
}

kxSmartPointer<kxParameterSet> kxObjectPropertyForNode::getProperty(kxParameterSet*)
{
    kxParameterSetWrapper result;
    result.success();
    return result;
}

void kxObjectPropertyForNode::allow(uint32_t childEdits, uint32_t attrEdits)
{
    _canAddChild = (childEdits & ADD) != 0;
    _canRemoveChild = (childEdits & REMOVE) != 0;
    _canReplaceChild = (childEdits & REPLACE) != 0;
    _canAddAttr = (attrEdits & ADD) != 0;
    _canRemoveAttr = (attrEdits & REMOVE) != 0;
    _canReplaceAttr = (attrEdits & REPLACE) != 0;
}

/// What the property item of `Type`, and of the types derived from it that have none of their own, allows: edits of
/// children, edits of attributes.
#define KX_ALLOWED(Class, Type, childEdits, attrEdits)                                                                 \
    KX_IMPLEMENT(Class)                                                                                                \
    Class::Class()                                                                                                     \
    {                                                                                                                  \
        allow(childEdits, attrEdits);                                                                                  \
    }                                                                                                                  \
    kxMetaObject* Class::getInterfacedType()                                                                           \
    {                                                                                                                  \
        return Type::staticMetaObject();                                                                               \
    }

// The children of a plain group stand side by side; it has no attributes.
KX_ALLOWED(kxObjectPropertyForGroup, kxGroup, ALL, NONE)

// What is below one of these is drawn in its space, or noted by it, all children alike: among themselves they may
// change.
KX_ALLOWED(kxObjectPropertyForTransform, kxTransform, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForTimeTransform, kxTimeTransform, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForBillboard, kxBillboard, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForModelViewMatrixBoneSelect, kxModelViewMatrixBoneSelect, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForTransformRecorder, kxTransformRecorder, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForUserInfo, kxUserInfo, ALL, NONE)
// Skins refer to the bone, not to its place among its parent's children.
KX_ALLOWED(kxObjectPropertyForJoint, kxJoint, ALL, NONE)

// Attributes of a set are told apart by type and unit, so each can be taken alone. Sets of the derived types have no
// item that adds or removes: which attributes they hold is part of what they are.
KX_ALLOWED(kxObjectPropertyForAttrSet, kxAttrSet, ALL, ALL)
KX_ALLOWED(kxObjectPropertyForBlendMatrixSelect, kxBlendMatrixSelect, ALL, REPLACE)
KX_ALLOWED(kxObjectPropertyForOverrideAttrSet, kxOverrideAttrSet, ALL, REPLACE)
// A geometry is a leaf that draws its attributes: one may stand for an equal one, none may come or go.
KX_ALLOWED(kxObjectPropertyForGeometry, kxGeometry, NONE, REPLACE)

// Lights and light states are no attributes of an attribute set, which is where the items replace. States refer to
// lights.
KX_ALLOWED(kxObjectPropertyForLightSet, kxLightSet, ALL, ADD | REMOVE)
KX_ALLOWED(kxObjectPropertyForLightStateSet, kxLightStateSet, ALL, ADD | REMOVE)

// The position of a child says when it is drawn: each may change in its place, none may move.
KX_ALLOWED(kxObjectPropertyForSwitch, kxSwitch, REPLACE, NONE)
KX_ALLOWED(kxObjectPropertyForTimeSwitch, kxTimeSwitch, REPLACE, NONE)
KX_ALLOWED(kxObjectPropertyForLod, kxLod, REPLACE, NONE)
// In spite of its name this one is registered for levels of detail, where hosts look for it; it must not allow more
// than theirs.
KX_ALLOWED(kxObjectPropertyForProjectiveShadowShader, kxLod, REPLACE, NONE)
// The order of a mesh's geometries is part of the mesh, but they are drawn alike: the mesh says by its order query that
// none may move, and decisions that would move them ask for it.
KX_ALLOWED(kxObjectPropertyForMesh, kxMesh, ALL, NONE)

// These draw their children in a space of their own: by a skin, or once for each element of an array. What comes in
// from elsewhere, or goes, would be drawn elsewhere.
KX_ALLOWED(kxObjectPropertyForActor, kxActor, REPLACE, NONE)
KX_ALLOWED(kxObjectPropertyForInstanceArray, kxInstanceArray, REPLACE, NONE)

// A shader draws its children alike in every pass. It owns its passes, whose attributes are nobody else's to edit.
KX_ALLOWED(kxObjectPropertyForShader, kxShader, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForBumpMapShader, kxBumpMapShader, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForCartoonShader, kxCartoonShader, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForDOFShader, kxDOFShader, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForEnvironmentMapShader, kxEnvironmentMapShader2, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForMultiTextureShader, kxMultiTextureShader, ALL, NONE)
KX_ALLOWED(kxObjectPropertyForPlanarShadowShader, kxPlanarShadowShader, ALL, NONE)

// A compiled graph replays what was recorded; a segment is written and loaded on its own. Both are closed.
KX_ALLOWED(kxObjectPropertyForCompiledGraph, kxCompiledGraph, NONE, NONE)
KX_ALLOWED(kxObjectPropertyForSegment, kxSegment, NONE, NONE)
// Cameras have neither children nor attributes.
KX_ALLOWED(kxObjectPropertyForCamera, kxCamera, NONE, NONE)
#undef KX_ALLOWED

} // namespace Kel::Opt
