// Items that say what may be done to the children and attributes of an object.
#pragma once

#include "opt/items/kxItemBase.h"

namespace Kel::Opt
{

/// Answers, for an object, how its children and attributes may be edited through the items for that. The flags are
/// those of the type; an item may look at `_object` and answer for it alone.
class kxObjectProperty : public kxItemBase
{
    KX_OBJECT(kxObjectProperty, kxItemBase)
    static void listFields(kxFields<kxObjectProperty>& fields);

    kxSmartPointer<kxObject> _object;
    bool _canAddChild = false;     ///< a child may be added behind the others
    bool _canRemoveChild = false;  ///< a child may be taken out, and those behind it move up
    bool _canReplaceChild = false; ///< a child may be replaced in its place
    bool _canAddAttr = false;
    bool _canRemoveAttr = false;
    bool _canReplaceAttr = false;

    void userSetupOutput(kxParameterSet* result) override;
    kxStringRef getInterfaceName() override;
    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxInterfaceDeclarationList> getFunctions() override;

    virtual kxSmartPointer<kxParameterSet> getProperty(kxParameterSet* input) = 0;

    /// True when the flags of a new item are the answer for every object: nobody needs to call it for each.
    virtual bool answersForType() const { return false; }
};

/// Of nodes of which nothing is known: nothing may be done.
class kxObjectPropertyForNode : public kxObjectProperty
{
    KX_OBJECT(kxObjectPropertyForNode, kxObjectProperty)

    kxMetaObject* getInterfacedType() override;
    kxSmartPointer<kxParameterSet> getProperty(kxParameterSet* input) override;
    bool answersForType() const override { return isOfExactType(s_metaObject); }

protected:
    enum Edit : uint32_t
    {
        NONE = 0,
        ADD = 1,
        REMOVE = 2,
        REPLACE = 4,
        ALL = ADD | REMOVE | REPLACE
    };
    void allow(uint32_t childEdits, uint32_t attrEdits);
};

/// Declares the property item of one type. What it allows, and why, stands in the source file.
#define KX_OBJECT_PROPERTY(Class)                                                                                      \
    class Class : public kxObjectPropertyForNode                                                                       \
    {                                                                                                                  \
        KX_OBJECT(Class, kxObjectPropertyForNode)                                                                      \
        Class();                                                                                                       \
        kxMetaObject* getInterfacedType() override;                                                                    \
        bool answersForType() const override { return isOfExactType(s_metaObject); }                                   \
    };

KX_OBJECT_PROPERTY(kxObjectPropertyForActor)
KX_OBJECT_PROPERTY(kxObjectPropertyForAttrSet)
KX_OBJECT_PROPERTY(kxObjectPropertyForBillboard)
KX_OBJECT_PROPERTY(kxObjectPropertyForBlendMatrixSelect)
KX_OBJECT_PROPERTY(kxObjectPropertyForBumpMapShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForCamera)
KX_OBJECT_PROPERTY(kxObjectPropertyForCartoonShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForCompiledGraph)
KX_OBJECT_PROPERTY(kxObjectPropertyForDOFShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForEnvironmentMapShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForGeometry)
KX_OBJECT_PROPERTY(kxObjectPropertyForGroup)
KX_OBJECT_PROPERTY(kxObjectPropertyForInstanceArray)
KX_OBJECT_PROPERTY(kxObjectPropertyForJoint)
KX_OBJECT_PROPERTY(kxObjectPropertyForLightSet)
KX_OBJECT_PROPERTY(kxObjectPropertyForLightStateSet)
KX_OBJECT_PROPERTY(kxObjectPropertyForLod)
KX_OBJECT_PROPERTY(kxObjectPropertyForMesh)
KX_OBJECT_PROPERTY(kxObjectPropertyForModelViewMatrixBoneSelect)
KX_OBJECT_PROPERTY(kxObjectPropertyForMultiTextureShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForOverrideAttrSet)
KX_OBJECT_PROPERTY(kxObjectPropertyForPlanarShadowShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForProjectiveShadowShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForSegment)
KX_OBJECT_PROPERTY(kxObjectPropertyForShader)
KX_OBJECT_PROPERTY(kxObjectPropertyForSwitch)
KX_OBJECT_PROPERTY(kxObjectPropertyForTimeSwitch)
KX_OBJECT_PROPERTY(kxObjectPropertyForTimeTransform)
KX_OBJECT_PROPERTY(kxObjectPropertyForTransform)
KX_OBJECT_PROPERTY(kxObjectPropertyForTransformRecorder)
KX_OBJECT_PROPERTY(kxObjectPropertyForUserInfo)
#undef KX_OBJECT_PROPERTY

} // namespace Kel::Opt
