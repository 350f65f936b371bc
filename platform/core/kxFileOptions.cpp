#include "platform/core/kxFileOptions.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxFileOptions)

void kxFileOptions::listFields(kxFields<kxFileOptions>& fields)
{
    fields.add(&kxFileOptions::_allowOutside, "_allowOutside", "follow references to files outside the scene's folder");
    fields.add(&kxFileOptions::_noFallback, "_noFallback",
               "write images of kinds that not every reader knows without a PNG beside them");
}

} // namespace Kel::Core
