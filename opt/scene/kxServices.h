// What optimizations ask the services of their run.
#pragma once

#include "opt/framework/kxOptInterface.h"
#include "opt/tracking/kxLockInterface.h"

namespace Kel::Opt
{

/// True when the object must be left alone.
inline bool isLocked(const kxInterfaced& user, kxObject* object)
{
    return user._lockInterface && user._lockInterface->isLocked(object);
}

/// True when the run shall end.
inline bool isCancelled(const kxInterfaced& user)
{
    return user._optInterface && user._optInterface->getOptCancelState();
}

} // namespace Kel::Opt
