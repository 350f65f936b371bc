// What all optimizations of one run have in common.
#pragma once

#include "opt/framework/kxOptNames.h"

namespace Kel::Opt
{

/// Policy of a run. A script names a derived class by the key "conf", for the run or for one optimization.
class kxOptConfiguration : public kxObject
{
    KX_OBJECT(kxOptConfiguration, kxObject)

    /// Pool in which an optimization makes its objects; here the default pool.
    virtual kxMemoryPool& getCreationMemoryPool(const kxOptBase* optimization) const;
};

} // namespace Kel::Opt
