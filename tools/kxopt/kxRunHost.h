// What the command brings to a run: cancelling with Ctrl-C, and progress.
#pragma once

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxRunObserver.h"

#include <string>

namespace Kel::Tool
{

/// From the first on, Ctrl-C asks the run to cancel; a second one ends the process as it always does.
void catchInterrupt();
bool wasInterrupted();

/// The optimizer service of the command. Shows on a terminal how far the run has come.
class kxRunHost : public Opt::kxOptInterface, public Opt::kxRunObserver
{
public:
    bool getOptCancelState() override { return wasInterrupted(); }
    void setOptStatus(int done, int total) override;
    void setOptStatusTitle(Core::kxStringRef title) override;

    void beforeStep(const Opt::kxRunStep& step) override;
    void afterStep(const Opt::kxRunStep& step, Opt::kxStepOutcome outcome, double seconds) override;

private:
    void show(double stepFraction) const;

    int m_step = 0;
    int m_stepCount = 0;
    std::string m_name;
    std::string m_title;
};

} // namespace Kel::Tool
