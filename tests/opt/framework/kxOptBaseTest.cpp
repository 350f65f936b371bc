#include "tests/opt/framework/testOptimizations.h"
#include "tests/opt/testRun.h"

#include "opt/items/kxItemInterface.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxLockInterface.h"
#include "opt/tracking/kxMessageInterface.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxSegment.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{

namespace
{

constexpr const char* kSegmentText = "The optimization doesn't support kxSegment\n";
constexpr const char* kDynamicText = "The optimization doesn't support the IS_DYNAMIC flag\n";

kxSmartPointer<kxSceneInfo> sceneOf(kxNode* root)
{
    auto info = kxNew<kxSceneInfo>();
    info->setSceneGraph(root);
    return info;
}

} // namespace

TEST(kxOptBase, RefusesGraphsBySegmentAndDynamicNodes)
{
    struct Row
    {
        const char* scene;
        const char* text;
        bool hasSegment;
        bool hasDynamic;
    };
    const Row rows[] = {
        {"null", "", false, false},
        {"Group(Group^, null, Geometry)", "", false, false},
        {"Group(Group, Segment(Group~))", kSegmentText, true, true},
        {"Group(Group~, Segment)", kDynamicText, true, true},
        {"Segment~", kSegmentText, true, true},
        {"Group(null, Transform(null, Geometry~))", kDynamicText, false, true},
        // Met by two paths, named once.
        {"Group(Group(Group#1(Segment#2)), Group#1)", kSegmentText, true, false},
    };
    TestRun run;
    registerTestOptimizations();
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.scene);
        const NamedScene scene(row.scene);
        const auto step = run.create<kxTestStep>();
        EXPECT_EQ(step->canOptimize(scene.m_root.get()), *row.text == '\0');
        EXPECT_EQ(run.takeText(), row.text);
        EXPECT_EQ(step->hasSegmentNode(scene.m_root), row.hasSegment);
        EXPECT_EQ(step->hasDynamicNode(scene.m_root), row.hasDynamic);
        EXPECT_EQ(run.takeText(), "");

        // The same through a scene, which stays untouched when it is refused.
        const auto info = sceneOf(scene.m_root);
        step->_newRoot = "new";
        EXPECT_EQ(step->applyInfo(info), *row.text == '\0');
        EXPECT_EQ(info->getSceneGraph() == scene.m_root.get(), *row.text != '\0');
        run.takeText();
    }
}

TEST(kxOptBase, AnswersForEachTypeOfInfo)
{
    TestRun run;
    registerTestOptimizations();
    const auto step = run.create<kxTestStep>();
    const auto pumps = kxNew<kxDataPumpInfo>();
    EXPECT_FALSE(step->canOptimize(pumps.get()));
    EXPECT_FALSE(step->applyInfo(pumps));
    EXPECT_FALSE(step->canOptimize(static_cast<kxInfo*>(nullptr)));

    // What apply left is stored back, also after a failure; a database never fails.
    const auto database = kxNew<kxAnimationDatabase>();
    for (const char* text : {"Group\"a\"", "Segment\"b\"", "Group\"c\""})
    {
        auto skin = kxNew<kxSkin>();
        skin->setSkinnedGraph(NamedScene(text).m_root);
        database->getSkinList()->append(skin);
        database->getSkinList()->append(nullptr); // of a class that is not there
    }
    step->_succeeds = false;
    step->_newRoot = "new";
    EXPECT_TRUE(step->canOptimize(database.get()));
    EXPECT_TRUE(step->applyInfo(database));
    EXPECT_EQ(run.takeText(), std::string("\t\tapplied to a\n") + kSegmentText + "\t\tapplied to c\n");
    std::string names;
    for (const kxSkin* skin : *database->getSkinList())
        names += skin ? skin->getSkinnedGraph()->getName().str() + " " : "";
    EXPECT_EQ(names, "new b new ");
}

TEST(kxOptBase, AppliesToTheEnabledInfosOfTheFile)
{
    TestRun run;
    registerTestOptimizations();
    const auto step = run.create<kxTestStep>();
    EXPECT_TRUE(step->applyToInfos());
    kxSmartPointer<kxSceneInfo> scenes[3];
    for (int i = 0; i < 3; ++i)
    {
        scenes[i] = sceneOf(NamedScene(i == 1 ? "Segment" : "Group\"g\"").m_root);
        run.getService()->_file->addInfo(scenes[i]);
    }
    run.getService()->_file->addInfo(kxNew<kxDataPumpInfo>());

    // One that cannot be optimized is skipped and fails nothing.
    EXPECT_TRUE(step->applyToInfos());
    EXPECT_EQ(run.takeText(), std::string("\t\tapplied to g\n") + kSegmentText + "\t\tapplied to g\n");
    step->_succeeds = false;
    EXPECT_FALSE(step->applyToInfos());
    EXPECT_EQ(run.takeText(), std::string("\t\tapplied to g\n") + kSegmentText + "\t\tapplied to g\n");
    for (const auto& scene : scenes)
        run.getService()->disableInfo(scene);
    EXPECT_TRUE(step->applyToInfos());
    EXPECT_EQ(run.takeText(), "");
}

