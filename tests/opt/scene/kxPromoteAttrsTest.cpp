#include "opt/scene/kxPromoteAttrs.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include "opt/verify/kxPictureComparison.h"
#include "platform/attrs/kxMaterialAttr.h"

namespace Kel::Opt
{

using Kel::Test::expectOptimized;
using Kel::Test::kUnchanged;
using Kel::Test::OptimizationCase;

namespace
{

const OptimizationCase kCases[] = {
    {"from all children to a new root",
     "Group(AttrSet{Material#1 red}(Geometry{tri}), AttrSet{Material#1}(Geometry{quad}))",
     "AttrSet \"PromotedAttr\"{Material red}(Group(AttrSet(Geometry{tri}), AttrSet(Geometry{quad})))"},
    {"equal values need not be one object",
     "AttrSet(AttrSet{Material red}(Geometry{tri}), AttrSet{Material red}(Geometry{quad}))",
     "AttrSet{Material red}(AttrSet(Geometry{tri}), AttrSet(Geometry{quad}))"},
    {"through groups", "Group(Group(Group(AttrSet{Material red}(Geometry{tri}))))",
     "AttrSet \"PromotedAttr\"{Material red}(Group(Group(Group(AttrSet(Geometry{tri})))))"},
    {"what all children set otherwise is not needed above",
     "AttrSet{Material red}(AttrSet{Material blue}(Geometry{tri}), AttrSet{Material blue}(Geometry{quad}))",
     "AttrSet{Material blue}(AttrSet(Geometry{tri}), AttrSet(Geometry{quad}))"},
    {"a set above geometries keeps its own", "AttrSet{Material red}(Geometry{tri}, Geometry{quad})", kUnchanged},
    {"what one child lacks", "Group(AttrSet{Material red}(Geometry{tri}), Geometry{quad})", kUnchanged},
    {"other types", "Group(AttrSet{State[state=\"fog\"]}(Geometry{tri}))", kUnchanged},
    {"a class like the group's own is only relieved",
     "AttrSet{Material red}(AttrSet{Material red}(Geometry{tri}), AttrSet{Material red}(Geometry{quad}), "
     "AttrSet{Material blue}(Geometry{cube}), AttrSet{Material blue}(Geometry{points}))",
     "AttrSet{Material#1 red}(AttrSet(Geometry{tri}), AttrSet(Geometry{quad}), "
     "AttrSet \"PromotedAttr\"{Material#2 blue}(AttrSet(Geometry{cube}), AttrSet(Geometry{points})))"},
    {"a class of one set stays in its place",
     "Group(AttrSet{Material red}(Geometry{tri}), "
     "AttrSet{Material blue}(Geometry{quad}))",
     kUnchanged},
    {"a class of one set takes what is below it",
     "Group(AttrSet(AttrSet{Material red}(Geometry{tri})), AttrSet{Material blue}(Geometry{quad}))",
     "Group(AttrSet{Material red}(AttrSet(Geometry{tri})), AttrSet{Material blue}(Geometry{quad}))"},
    {"a class of one group gets a set", "Group(Transform<1 0 0>(AttrSet{Material red}(Geometry{tri})), Geometry{quad})",
     "Group(Geometry{quad}, AttrSet \"PromotedAttr\"{Material red}(Transform<1 0 0>(AttrSet(Geometry{tri}))))"},
    {"children whose order counts are wrapped in place",
     "Switch<0>(Transform<1 0 0>(AttrSet{Material red}(Geometry{tri})), Geometry{quad})",
     "Switch<0>(AttrSet \"PromotedAttr\"{Material red}(Transform<1 0 0>(AttrSet(Geometry{tri}))), Geometry{quad})"},
    {"some passes of a shader", "Shader[passes=(ShaderPass{Material red}, ShaderPass)](Geometry{tri})", kUnchanged},
    {"a node with three parents in the graph",
     "Group(Group(AttrSet#s{Material red}(Geometry{tri})), Group(AttrSet#s), Group(AttrSet#s))",
     "AttrSet \"PromotedAttr\"{Material red}(Group(Group(AttrSet#1(Geometry{tri})), Group(AttrSet#1), "
     "Group(AttrSet#1)))"},
    {"twice below one group", "Group(AttrSet#s{Material red}(Geometry{tri}), AttrSet#s, Geometry{quad})",
     "Group(Geometry{quad}, AttrSet \"PromotedAttr\"{Material red}(AttrSet#1(Geometry{tri}), AttrSet#1))"},
};

} // namespace

TEST(kxPromoteAttrs, PromotesWhatAllChildrenShare)
{
    for (const OptimizationCase& c : kCases)
        expectOptimized("kxPromoteAttrs", {{"attributeType", "kxMaterialAttr"}}, c);
}

// What every pass sets is set once above the shader; the picture is judged pass by pass.
TEST(kxPromoteAttrs, PromotesOutOfAllPasses)
{
    TestRun run;
    auto promote = run.create<kxPromoteAttrs>();
    promote->_attributeType = kxMaterialAttr::staticMetaObject();
    NamedScene scene("Group(Shader[passes=(ShaderPass{Material red, State[state=\"fog\"]}, ShaderPass{Material red})]"
                     "(Geometry{tri}))");
    kxDrawList before, after;
    before.collect(scene.m_root);
    EXPECT_TRUE(promote->apply(scene.m_root));
    after.collect(scene.m_root);
    EXPECT_EQ(scene.print(), "AttrSet \"PromotedAttr\"{Material red}(Group(Shader[passes=(ShaderPass{State[state="
                             "\"fog\"]}, ShaderPass)](Geometry{tri})))");
    EXPECT_TRUE(kxPictureComparison().compare(before, after));
}

TEST(kxPromoteAttrs, RefusesInSilence)
{
    TestRun run;
    auto promote = run.create<kxPromoteAttrs>();
    EXPECT_FALSE(promote->configure(0));
    promote->_attributeType = kxMetaObject::find(kxStringRef("kxLightAttr"));
    EXPECT_FALSE(promote->configure(0));
    EXPECT_EQ(run.takeText(), "");
}

// A node with parents in another graph keeps its attribute until that graph has been promoted as well.
TEST(kxPromoteAttrs, WaitsForParentsInOtherGraphs)
{
    TestRun run;
    auto promote = run.create<kxPromoteAttrs>();
    promote->_attributeType = kxMaterialAttr::staticMetaObject();
    NamedScene scene("Group \"both\"(AttrSet \"a\"(AttrSet#s \"s\"{Material red}(Geometry{tri}), "
                     "AttrSet#t \"t\"{Material red}(Geometry{tri})), AttrSet \"b\"(AttrSet#s, AttrSet#t))");
    kxSmartPointer<kxNode> a = scene["a"], b = scene["b"];
    EXPECT_FALSE(promote->apply(a));
    EXPECT_EQ(run.takeText(), "kxPromoteAttrs: The graph optimized has 2 nodes instanced with parents outside of the "
                              "graph. Some attributes may not have been set or removed.\n");
    EXPECT_EQ(promote->_instantiatedNodes->getCount(), 2u);
    EXPECT_EQ(promote->_instantiatedNodes->get(0), scene["s"]);
    EXPECT_EQ(promote->_instantiatedNodeAttrs->getCount(), 2u);
    EXPECT_EQ(promote->_instantiatedNodeCounts->get(0), 1);

    EXPECT_TRUE(promote->apply(b));
    EXPECT_EQ(run.takeText(), "");
    EXPECT_EQ(promote->_instantiatedNodes->getCount(), 0u);
    EXPECT_EQ(scene.print(), "Group \"both\"(AttrSet \"a\"{Material#1 red}(AttrSet#1 \"s\"(Geometry{tri}), AttrSet#2 "
                             "\"t\"(Geometry{tri})), AttrSet \"b\"{Material#1}(AttrSet#1, AttrSet#2))");
}

// Over a whole file it is no failure that one scene leaves open what the next completes.
TEST(kxPromoteAttrs, ScenesOfOneFileShareNodes)
{
    TestRun run;
    auto promote = run.create<kxPromoteAttrs>();
    promote->_attributeType = kxMaterialAttr::staticMetaObject();
    NamedScene scene("Group \"both\"(AttrSet \"a\"(AttrSet#s \"s\"{Material red}(Geometry{tri})), "
                     "AttrSet \"b\"(AttrSet#s), AttrSet \"c\"(AttrSet#s))");
    for (const char* root : {"a", "b"})
    {
        const auto info = kxNew<kxSceneInfo>();
        info->setSceneGraph(scene[root]);
        run.getService()->_file->addInfo(info);
    }
    EXPECT_FALSE(promote->applyToInfos()) << "a parent in no scene is still open";
    const auto info = kxNew<kxSceneInfo>();
    info->setSceneGraph(scene["c"]);
    run.getService()->_file->addInfo(info);
    promote = run.create<kxPromoteAttrs>();
    promote->_attributeType = kxMaterialAttr::staticMetaObject();
    EXPECT_TRUE(promote->applyToInfos());
}

// A set that holds two values is reported once, contributes nothing, and does not stop the others.
TEST(kxPromoteAttrs, ReportsConflictsUntilToldNotTo)
{
    const char* text =
        "Group(AttrSet \"two\"{Material red, Material blue}(Geometry{tri}), AttrSet{Material red}(Geometry{tri}))";
    TestRun run;
    auto promote = run.create<kxPromoteAttrs>();
    promote->_attributeType = kxMaterialAttr::staticMetaObject();
    kxReportCollector reports;
    for (const char* expected : {"Attribute set two contains conflicting attributes\n",
                                 "Attribute set two contains conflicting attributes\n", ""})
    {
        NamedScene scene(text);
        const std::string before = scene.print();
        reports.m_errors.clear();
        EXPECT_TRUE(promote->apply(scene.m_root));
        EXPECT_EQ(reports.m_errors, expected);
        EXPECT_EQ(scene.print(), before);
        // The answer to the second report holds for the rest of the process.
        reports.m_answer =
            *expected && reports.m_answer == kxReport::CONTINUE ? kxReport::IGNORE_FROM_NOW_ON : reports.m_answer;
    }
}

} // namespace Kel::Opt
