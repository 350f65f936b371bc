#include "tests/support/kxExpectOptimized.h"

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptManager.h"
#include "platform/core/kxReport.h"
#include "tests/support/kxPlainDrawList.h"

#include <gtest/gtest.h>

namespace Kel::Test
{

using namespace Kel::Opt;

namespace
{

class ResultObserver : public kxRunObserver
{
public:
    explicit ResultObserver(RunResult& result) : m_result(result) {}

    void afterStep(const kxRunStep& step, kxStepOutcome outcome, double) override
    {
        m_result.outcome = outcome;
        m_result.counters.clear();
        m_result.refusals.clear();
        if (!step.optimization)
            return;
        for (const kxOptBase::Counter& counter : step.optimization->getCounters())
            m_result.counters[counter.name] = counter.value;
        for (const kxOptBase::Refusal& refusal : step.optimization->getRefusals())
            m_result.refusals[refusal.reason] = refusal.count;
    }

private:
    RunResult& m_result;
};

RunResult run(TestScene& scene, kxRegistry* script)
{
    RunResult result;
    kxReportCollector reports;
    ResultObserver observer(result);
    const auto services = kxNew<kxDefaultManager>();
    services->_optInterface->_file = scene.asFile();
    services->_logInterface->setSink([](const char* text, size_t length, void* report)
                                     { static_cast<std::string*>(report)->append(text, length); },
                                     &result.report);
    const auto driver = kxNew<kxOptManager>();
    services->setup(driver);
    driver->setRegistry(script);
    driver->addObserver(&observer);
    result.completed = driver->apply(static_cast<kxInfo*>(nullptr));
    driver->removeObserver(&observer);
    result.errors = reports.m_errors + reports.m_warnings;
    return result;
}

// One pass over a row. Everything that it makes goes with it.
RunResult runCase(const std::string& className, const Settings& settings, const OptimizationCase& testCase)
{
    TestScene scene = parseScene(testCase.before);
    const std::string before = printScene(scene);
    const std::string bytesBefore = testCase.after == kUnchanged ? sceneBytes(scene) : std::string();
    const std::vector<PlainDraw> drawsBefore = drawList(scene.root());

    RunResult result = runOptimization(scene, className, settings);

    const kxStepOutcome outcome = testCase.flags & STEP_FAILS       ? kxStepOutcome::FAILED
                                  : testCase.flags & NOT_CONFIGURED ? kxStepOutcome::NOT_CONFIGURED
                                                                    : kxStepOutcome::DONE;
    EXPECT_EQ(getOutcomeName(result.outcome), std::string(getOutcomeName(outcome))) << result.report;
    EXPECT_EQ(result.errors, "");
    const std::string after = printScene(scene);
    EXPECT_EQ(after, testCase.after == kUnchanged ? before : normalizeScene(testCase.after))
        << "from " << before << "\n"
        << result.report;
    if (testCase.after == kUnchanged && after == before)
    {
        EXPECT_TRUE(sceneBytes(scene) == bytesBefore) << "the text is the same, the native file is not";
    }
    EXPECT_EQ(findLinkFaults(scene.root()), "");
    if (!(testCase.flags & PICTURE_CHANGES))
    {
        EXPECT_EQ(compareDrawLists(drawsBefore, drawList(scene.root())), "") << "the picture has changed";
    }
    EXPECT_EQ(printScene(reloadScene(scene)), after) << "the native file does not give the scene back";
    if (!(testCase.flags & (SECOND_RUN_CHANGES | STEP_FAILS | NOT_CONFIGURED)))
    {
        runOptimization(scene, className, settings);
        EXPECT_EQ(printScene(scene), after) << "a second run changes the scene";
    }
    return result;
}

} // namespace

RunResult runOptimization(TestScene& scene, const std::string& className, const Settings& settings)
{
    auto script = kxNew<kxRegistry>();
    script->setValue("OPTIMIZE", "optimizationCount", "1");
    script->setValue("OPTIMIZE", "hierarchyCheck", "false"); // it would mend links that the optimization has broken
    script->setValue("OPTIMIZATION1", "name", className);
    for (const auto& [key, value] : settings)
        EXPECT_TRUE(script->setValue("OPTIMIZATION1", key, value)) << key << " = " << value;
    return run(scene, script);
}

RunResult runScript(TestScene& scene, const std::string& script)
{
    auto registry = kxNew<kxRegistry>();
    registry->loadText(script, "test.ini");
    return run(scene, registry);
}

RunResult expectOptimized(const std::string& className, const Settings& settings, const OptimizationCase& testCase)
{
    const testing::ScopedTrace trace(__FILE__, __LINE__, className + ": " + testCase.what);
    size_t alive = kxObject::getLiveCount();
    RunResult result = runCase(className, settings, testCase);
    // What a first run makes and keeps for the process is made once; only what each run leaves behind is lost.
    if (kxObject::getLiveCount() != alive && !testing::Test::HasFailure())
    {
        alive = kxObject::getLiveCount();
        runCase(className, settings, testCase);
        EXPECT_EQ(kxObject::getLiveCount(), alive) << "objects are left alive";
    }
    return result;
}

} // namespace Kel::Test
