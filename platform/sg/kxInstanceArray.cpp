#include "platform/sg/kxInstanceArray.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxInstanceArray)

void kxInstanceArray::listFields(kxFields<kxInstanceArray>& fields)
{
    fields.add(&kxInstanceArray::_arrays, "_arrays", "one value for each instance in each array");
}

} // namespace Kel::Sg
