// Group that carries information of the user's.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Group with names and values that the user has attached; never taken away while it has any.
class kxUserInfo : public kxGroup
{
    KX_OBJECT(kxUserInfo, kxGroup)
    static void listFields(kxFields<kxUserInfo>& fields);

    kxSmartPointer<kxStringRefList> _keys = kxNew<kxStringRefList>();
    kxSmartPointer<kxStringRefList> _values = kxNew<kxStringRefList>();
};

} // namespace Kel::Sg
