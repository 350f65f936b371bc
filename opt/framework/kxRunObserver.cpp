#include "opt/framework/kxRunObserver.h"

namespace Kel::Opt
{

const char* getOutcomeName(kxStepOutcome outcome)
{
    switch (outcome)
    {
    case kxStepOutcome::DONE: return "done";
    case kxStepOutcome::FAILED: return "failed";
    case kxStepOutcome::NOT_CONFIGURED: return "not configured";
    case kxStepOutcome::SKIPPED_UNKNOWN: return "unknown";
    case kxStepOutcome::NO_NAME: return "no name";
    case kxStepOutcome::CANCELLED: return "cancelled";
    }
    return "";
}

kxRunObserver::~kxRunObserver() = default;
void kxRunObserver::beforeRun(const kxRun&) {}
void kxRunObserver::beforeStep(const kxRunStep&) {}
void kxRunObserver::afterStep(const kxRunStep&, kxStepOutcome, double) {}
void kxRunObserver::afterRun(const kxRun&, bool) {}

} // namespace Kel::Opt
