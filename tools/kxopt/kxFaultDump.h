// Keeps what is needed to see a fault again.
#pragma once

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxRunObserver.h"
#include "opt/verify/kxVerifyObserver.h"

#include <string>

namespace Kel::Tool
{

/// Writes, before each step, the scene as it is and a script of that one step into a folder, and takes both away again
/// when the step succeeds. When it fails, or the process crashes in it, they stay, and the command that shows the fault
/// again is printed to standard error.
///
/// Cost: the scene is written once for each step.
class kxFaultDump : public Opt::kxRunObserver
{
public:
    /// `service` holds the scene and outlives this.
    kxFaultDump(std::string folder, Opt::kxOptInterface& service);
    ~kxFaultDump() override;

    /// Keeps what belongs to a step that changed the picture, too. The verifier comes before this among the observers.
    void watch(const Opt::kxVerifyObserver* verifier) { m_verifier = verifier; }

    /// Makes the folder where it is missing. False, after an error line, when nothing can be written there.
    bool prepare();

    void beforeRun(const Opt::kxRun& run) override;
    void beforeStep(const Opt::kxRunStep& step) override;
    void afterStep(const Opt::kxRunStep& step, Opt::kxStepOutcome outcome, double seconds) override;

private:
    std::string makeScript(const Opt::kxRunStep& step) const;
    void removeFiles();

    std::string m_folder;
    Opt::kxOptInterface& m_service;
    const Opt::kxVerifyObserver* m_verifier = nullptr;
    Core::kxRegistry* m_script = nullptr; // of the run; its driver holds it
    std::string m_scenePath;              // of the step that runs; empty when nothing was written for it
    std::string m_scriptPath;
    std::string m_command;
};

} // namespace Kel::Tool
