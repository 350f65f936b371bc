#include "tests/opt/framework/testOptimizations.h"
#include "tests/opt/testRun.h"
#include "tests/support/kxGolden.h"

#include "opt/framework/kxUnreadKeys.h"
#include "opt/tracking/kxMessageInterface.h"
#include "platform/core/kxPlugInRepository.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Kel::Opt
{

namespace
{

constexpr const char* kRow = "************************************************************\n";

/// Runs a script over a graph and gives the report.
struct Result
{
    bool succeeded;
    std::string report;
    std::string scene;
};

Result runScript(const char* script, const char* scene, kxRunObserver* observer = nullptr)
{
    registerTestOptimizations();
    TestRun run(kxNew<kxTestService>());
    NamedScene graph(scene);
    const auto driver = run.createDriver(script);
    if (observer)
        driver->addObserver(observer);
    run.getLog()->_verbose = false; // as a fresh log is
    const bool succeeded = driver->apply(graph.m_root);
    return {succeeded, run.takeText(), graph.print()};
}

/// Notes what it is told.
class NotingObserver : public kxRunObserver
{
public:
    void beforeRun(const kxRun& run) override
    {
        m_notes += kxFormat("run of %d%s\n", run.stepCount, run.info ? "" : " over the file");
    }
    void beforeStep(const kxRunStep& step) override
    {
        m_notes += kxFormat("before %d/%d %s\n", step.number, step.stepCount, step.optimization->getTypeName());
    }
    void afterStep(const kxRunStep& step, kxStepOutcome outcome, double seconds) override
    {
        m_notes +=
            kxFormat("after %d %s: %s, %.0f s, counters %d\n", step.number, step.name.c_str(), getOutcomeName(outcome),
                     seconds, step.optimization ? static_cast<int>(step.optimization->getCounters().size()) : -1);
    }
    void afterRun(const kxRun&, bool completed) override { m_notes += completed ? "completed\n" : "cancelled\n"; }

    std::string m_notes;
};

} // namespace

TEST(kxOptManager, RefusesScriptsThatItCannotRun)
{
    struct Row
    {
        const char* script; // null: none
        const char* report;
    };
    const Row rows[] = {
        {nullptr, "\nThere is no registry file for the optimization\n"},
        {"optimizationCount = 1\n[OPTIMIZATION1]\nname = kxTestStep",
         "\nThere is no section in the registry file for the optimization\n"
         "Check the optimization script or your Veltrin.ini file\n"
         "(if no script is specified, you should have an Veltrin.ini in your current directory\n"},
        {"[OPTIMIZE]\nconf = x", "\nThere is no optimization count entry in the registry file\n"
                                 "you should have in you veltrin.ini\n[OPTIMIZE]\noptimizationCount = 0\n"},
        {"[OPTIMIZE]\noptimizationCount = two",
         "\nThere is no optimization count entry in the registry file\n"
         "you should have in you veltrin.ini\n[OPTIMIZE]\noptimizationCount = 0\n"},
        {"[OPTIMIZE]\noptimizationCount = -1", "The number of optimization is negative\n"},
        // Silent, but for the script that is none.
        {"[OPTIMIZE]\noptimizationCount = -1\nverbose = false", ""},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.script ? row.script : "no script");
        const kxReportCollector reports;
        TestRun run;
        NotingObserver observer;
        const auto driver = run.createDriver(row.script ? row.script : "");
        if (!row.script)
            driver->setRegistry(nullptr);
        driver->addObserver(&observer);
        run.getLog()->_verbose = false;
        EXPECT_FALSE(driver->apply(nullptr));
        EXPECT_EQ(run.takeText(), row.report);
        EXPECT_EQ(observer.m_notes, "");
    }
}

