// What the program finds in the module.
#include "plugins/example/kxNameNodes.h"

#include "platform/core/kxPlugIn.h"

namespace
{

void registerExample()
{
    Kel::Core::kxRegisterClass<Example::kxNameNodes>("kxNameNodes", "gives names to nodes that have none");
}

} // namespace

KX_PLUGIN("Example", registerExample)
