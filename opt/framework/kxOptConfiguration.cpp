#include "opt/framework/kxOptConfiguration.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptConfiguration)

kxMemoryPool& kxOptConfiguration::getCreationMemoryPool(const kxOptBase*) const
{
    return kxMemoryPool::getDefault();
}

} // namespace Kel::Opt