// The whole report of a run with every outcome of a step and everything that a script can ask for, and what observers hear.
TEST(kxOptManager, PrintsTheReport)
{
    const char* script = R"([OPTIMIZE]
optimizationCount = 9
stats = true ; which also enables them
[OPTIMIZATION1]
name = kxTestStep
newRoot = fresh ; replaces the graph
[OPTIMIZATION3] ; there is no second
name = kxTestStep
succeeds = false
_newRoot = null
[OPTIMIZATION4]
name = kxNotThereAndLongerThanItsColumn
[OPTIMIZATION5]
Name = kxTestStep
[OPTIMIZATION6]
name = kxTestSettings
level = LEVEL2
size = 12
type = kxGeometry
flag = 1
[OPTIMIZATION7]
name = kxTestStep
configures = false
[OPTIMIZATION8]
name = kxteststep
[OPTIMIZATION9]
name = kxOptBase ; known, but nothing can be made of it
)";
    NotingObserver observer;
    const Result result = runScript(
        script, "Group\"town\"(Transform#1\"house\"(Geometry{tri, Material red}), Group\"copy\"(Transform#1), null)",
        &observer);
    EXPECT_TRUE(result.succeeded) << "steps that fail do not fail the run";
    EXPECT_EQ(result.scene, "null");
    Kel::Test::expectGolden("framework/report.txt", result.report);
    EXPECT_EQ(observer.m_notes, "run of 9\n"
                                "before 1/9 kxTestStep\n"
                                "after 1 kxTestStep: done, 0 s, counters 1\n"
                                "before 3/9 kxTestStep\n"
                                "after 3 kxTestStep: failed, 0 s, counters 1\n"
                                "after 4 kxNotThereAndLongerThanItsColumn: unknown, 0 s, counters -1\n"
                                "after 5 : no name, 0 s, counters -1\n"
                                "before 6/9 kxTestSettings\n"
                                "after 6 kxTestSettings: done, 0 s, counters 0\n"
                                "after 7 kxTestStep: not configured, 0 s, counters 0\n"
                                "after 8 kxteststep: unknown, 0 s, counters -1\n"
                                "after 9 kxOptBase: unknown, 0 s, counters -1\n"
                                "completed\n");
}

TEST(kxOptManager, RunsOnlyWhatTheScriptCounts)
{
    const char* step = "[OPTIMIZATION1]\nname = kxTestStep\n[OPTIMIZATION2]\nname = kxTestStep\n";
    EXPECT_EQ(runScript((std::string("[OPTIMIZE]\noptimizationCount = 0\n") + step).c_str(), "Group").report, "");
    const std::string silent = std::string("[OPTIMIZE]\noptimizationCount = 2\nverbose = no\nstats = yes\n") + step;
    NotingObserver observer;
    EXPECT_EQ(runScript(silent.c_str(), "Group", &observer).report, "");
    EXPECT_EQ(observer.m_notes, "run of 2\nbefore 1/2 kxTestStep\nafter 1 kxTestStep: done, 0 s, counters 1\n"
                                "before 2/2 kxTestStep\nafter 2 kxTestStep: done, 0 s, counters 1\ncompleted\n");

    // Silence takes the driver's statistics away, not a step that the script names.
    NotingObserver statistics;
    const char* script = "[OPTIMIZE]\noptimizationCount = 1\nverbose = no\nstats = yes\n[OPTIMIZATION1]\n"
                         "name = kxStatistics\n";
    EXPECT_EQ(runScript(script, "Group", &statistics).report, "");
    EXPECT_NE(statistics.m_notes.find("kxStatistics: done"), std::string::npos) << statistics.m_notes;
}

TEST(kxOptManager, ChecksTheHierarchyUnlessToldNotTo)
{
    const char* message = "The node b is not present in the the list of children of its parent c\n\terror recovered.\n";
    for (const char* check : {"true", "false"})
    {
        SCOPED_TRACE(check);
        registerTestOptimizations();
        TestRun run;
        NamedScene scene("Group\"a\"(Group\"b\", Group\"c\")");
        scene["b"]->_parentList->append(scene["c"]);
        const auto driver =
            run.createDriver((std::string("[OPTIMIZE]\noptimizationCount = 0\nhierarchyCheck = ") + check).c_str());
        EXPECT_TRUE(driver->apply(scene.m_root));
        const bool checked = *check == 't';
        EXPECT_EQ(run.takeText(), kxFormat("(hierarchyCheck:%s) \n%s", check, checked ? message : ""));
        EXPECT_EQ(scene["b"]->getParentCount(), checked ? 1u : 2u);
    }
}

