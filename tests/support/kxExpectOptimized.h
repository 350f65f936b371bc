// Runs optimizations over scenes in text form, through the driver, and checks what is promised of every one.
#pragma once

#include "opt/framework/kxRunObserver.h"
#include "tests/support/kxTestScene.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Kel::Test
{

/// Keys of a script's section and their values.
using Settings = std::vector<std::pair<std::string, std::string>>;

/// For `after`: the scene stays as it was, down to the bytes of its native file.
inline constexpr const char* kUnchanged = nullptr;

/// What a row does not promise. Bits of `OptimizationCase::flags`.
enum CaseFlag : unsigned
{
    PICTURE_CHANGES = 1,    ///< what is drawn is not the same: attributes go, vertex data change
    SECOND_RUN_CHANGES = 2, ///< another run goes on where the first has stopped
    STEP_FAILS = 4,         ///< the driver reports the step as failed
    NOT_CONFIGURED = 8      ///< the optimization refuses its settings
};

struct OptimizationCase
{
    const char* what;   ///< names the row in failures
    const char* before; ///< scene in text form
    const char* after;  ///< scene in text form, labels as they like
    unsigned flags = 0;
};

/// What one step of a run said.
struct RunResult
{
    bool completed = false; ///< what the driver answered
    Opt::kxStepOutcome outcome = Opt::kxStepOutcome::DONE;
    std::string report; ///< text of the run
    std::string errors; ///< lines of the error and warning facility
    std::map<std::string, int64_t> counters;
    std::map<std::string, int64_t> refusals;
};

/// Runs one optimization over a scene, which it changes. The result tells of that step.
RunResult runOptimization(TestScene& scene, const std::string& className, const Settings& settings);
/// Runs a whole script over a scene; outcome and counters are those of the last step.
RunResult runScript(TestScene& scene, const std::string& script);

/// Runs an optimization over `before` and expects `after`; what the flags do not take back is checked as well: the step is
/// done, the same picture, a second run that changes nothing, parents and children that agree, the same scene from a native
/// file, no object left alive. Gives what the first run said.
RunResult expectOptimized(const std::string& className, const Settings& settings, const OptimizationCase& testCase);

} // namespace Kel::Test
