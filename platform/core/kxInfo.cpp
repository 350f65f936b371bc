#include "platform/core/kxInfo.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxInfo)
KX_IMPLEMENT(kxInfoList)

void kxInfo::listFields(kxFields<kxInfo>& fields)
{
    fields.add(&kxInfo::_name, "_name", "name within the file");
    fields.add(&kxInfo::_userData, "_userData", "what the file adds for its own use");
}

} // namespace Kel::Core