TEST(kxOptManager, StopsWhenTheRunIsCancelled)
{
    const std::string banner =
        std::string(kRow) + "*                             CANCEL                       *\n" + kRow + "\n";
    const std::string head = "[OPTIMIZE]\noptimizationCount = 2\n[OPTIMIZATION2]\nname = kxTestStep\n";
    NotingObserver observer;
    Result result = runScript((head + "[OPTIMIZATION1]\nname = kxTestStep\ncancels = 1\nsucceeds = 0\n").c_str(),
                              "Group\"g\"", &observer);
    EXPECT_FALSE(result.succeeded);
    EXPECT_TRUE(result.report.ends_with("\t\tfailed\n\t\tcompleted in 0.0 s\n" + std::string(kRow) + "\n" + banner))
        << result.report;
    EXPECT_EQ(observer.m_notes, "run of 2\nbefore 1/2 kxTestStep\n"
                                "after 1 kxTestStep: cancelled, 0 s, counters 1\ncancelled\n");
    EXPECT_EQ(result.scene, "Group \"g\"");

    // Behind the last step too.
    result = runScript((head + "cancels = 1\n").c_str(), "Group\"g\"");
    EXPECT_FALSE(result.succeeded);
    EXPECT_TRUE(result.report.ends_with(std::string(kRow) + "\n" + banner));
}

TEST(kxOptManager, TakesConfigurationsFromTheScript)
{
    struct Row
    {
        const char* run;
        const char* step;
        const char* runType;
        const char* stepType;
    };
    const Row rows[] = {
        {"", "", "kxOptConfiguration", "kxOptConfiguration"},
        {"conf = kxTestConfiguration", "", "kxTestConfiguration", "kxTestConfiguration"},
        {"", "conf = kxTestConfiguration", "kxOptConfiguration", "kxTestConfiguration"},
        {"conf = kxTestStep", "conf = kxNowhere", "kxOptConfiguration", "kxOptConfiguration"},
    };
    struct Observer : kxRunObserver
    {
        void beforeStep(const kxRunStep& step) override
        {
            m_type = step.optimization->getConfiguration()->getTypeName();
            m_pool = &step.optimization->getCreationMemoryPool();
        }
        std::string m_type;
        const kxMemoryPool* m_pool = nullptr;
    };
    registerTestOptimizations();
    for (const Row& row : rows)
    {
        Observer observer;
        TestRun run;
        const auto driver = run.createDriver(kxFormat("[OPTIMIZE]\noptimizationCount = 1\n%s\n[OPTIMIZATION1]\n"
                                                      "name = kxTestStep\n%s\n",
                                                      row.run, row.step)
                                                 .c_str());
        driver->addObserver(&observer);
        run.m_manager->_messageInterface->getMessageList()->append(driver);
        EXPECT_TRUE(driver->apply(nullptr));
        EXPECT_EQ(driver->_configuration->getTypeName(), std::string(row.runType));
        EXPECT_EQ(observer.m_type, row.stepType);
        EXPECT_EQ(observer.m_pool, &kxMemoryPool::getDefault());
        EXPECT_TRUE(run.m_manager->_messageInterface->getMessageList()->isEmpty());
    }
}

