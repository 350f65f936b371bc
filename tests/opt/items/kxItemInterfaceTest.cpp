#include "opt/items/kxItemInterface.h"

#include "opt/items/kxCollapseNode.h"
#include "opt/items/kxFlattenNode.h"
#include "opt/items/kxObjectProperty.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "platform/sg/kxSwitch.h"
#include "tests/opt/items/itemTestClasses.h"

namespace Kel::Opt
{
namespace
{

const char* nameOf(const kxMetaObject* type)
{
    return type ? type->getName().c_str() : "none";
}

/// The three lists agree, and each is in order.
void expectInOrder(const kxItemInterface* items)
{
    ASSERT_EQ(items->_metaList->getCount(), items->_itemList->getCount());
    ASSERT_EQ(items->_metaList->getCount(), items->_itemNameList->getCount());
    for (uint32_t i = 0; i < items->_metaList->getCount(); ++i)
    {
        if (i > 0)
        {
            EXPECT_LT(items->_metaList->get(i - 1)->getSerial(), items->_metaList->get(i)->getSerial());
        }
        const kxStringRefList* names = items->_itemNameList->get(i);
        ASSERT_EQ(names->getCount(), items->_itemList->get(i)->getCount());
        for (uint32_t j = 1; j < names->getCount(); ++j)
            EXPECT_TRUE(names->get(j - 1) < names->get(j));
    }
}

TEST(kxItemInterface, GivesTheItemClassOfAPair)
{
    struct
    {
        const char* interfaceName;
        const char* type;
        const char* itemClass;
    } const rows[] = {
        {"kxNodeTraversal", "kxGroup", "kxNodeTraversal"},
        {"kxNodeTraversal", "kxCamera", "kxNodeTraversal"},
        {"kxNodeTraversal", "kxMaterialAttr", "none"},
        {"kxAttrTraversal", "kxGeometry", "kxAttrTraversal"},
        {"kxObjectTraversal", "kxMaterialAttr", "kxObjectTraversal"},
        {"kxChildEdit", "kxLod", "kxChildEditForNode"},
        {"kxChildEdit", "kxCamera", "none"}, // no group
        {"kxAttrEdit", "kxAttrSet", "kxAttrEditForAttrSet"},
        {"kxAttrEdit", "kxLightSet", "kxAttrEditForLightSet"},
        {"kxAttrEdit", "kxLightStateSet", "kxAttrEditForLightStateSet"},
        {"kxAttrEdit", "kxGeometry", "none"}, // for the type alone
        {"kxReplaceChild", "kxSwitch", "kxReplaceChildForNode"},
        {"kxReplaceAttr", "kxGeometry", "kxReplaceAttrForNode"},
        {"kxReplaceObject", "kxImage", "kxReplaceObject"},
        {"kxCompareAttr", "kxTextureBindAttr", "kxCompareAttr"}, // comparisons are interfaces of their own
        {"kxCompareAttrForTexture", "kxTextureBindAttr", "kxCompareAttrForTexture"},
        {"kxCompareAttrForTexture", "kxMaterialAttr", "none"},
        {"kxFieldUpdate", "kxStringObj", "kxFieldUpdate"},
        {"kxFieldSource", "kxStringObj", "kxFieldSource"},
        // The nearest base wins.
        {"kxObjectProperty", "kxCamera", "kxObjectPropertyForCamera"},
        {"kxObjectProperty", "kxMorphInstance", "kxObjectPropertyForGroup"},
        {"kxObjectProperty", "kxProjectiveShadowShader", "kxObjectPropertyForShader"},
        {"kxObjectProperty", "kxEnvironmentMapShader2", "kxObjectPropertyForEnvironmentMapShader"},
        {"kxObjectProperty", "kxInterpretedShader", "kxObjectPropertyForShader"},
        {"kxObjectProperty", "kxTimeSwitch", "kxObjectPropertyForTimeSwitch"},
        {"kxObjectProperty", "kxLod", "kxObjectPropertyForProjectiveShadowShader"},
        {"kxObjectProperty", "kxMaterialAttr", "none"},
        // Decisions to collapse are for a type alone, information apart; bases of a type are not looked at.
        {"kxCollapseNode", "kxNode", "kxCollapseNodeForNode"},
        {"kxCollapseNode", "kxGroup", "kxCollapseNodeForGroup"},
        {"kxCollapseNode", "kxTransform", "kxCollapseNodeForTransform"},
        {"kxCollapseNode", "kxMultiTextureShader", "kxCollapseNodeForMultitextureShader"},
        {"kxCollapseNode", "kxUserInfo", "kxCollapseNodeForUserInfo"},
        {"kxCollapseNode", "kxSwitch", "none"},
        {"kxCollapseNode", "kxJoint", "none"},
        {"kxFlattenNode", "kxGroup", "none"}, // never registered
        {"kxFlattenNodeForGroup", "kxGroup", "none"},
        {"kxUnheardOf", "kxGroup", "none"},
    };
    TestRun run;
    const auto items = run.create<kxItemInterface>();
    for (const auto& row : rows)
    {
        const kxMetaObject* itemClass = items->getRegisteredItemBase(row.interfaceName, kxMetaObject::find(row.type));
        EXPECT_STREQ(nameOf(itemClass), row.itemClass) << row.interfaceName << " for " << row.type;
    }
    EXPECT_EQ(items->getRegisteredItemBase("kxNodeTraversal", nullptr), nullptr);
    EXPECT_EQ(items->getRegisteredItemBase(kxStringRef(), kxGroup::staticMetaObject()), nullptr);
    EXPECT_EQ(items->_currentKnownItem, kxItemBase::staticMetaObject()->getDerivedCount());
    expectInOrder(items);
}

TEST(kxItemInterface, MakesANewItemWithItsServicesForEachCall)
{
    TestRun run;
    kxItemInterface* items = run.m_manager->_itemInterface;
    const auto item = items->createItemBase(kxStringRef("kxNodeTraversal"), kxGroup::staticMetaObject());
    ASSERT_TRUE(item);
    EXPECT_NE(item.get(), items->createItemBase(kxStringRef("kxNodeTraversal"), kxGroup::staticMetaObject()).get());
    EXPECT_EQ(item->_itemInterface.get(), items);
    EXPECT_EQ(item->_lockInterface.get(), run.m_manager->_lockInterface.get());
    EXPECT_EQ(item->_messageInterface.get(), run.m_manager->_messageInterface.get());
    EXPECT_EQ(item->_listenerInterface.get(), run.m_manager->_listenerInterface.get());
    EXPECT_EQ(item->_logInterface.get(), run.getLog());
    EXPECT_EQ(item->_optInterface.get(), run.getService());

    const auto byClass = items->createItemBase(kxObjectProperty::staticMetaObject(), kxLod::staticMetaObject());
    EXPECT_TRUE(byClass && byClass->isOfType(kxObjectProperty::staticMetaObject()));
    EXPECT_EQ(items->createItemBase(static_cast<const kxMetaObject*>(nullptr), kxLod::staticMetaObject()), nullptr);
    EXPECT_EQ(items->createItemBase("kxUnheardOf", kxLod::staticMetaObject()), nullptr);

    items->_itemInterface = nullptr;
    items->userResetFields();
    EXPECT_EQ(items->_itemInterface.get(), items);
}

TEST(kxItemInterface, APairIsRedirectedUntilItIsRegisteredAgain)
{
    TestRun run;
    const auto items = run.create<kxItemInterface>();
    const kxStringRef collapse = "kxCollapseNode";
    kxMetaObject* group = kxGroup::staticMetaObject();
    kxMetaObject* flatten = kxFlattenNodeForGroup::staticMetaObject();
    ASSERT_STREQ(nameOf(items->getRegisteredItemBase(collapse, group)), "kxCollapseNodeForGroup");

    items->setRegisteredItemBase(collapse, group, flatten);
    EXPECT_EQ(items->getRegisteredItemBase(collapse, group), flatten);
    EXPECT_TRUE(items->createItemBase(collapse, group)->isOfExactType(flatten));

    items->setRegisteredItemBase(collapse, kxSwitch::staticMetaObject(), flatten);
    items->setRegisteredItemBase("kxUnheardOf", group, flatten);
    items->setRegisteredItemBase(collapse, nullptr, flatten);
    EXPECT_EQ(items->getRegisteredItemBase(collapse, kxSwitch::staticMetaObject()), nullptr) << "adds no pair";
    EXPECT_EQ(items->getRegisteredItemBase("kxUnheardOf", group), nullptr);

    items->_currentKnownItem = 0;
    EXPECT_STREQ(nameOf(items->getRegisteredItemBase(collapse, group)), "kxCollapseNodeForGroup");
    expectInOrder(items);
}

TEST(kxItemInterface, TheLaterRegistrationOfAPairStays)
{
    registerTestItems();
    TestRun run;
    const auto items = run.create<kxItemInterface>();
    items->getRegisteredItemBase("kxTest", kxGroup::staticMetaObject());
    kxMetaObject* first = kxTestItem::staticMetaObject();
    kxMetaObject* second = kxFlattenNode::staticMetaObject();
    items->appendInterfaceForType("kxTest", kxAttrSet::staticMetaObject(), first);
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxGeometry::staticMetaObject()), nullptr);
    items->appendInterfaceForTypes("kxTest", kxAttrSet::staticMetaObject(), second);
    items->appendInterfaceForType("kxTest", kxGeometry::staticMetaObject(), first);
    items->appendInterfaceForType("kxTest", kxMetaObject::find("kxImage"), first); // in front of all others
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxAttrSet::staticMetaObject()), second);
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxOverrideAttrSet::staticMetaObject()), second);
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxGeometry::staticMetaObject()), first);
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxMetaObject::find("kxImage")), first);
    EXPECT_EQ(items->getRegisteredItemBase("kxTest", kxGroup::staticMetaObject()), nullptr);
    expectInOrder(items);
}

class kxLateGroup : public kxGroup
{
    KX_OBJECT(kxLateGroup, kxGroup)
};
KX_IMPLEMENT(kxLateGroup)

TEST(kxItemInterface, ATypeRegisteredLaterHasTheItemsOfItsBase)
{
    TestRun run;
    kxItemInterface* items = run.m_manager->_itemInterface;
    ASSERT_TRUE(items->getRegisteredItemBase("kxChildEdit", kxGroup::staticMetaObject()));
    kxRegisterClass<kxLateGroup>("kxLateGroup", "group of the tests");
    EXPECT_STREQ(nameOf(items->getRegisteredItemBase("kxChildEdit", kxLateGroup::staticMetaObject())),
                 "kxChildEditForNode");
    EXPECT_STREQ(nameOf(items->getRegisteredItemBase("kxObjectProperty", kxLateGroup::staticMetaObject())),
                 "kxObjectPropertyForGroup");
    expectInOrder(items);
}

} // namespace
} // namespace Kel::Opt
