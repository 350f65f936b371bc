// A small host: loads a scene, runs a script over it under its own control, and writes the result.
//
//   kxExampleHost SCENE SCRIPT RESULT [STEPS]
//
// Standard output says how each step ended. With STEPS the host asks, while that step runs, to stop, as a user who has seen
// enough would; the steps behind it do not run, and nothing is written. Exit status: 0 done, 1 failed or cancelled, 2 unusable input.
#include "interop/gltf/libKXGltf.h"
#include "interop/images/libKXImageIO.h"
#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptManager.h"
#include "opt/libKXOpt.h"

#include <cstdio>
#include <cstdlib>

using namespace Kel::Core;
using namespace Kel::Opt;

namespace
{

/// The host's side of a run: steps and walks tell it how far they are, and it tells the driver when to stop.
class HostService : public kxOptInterface
{
public:
    bool getOptCancelState() override { return m_cancelled; }
    void setOptCancelState(bool cancel) override { m_cancelled = cancel; }
    // A host with a window would move a progress bar here; total is what `done` reaches when the step is over.
    void setOptStatus(int done, int total) override
    {
        m_done = done;
        m_total = total;
    }
    void getOptStatus(int& done, int& total) override
    {
        done = m_done;
        total = m_total;
    }
    void setOptStatusTitle(kxStringRef title) override { m_title = title; }
    kxStringRef getOptStatusTitle() override { return m_title; }

private:
    bool m_cancelled = false;
    int m_done = 0;
    int m_total = 0;
    kxStringRef m_title;
};

/// Prints how each step ended and cancels in the one that the user named.
class OutcomePrinter : public kxRunObserver
{
public:
    OutcomePrinter(HostService& service, int lastStep) : m_service(service), m_lastStep(lastStep) {}

    void beforeStep(const kxRunStep& step) override
    {
        if (step.number == m_lastStep)
            m_service.setOptCancelState(true);
    }

    void afterStep(const kxRunStep& step, kxStepOutcome outcome, double) override
    {
        std::printf("step %d of %d, %s: %s\n", step.number, step.stepCount, step.name.c_str(), getOutcomeName(outcome));
        if (step.optimization)
            for (const kxOptBase::Counter& counter : step.optimization->getCounters())
                std::printf("  %s: %lld\n", counter.name.c_str(), static_cast<long long>(counter.value));
    }

private:
    HostService& m_service;
    int m_lastStep;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4 || argc > 5)
    {
        std::fprintf(stderr, "usage: kxExampleHost SCENE SCRIPT RESULT [STEPS]\n");
        return 2;
    }

    // Once in a process, before anything else: the classes of the library, of its plug-ins, of image and scene files.
    Kel::libKXOpt_arkRegister();
    Kel::libKXImageIO_arkRegister();
    Kel::libKXGltf_arkRegister();

    // The services of a run belong together; the manager holds them and must outlive the driver.
    const kxSmartPointer<HostService> service = kxNew<HostService>();
    const kxSmartPointer<kxManager> services = kxNew<kxDefaultManager>(service.get());
    OutcomePrinter printer(*service, argc > 4 ? std::atoi(argv[4]) : 0);

    const kxSmartPointer<kxRegistry> script = kxNew<kxRegistry>();
    if (!script->load(argv[2]))
    {
        std::fprintf(stderr, "%s: cannot be read\n", argv[2]);
        return 2;
    }

    const kxSmartPointer<kxOptManager> driver = kxNew<kxOptManager>();
    services->setup(driver);
    driver->setRegistry(script);
    driver->addObserver(&printer);
    // The driver's own report goes to a sink; this host shows nothing but the outcomes.
    services->_logInterface->setSink([](const char*, size_t, void*) {}, nullptr);

    // Errors go to standard error by themselves (kxReport::setSink sends them elsewhere).
    if (!driver->loadFile(argv[1]))
        return 2;
    const bool completed = driver->apply(static_cast<kxInfo*>(nullptr));
    std::printf("%s\n", completed ? "completed" : "cancelled or refused");
    if (!completed || driver->writeFile(argv[3]) != kSuccess)
        return 1;
    return 0;
}
