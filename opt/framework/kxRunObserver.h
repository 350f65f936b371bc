// What hangs around the driver's loop: reports, progress, verification.
#pragma once

#include "opt/framework/kxOptNames.h"
#include "platform/core/kxInfo.h"

namespace Kel::Opt
{

/// How a step of a run ended.
enum class kxStepOutcome
{
    DONE,
    FAILED,
    NOT_CONFIGURED,  ///< the optimization refused its settings
    SKIPPED_UNKNOWN, ///< no optimization has that name
    NO_NAME,         ///< the section names no optimization
    CANCELLED        ///< the optimization gave up because the run was cancelled
};

/// "done", "failed", "not configured", "unknown", "no name", "cancelled".
const char* getOutcomeName(kxStepOutcome outcome);

struct kxRun
{
    kxOptManager& manager;
    kxInfo* info;  ///< what the run works on; null for every info of the loaded file
    int stepCount; ///< number of sections that the script announces
};

/// One section of the script.
struct kxRunStep
{
    int number;    ///< n of [OPTIMIZATIONn]
    int stepCount; ///< number of sections that the script announces
    kxStringRef name;
    int section;             ///< index of the section in the script
    kxOptBase* optimization; ///< with its settings and counters; null where none could be made
};

/// Watches a run. Observers are called in the order in which they were added; they do not own the manager, nor it them.
/// The driver prints its report as if there were none.
class kxRunObserver
{
public:
    virtual ~kxRunObserver();

    /// Behind the settings of the script, before anything is done to the scene.
    virtual void beforeRun(const kxRun& run);
    /// Right before a configured optimization is applied.
    virtual void beforeStep(const kxRunStep& step);
    /// Once for every section found, applied or not; `seconds` is the time of applying.
    virtual void afterStep(const kxRunStep& step, kxStepOutcome outcome, double seconds);
    /// Not called when the script was refused before `beforeRun`. `completed` is false for a cancelled run.
    virtual void afterRun(const kxRun& run, bool completed);
};

} // namespace Kel::Opt
