#include "tests/opt/items/itemTestClasses.h"

namespace Kel::Opt
{
namespace
{

// Letters for what may be done: add, remove, replace; children in small letters, attributes in capitals.
TEST(kxObjectProperty, SaysWhatMayBeDoneToEachType)
{
    struct
    {
        const char* type;
        const char* allowed;
        const char* why;
    } const rows[] = {
        {"kxNode", "", "nothing is known of it"},
        {"kxCamera", "", "a leaf"},
        {"kxGroup", "adr", "children side by side"},
        {"kxMorphInstance", "adr", "a group"},
        {"kxTransform", "adr", "children in one space"},
        {"kxTimeTransform", "adr", "the same"},
        {"kxJoint", "adr", "the same"},
        {"kxBillboard", "adr", "the same"},
        {"kxModelViewMatrixBoneSelect", "adr", "the same"},
        {"kxTransformRecorder", "adr", "the same"},
        {"kxUserInfo", "adr", "the same"},
        {"kxAttrSet", "adrADR", "attributes by type and unit"},
        {"kxOverrideAttrSet", "adrR", "no item adds or removes here"},
        {"kxBlendMatrixSelect", "adrR", "no item adds or removes here"},
        {"kxGeometry", "R", "a leaf that draws its attributes"},
        {"kxLightSet", "adrAD", "lights are no attributes of a set"},
        {"kxLightStateSet", "adrAD", "states are no attributes of a set"},
        {"kxLod", "r", "positions are distances"},
        {"kxSwitch", "r", "positions are choices"},
        {"kxTimeSwitch", "r", "positions are times"},
        {"kxMesh", "adr", "the decisions look after its order"},
        {"kxActor", "r", "a space of its own"},
        {"kxInstanceArray", "r", "a space of its own"},
        {"kxShader", "adr", "it owns its passes"},
        {"kxBumpMapShader", "adr", "the same"},
        {"kxCartoonShader", "adr", "the same"},
        {"kxDOFShader", "adr", "the same"},
        {"kxEnvironmentMapShader2", "adr", "the same"},
        {"kxInterpretedShader", "adr", "the same"},
        {"kxMultiTextureShader", "adr", "the same"},
        {"kxPlanarShadowShader", "adr", "the same"},
        {"kxProjectiveShadowShader", "adr", "the same"},
        {"kxCompiledGraph", "", "closed"},
        {"kxSegment", "", "closed"},
    };
    const kxItemNames& names = kxItemNames::get();
    const std::pair<kxStringRef, char> flags[] = {{names.canAddChildField, 'a'},     {names.canRemoveChildField, 'd'},
                                                  {names.canReplaceChildField, 'r'}, {names.canAddAttrField, 'A'},
                                                  {names.canRemoveAttrField, 'D'},   {names.canReplaceAttrField, 'R'}};

    TestRun run;
    size_t nodeTypes = 0;
    for (const auto& row : rows)
    {
        ASSERT_TRUE(kxMetaObject::find(row.type)) << row.type;
        const auto object = kxMetaObject::find(row.type)->createInstance();
        kxItemCall call(run.m_manager, names.objectProperty, object);
        ASSERT_TRUE(call.set(names.objectField, object).run(names.getProperty)) << row.type;
        std::string allowed;
        for (const auto& [name, letter] : flags)
        {
            bool flag;
            ASSERT_TRUE(call.get(name, flag)) << name.c_str();
            if (flag)
                allowed += letter;
        }
        EXPECT_EQ(allowed, row.allowed) << row.type << ": " << row.why;
        ++nodeTypes;

        // What the flags promise, the items keep.
        kxItemInterface* items = run.m_manager->_itemInterface;
        if (allowed.find('a') != std::string::npos || allowed.find('d') != std::string::npos)
        {
            EXPECT_TRUE(items->getRegisteredItemBase(names.childEdit, object->getMetaObject())) << row.type;
        }
        if (allowed.find('A') != std::string::npos || allowed.find('D') != std::string::npos)
        {
            EXPECT_TRUE(items->getRegisteredItemBase(names.attrEdit, object->getMetaObject())) << row.type;
        }
        if (allowed.find('R') != std::string::npos)
        {
            EXPECT_TRUE(object->isOfType(kxMetaObject::find("kxAttrSet"))) << row.type;
        }
    }
    // A new type of nodes is thought about here.
    size_t registered = 0;
    for (const kxMetaObject* type : kxNode::staticMetaObject()->getDerived())
        registered += type->getIndex() < kxMetaObject::find("kxInterfaced")->getIndex();
    EXPECT_EQ(nodeTypes, registered);
}

} // namespace
} // namespace Kel::Opt