TEST(kxOptManager, NamesKeysThatNobodyReads)
{
    const char* script = R"([OPTIMIZE]
optimizationCount = 5
hierarchycheck = true
[OPTIMIZATION1]
name = kxTestSettings
_cuont = 1
count = 2
_count = 3
wide = 4
[OPTIMIZATION2]
name = kxTestSetings
count = 1
[OPTIMIZATION3]
names = kxTestStep
[OPTIMIZATION6]
name = kxTestStep
[VIEWER]
size = 1
colour = 2
)";
    const char* rest = "script.ini:13: nothing reads section [OPTIMIZATION3]\n"
                       "script.ini:15: nothing reads section [OPTIMIZATION6]\n"
                       "script.ini:17: nothing reads section [VIEWER]\n";
    const char* warnings = "script.ini:3: kxOptManager has no setting hierarchycheck; did you mean hierarchyCheck?\n"
                           "script.ini:6: kxTestSettings has no setting _cuont; did you mean count?\n"
                           "script.ini:7: count has no effect: _count in section [OPTIMIZATION1] counts\n"
                           "script.ini:9: kxTestSettings has no setting wide; did you mean size?\n"
                           "script.ini:11: no optimization is called kxTestSetings; did you mean kxTestSettings?\n";
    {
        const kxReportCollector reports;
        kxUnreadKeyObserver observer;
        runScript(script, "Group", &observer);
        EXPECT_EQ(reports.m_warnings, std::string(warnings) + rest);
    }
    // What a cancelled run did not come to is no mistake.
    const kxReportCollector reports;
    kxUnreadKeyObserver observer;
    runScript("[OPTIMIZE]\noptimizationCount = 2\n[OPTIMIZATION1]\nname = kxTestStep\ncancels = 1\ncancel = 1\n"
              "[OPTIMIZATION2]\nname = kxTestStep\n",
              "Group", &observer);
    EXPECT_EQ(reports.m_warnings, "script.ini:6: kxTestStep has no setting cancel; did you mean cancels?\n");
}

TEST(kxOptManager, RunsOptimizationsOfPlugIns)
{
    registerTestOptimizations();
    kxPlugInRepository::get().addRepository("Test", KXOPT_BINARY_DIR "/plugins/optimizations");
    const Result result = runScript("[OPTIMIZE]\noptimizationCount = 1\n[OPTIMIZATION1]\nname = kxNameNodes\n"
                                    "prefix = Town\nnodeType = kxGroup\nexactType = false\n",
                                    "Group(Transform(Geometry, Group\"kept\"), Transform)");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.scene, "Group \"TownGroup1\"(Transform \"TownTransform1\"(Geometry \"TownGeometry1\", "
                            "Group \"kept\"), Transform \"TownTransform2\")");
}

TEST(kxOptManager, LoadsAndWritesFiles)
{
    registerTestOptimizations();
    const std::string folder = testing::TempDir() + "kxOptManagerTest/";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    TestRun run;
    auto info = kxNew<kxSceneInfo>();
    info->setName("main");
    info->setSceneGraph(NamedScene("Group\"g\"(Geometry{tri})").m_root);
    run.getService()->_file->addInfo(info);
    const auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 1\nnoWrite = true\n[OPTIMIZATION1]\n"
                                         "name = kxTestStep\nnewRoot = fresh\n");
    const std::string path = folder + "scene.kxb";
    EXPECT_EQ(driver->writeFile(path.c_str()), kSuccess);

    // Over every info of the file; then nothing is written, as the script says.
    EXPECT_TRUE(driver->apply(nullptr));
    EXPECT_EQ(driver->writeFile((folder + "other.kxb").c_str()), kSuccess);
    EXPECT_FALSE(std::filesystem::exists(folder + "other.kxb"));

    TestRun again;
    {
        const kxReportCollector reports;
        EXPECT_FALSE(again.createDriver("")->loadFile((folder + "missing.kxb").c_str()));
    }
    EXPECT_TRUE(again.createDriver("")->loadFile(path.c_str()));
    EXPECT_EQ(again.getService()->_filePath, kxStringRef(path));
    ASSERT_EQ(again.getService()->getInfos()->getCount(), 1u);
    const auto* loaded = kxCast<kxSceneInfo>(again.getService()->getInfos()->get(0));
    EXPECT_EQ(loaded->getName(), kxStringRef("main"));
    EXPECT_EQ(Kel::Test::printScene(loaded->getSceneGraph()), "Group \"g\"(Geometry{tri})");
    EXPECT_TRUE(loaded->_cameraList);

    // A bare graph becomes a scene of its own.
    const NamedScene bare("Group\"bare\"");
    EXPECT_EQ(TestRun().getService()->writeFile(bare.m_root, path.c_str(), false), kSuccess);
    std::filesystem::remove_all(folder);
}

} // namespace Kel::Opt
