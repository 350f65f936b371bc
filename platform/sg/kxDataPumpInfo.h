// The data pumps of a file.
#pragma once

#include "platform/core/kxInfo.h"
#include "platform/sg/kxDataPump.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// The data pumps of a file.
class kxDataPumpInfo : public kxInfo
{
    KX_OBJECT(kxDataPumpInfo, kxInfo)
    static void listFields(kxFields<kxDataPumpInfo>& fields);

    kxSmartPointer<kxDataPumpList> _list = kxNew<kxDataPumpList>();

    kxDataPumpList* getList() const { return _list; }
};

} // namespace Kel::Sg
