#include "platform/sg/kxDataPumpInfo.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxDataPumpInfo)

void kxDataPumpInfo::listFields(kxFields<kxDataPumpInfo>& fields)
{
    fields.add(&kxDataPumpInfo::_list, "_list", "the pumps");
}

} // namespace Kel::Sg
