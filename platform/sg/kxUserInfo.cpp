#include "platform/sg/kxUserInfo.h"

namespace Kel::Sg
{

KX_IMPLEMENT(kxUserInfo)

void kxUserInfo::listFields(kxFields<kxUserInfo>& fields)
{
    fields.add(&kxUserInfo::_keys, "_keys", "names");
    fields.add(&kxUserInfo::_values, "_values", "values, one for each name");
}

} // namespace Kel::Sg
