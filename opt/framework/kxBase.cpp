#include "opt/framework/kxBase.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxBase)

} // namespace Kel::Opt
