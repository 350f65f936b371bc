// A plug-in's items serve the plug-in's own type of nodes, and the library's items serve it as what it is derived from.
#include "platform/core/kxPlugInRepository.h"
#include "tests/opt/items/itemTestClasses.h"

namespace Kel::Opt
{
namespace
{

TEST(kxItemPlugIn, ItsItemsServeItsNodes)
{
    TestRun run;
    const kxItemNames& names = kxItemNames::get();
    // The registry has been asked before the plug-in comes.
    ASSERT_TRUE(run.m_manager->_itemInterface->getRegisteredItemBase(names.childEdit, kxGroup::staticMetaObject()));
    kxPlugInRepository::get().addRepository("items", KXOPT_BINARY_DIR "/tests/opt/items/plugins");
    ASSERT_TRUE(kxMetaObject::find("kxCarousel"));

    const NamedScene scene(
        R"(Group "root"(Carousel "c"[radius=2](Group "x", Group "y"), Carousel "flat"(Group "z"), Group "g"))");
    const auto decisionAbout = [&](const char* name)
    {
        kxItemCall call(run.m_manager, names.collapseNode, scene[name]);
        int32_t decision = 0;
        EXPECT_TRUE(call.set(names.nodeField, scene[name]).run(names.collapse));
        EXPECT_TRUE(call.get(names.collapseField, decision));
        return decision;
    };
    EXPECT_EQ(decisionAbout("c"), 1) << "NO_CHANGE";
    EXPECT_EQ(decisionAbout("flat"), 3) << "COLLAPSE_TREE";
    EXPECT_EQ(decisionAbout("g"), 4) << "the library's own decisions are as before";

    kxItemCall property(run.m_manager, names.objectProperty, scene["c"]);
    ASSERT_TRUE(property.set(names.objectField, scene["c"]).run(names.getProperty));
    EXPECT_TRUE(property.getFlag(names.canReplaceChildField));
    EXPECT_FALSE(property.getFlag(names.canAddChildField)) << "its own item, not that of groups";

    kxItemCall spin(run.m_manager, "kxSpinCarousel", scene["c"]);
    EXPECT_TRUE(spin.set(names.containerField, scene["c"]).run("spin"));
    kxItemCall replace(run.m_manager, names.replaceChildItem, scene["c"]);
    replace.set(names.containerField, scene["c"]).set(names.oldChildField, scene["x"]);
    EXPECT_TRUE(replace.set(names.newChildField, scene["g"]).run(names.replaceChild)) << "the item of all nodes";
    EXPECT_EQ(
        scene.print(),
        Kel::Test::normalizeScene(
            R"(Group "root"(Carousel "c"[radius=2](Group "y", Group#g "g"), Carousel "flat"(Group "z"), Group#g))"));

    kxItemCall nothing(run.m_manager, "kxSpinCarousel", scene["flat"]);
    EXPECT_FALSE(nothing.set(names.containerField, scene["flat"]).run("spin"));
    EXPECT_EQ(run.takeText(), "The carousel flat has nothing to spin\n");
}

} // namespace
} // namespace Kel::Opt
