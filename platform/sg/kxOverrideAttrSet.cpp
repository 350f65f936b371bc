#include "platform/sg/kxOverrideAttrSet.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxOverrideAttrSet)

} // namespace Kel::Sg
