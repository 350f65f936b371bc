#include "tests/opt/testRun.h"

#include "opt/scene/kxStatistics.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace Kel::Opt
{

// Enabling lasts for the process, so the one test goes from disabled to enabled.
TEST(kxStatistics, CountsTypesInstancesAndDepths)
{
    TestRun run;
    const auto statistics = run.create<kxStatistics>();
    const NamedScene scene("Group\"town\"(Transform#1\"house\"(Geometry\"wall\"{tri, Material#1 red}), "
                           "AttrSet\"copies\"{Material#1, Material blue}(Transform#1, null, Geometry\"roof\"))");
    kxSmartPointer<kxNode> root = scene.m_root;
    if (!kxStatistics::isEnabled())
    {
        EXPECT_FALSE(statistics->configure(0));
        EXPECT_EQ(
            run.takeText(),
            "To use the statistics, you should have the following in you Veltrin.ini:\n[OPTIMIZE]\nstats = true\n");
        EXPECT_FALSE(statistics->apply(root));
        EXPECT_EQ(run.takeText(), "");

        // The default script of the current folder is what enables them.
        const auto folder = std::filesystem::current_path();
        std::filesystem::current_path(testing::TempDir());
        kxStatistics::userRegister();
        EXPECT_FALSE(kxStatistics::isEnabled());
        std::ofstream(kxOptManager::defaultScript) << "[OPTIMIZE]\nstats = true\n";
        kxStatistics::userRegister();
        std::filesystem::remove(kxOptManager::defaultScript);
        std::filesystem::current_path(folder);
        ASSERT_TRUE(kxStatistics::isEnabled());
    }
    EXPECT_TRUE(statistics->configure(0));
    kxSmartPointer<kxNode> none;
    EXPECT_TRUE(statistics->apply(none));
    EXPECT_EQ(run.takeText(), "");

    const std::string types[] = {"ATTR TYPE:    2 \n",
                                 "\tkxMaterialAttr      :     2 (used     4) (depth 2.8)\n",
                                 "\tkxGeometryAttr      :     1 (used     2) (depth 3.5)\n",
                                 "NODE TYPE:    4 \n",
                                 "\tkxGroup             :     1 (used     1) (depth 1.0)\n",
                                 "\tkxAttrSet           :     1 (used     1) (depth 2.0)\n",
                                 "\tkxGeometry          :     2 (used     3) (depth 3.3)\n",
                                 "\tkxTransform         :     1 (used     2) (depth 2.5)\n"};
    const std::string instances[] = {
        "",
        "\t\tattr     0: (push     3) (depth 3.0)\n\t\tattr     1: (push     1) (depth 2.0)\n",
        "\t\tattr     0: (push     2) (depth 3.5)\n",
        "",
        "\t\tnode     0: (used     1) (depth 1.0) town\n",
        "\t\tnode     0: (used     1) (depth 2.0) copies\n",
        "\t\tnode     0: (used     2) (depth 3.5) wall (tris    1)\n"
        "\t\tnode     1: (used     1) (depth 3.0) roof (tris    0)\n",
        "\t\tnode     0: (used     2) (depth 2.5) house\n"};
    for (const STATISTICS_VERBOSE level : {LEVEL1, LEVEL2, LEVEL1})
    {
        std::string expected;
        for (size_t i = 0; i < std::size(types); ++i)
            expected += types[i] + (level == LEVEL2 ? instances[i] : "");
        statistics->_level = level;
        EXPECT_TRUE(statistics->apply(root));
        EXPECT_EQ(run.takeText(), expected);
    }
}

// What hosts count one by one, and what a walk counts, add up: in either order, for a node met before and for a new one.
TEST(kxStatistics, SingleMeetingsAndWalksAddUp)
{
    kxStatistics::enableStatistics();
    const NamedScene scene("Group\"town\"(Group\"house\"(Group\"room\"))");
    kxNode* town = scene.m_root;
    kxNode* house = static_cast<kxGroup*>(town)->getChild(0u);
    const auto statistics = kxNew<kxStatistics>();
    kxAllNodeStatistics& nodes = *statistics->_nodeStatistics;
    nodes.appendNode(house, 7);
    nodes.appendNode(house, 3);
    statistics->createStatitics(town, 1); // the house lies at 2
    nodes.appendNode(town, 5);

    const auto valueOf = [](const char* field, const kxNode* node)
    { return kxNode::staticMetaObject()->findField(field)->getAddress(node); };
    const auto numberOf = [&](const kxNode* node)
    { return *static_cast<const int32_t*>(valueOf("nodeInstanceNumber", node)); };
    const auto depthOf = [&](const kxNode* node)
    { return *static_cast<const float*>(valueOf("nodeDepthAverage", node)); };
    EXPECT_EQ(numberOf(house), 3);
    EXPECT_FLOAT_EQ(depthOf(house), 4);
    EXPECT_EQ(numberOf(town), 2);
    EXPECT_FLOAT_EQ(depthOf(town), 3);
    ASSERT_EQ(nodes._nodeStatisticsList->getCount(), 1u);
    const kxGenericNodeStatistics& groups = *nodes._nodeStatisticsList->get(0);
    EXPECT_EQ(groups._instance, 6);
    ASSERT_EQ(groups._instanceList->getCount(), 3u);
    for (uint32_t i = 1; i < 3; ++i)
        EXPECT_LT(groups._instanceList->get(i - 1)->getSerial(), groups._instanceList->get(i)->getSerial());
}

} // namespace Kel::Opt
