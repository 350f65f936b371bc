#include "platform/sg/kxJoint.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxJoint)

} // namespace Kel::Sg
