#include "opt/tracking/kxListenerInterface.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxListenerInterface)

} // namespace Kel::Opt
