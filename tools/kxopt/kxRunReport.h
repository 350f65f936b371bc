// The structured report of a run.
#pragma once

#include "tools/kxopt/kxParameters.h"
#include "tools/kxopt/kxSceneAmounts.h"

#include "opt/framework/kxOptBase.h"
#include "opt/framework/kxRunObserver.h"

#include <string>
#include <vector>

namespace Kel::Tool
{

/// Collects what each step did, and gives it as JSON; docs/report-schema.md says what stands in it.
class kxRunReport : public Opt::kxRunObserver
{
public:
    /// Changes with every change of the JSON that is more than an added key.
    static constexpr int kSchemaVersion = 1;

    struct Step
    {
        int number = 0;
        std::string name;
        Opt::kxStepOutcome outcome = Opt::kxStepOutcome::DONE;
        double seconds = 0;
        std::vector<kxParameter> settings;
        std::vector<Opt::kxOptBase::Counter> counters;
        std::vector<Opt::kxOptBase::Refusal> refusals;
    };
    /// What the report says about the run as a whole.
    struct Summary
    {
        std::string input;
        uint64_t inputBytes = 0;
        std::string script;
        std::string output; ///< empty when nothing was written
        uint64_t outputBytes = 0;
        std::string result; ///< "done", "failed" or "cancelled"
        kxSceneAmounts before, after;
    };

    void beforeRun(const Opt::kxRun& run) override;
    void beforeStep(const Opt::kxRunStep& step) override;
    void afterStep(const Opt::kxRunStep& step, Opt::kxStepOutcome outcome, double seconds) override;

    /// False when the driver refused the script.
    bool hasBegun() const { return m_begun; }
    const std::vector<Step>& getSteps() const { return m_steps; }
    std::string toJson(const Summary& summary) const;

private:
    bool m_begun = false;
    std::vector<Step> m_steps;
    std::vector<kxParameter> m_settings; // of the step that runs
};

} // namespace Kel::Tool