TEST(kxOptBase, ConfiguresFieldsOfEachKind)
{
    struct Row
    {
        const char* lines;
        const char* echo;
        const char* field;
        const char* value;
        const char* warning = "";
        const char* standardOutput = "";
    };
    const Row rows[] = {
        {"", "", "_count", "7"},
        {"_count = -3", "(_count:-3) \n", "_count", "-3"},
        {"count = 0x10", "(count:16) \n", "_count", "16"},
        {"count = 1\n_count = 2", "(_count:2) \n", "_count", "2"},
        {"_count = x\ncount = 4", "(count:4) \n", "_count", "4",
         "script.ini:2: _count = x in section [S] is not an integer of 32 bits\n"},
        {"level = 2", "(level:2) \n", "_level", "LEVEL2"},
        {"_level = LEVEL2", "(_level:2) \n", "_level", "LEVEL2"},
        {"level = 12", "(level:12) \n", "_level", "12"},
        {"level = High", "", "_level", "LEVEL1",
         "script.ini:2: level = High in section [S] is none of LEVEL1, LEVEL2\n"},
        {"level = 2x", "", "_level", "LEVEL1",
         "script.ini:2: level = 2x in section [S] is not an integer of 32 bits\n"},
        {"size = 9", "(size:9) \n", "_size", "9"},
        {"size = 0", "(size:0) \n", "_size", "0"},
        {"size = -1", "(size:-1) \n", "_size", "4294967295", "", "(size:-1 skipped: not >0!) "},
        {"ratio = 0.25", "(ratio:0.250000) \n", "_ratio", "0.25"},
        {"flag = YES", "(flag:true) \n", "_flag", "true"},
        {"_flag = 0", "(_flag:false) \n", "_flag", "false"},
        {"text = \" a ; b\"", "(text: a ; b) \n", "_text", " a ; b"},
        {"text =", "(text:) \n", "_text", ""},
        {"type = kxGeometry", "(type:kxGeometry) \n", "_type", "kxGeometry"},
        {"type = kxGeometri", "(type:kxGeometri not found) ", "_type", "null"},
        {"plain = 5", "(plain:5) \n", "plain", "5"},
        {"_plain = 5", "", "plain", "0"},
        {"wide = 5\nvector = 1 2 3\nobject = kxNode", "", "_wide", "1"},
        // In the order of the fields, on one line.
        {"text = t\nsize = 1\n_count = 2", "(_count:2) (size:1) (text:t) \n", "_count", "2"},
    };
    TestRun run;
    registerTestOptimizations();
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.lines);
        const kxReportCollector reports;
        const auto settings = run.create<kxTestSettings>();
        settings->setRegistry(TestRun::parseScript((std::string("[S]\n") + row.lines).c_str()));
        testing::internal::CaptureStdout();
        EXPECT_TRUE(settings->autoConfigure(settings->getRegistry()->findSection("S")));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.standardOutput);
        EXPECT_EQ(run.takeText(), row.echo);
        EXPECT_EQ(reports.m_warnings, row.warning);
        const kxMetaField* field = settings->getMetaObject()->findField(row.field);
        EXPECT_EQ(field->valueToText(field->getAddress(static_cast<const kxObject*>(settings))), row.value);
    }
}

TEST(kxOptBase, CollectsCountersAndRefusals)
{
    registerTestOptimizations();
    const auto step = kxNew<kxTestStep>();
    step->count("b", 2);
    step->count("a");
    step->count("b");
    const NamedScene scene("Group\"house\"");
    for (int i = 0; i < 9; ++i)
        step->refuse("locked", i == 0 ? nullptr : scene.m_root.get());
    ASSERT_EQ(step->getCounters().size(), 2u);
    EXPECT_EQ(step->getCounters()[0].name, "b");
    EXPECT_EQ(step->getCounters()[0].value, 3);
    EXPECT_EQ(step->getCounters()[1].value, 1);
    ASSERT_EQ(step->getRefusals().size(), 1u);
    EXPECT_EQ(step->getRefusals()[0].count, 9);
    EXPECT_EQ(step->getRefusals()[0].examples, std::vector<std::string>(kxOptBase::kMaxExamples, "kxGroup \"house\""));

    // Printing without services does no harm.
    kxSmartPointer<kxNode> root = scene.m_root;
    EXPECT_TRUE(step->apply(root));
    EXPECT_EQ(step->printf("text"), -1);
    EXPECT_FALSE(step->fflush(stdout));
}

TEST(kxManager, WiresServicesAndEndsThem)
{
    registerTestOptimizations();
    const size_t before = kxObject::getLiveCount();
    {
        TestRun run(kxNew<kxTestService>());
        const auto step = run.create<kxTestStep>();
        const kxInterfaced* service = run.getService();
        EXPECT_EQ(step->_optInterface.get(), service);
        EXPECT_EQ(service->_optInterface.get(), service);
        EXPECT_EQ(service->_lockInterface, run.m_manager->_lockInterface);
        EXPECT_TRUE(step->_itemInterface && step->_listenerInterface && step->_messageInterface);
        EXPECT_EQ(run.getService()->createOptBase(kxTestStep::staticMetaObject())->_logInterface.get(), run.getLog());

        step->setSilent();
        EXPECT_EQ(step->printf("unheard"), -1);
        step->setVerbose();
        EXPECT_EQ(step->printf("%d %s", 12, "ab"), 5);
        EXPECT_EQ(run.takeText(), "12 ab");
        run.getLog()->setSink(nullptr, nullptr);
        testing::internal::CaptureStdout();
        EXPECT_EQ(step->printf("to %s", "standard output"), 18);
        EXPECT_TRUE(step->fflush(stdout));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output");

        // A null reference is handed on as well.
        run.m_manager->_lockInterface = nullptr;
        run.m_manager->setup(step);
        EXPECT_FALSE(step->_lockInterface);
    }
    EXPECT_EQ(kxObject::getLiveCount(), before);
}

} // namespace Kel::Opt
