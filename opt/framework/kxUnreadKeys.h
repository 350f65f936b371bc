// Tells the author of a script which of its lines had no effect.
#pragma once

#include "opt/framework/kxRunObserver.h"

namespace Kel::Core
{
class kxRegistry;
}

namespace Kel::Opt
{

/// Warns of every key of the script that nobody read, with its line and the nearest key that the section's class knows; of a
/// name that no optimization has; and, when `completed` is set, of sections that nobody read, once for each section.
void reportUnreadKeys(const kxRegistry* registry, bool completed);

/// Does so at the end of each run.
class kxUnreadKeyObserver : public kxRunObserver
{
public:
    void afterRun(const kxRun& run, bool completed) override;
};

} // namespace Kel::Opt
