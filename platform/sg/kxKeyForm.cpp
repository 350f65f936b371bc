#include "platform/sg/kxKeyForm.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxKeyForm)

} // namespace Kel::Sg
