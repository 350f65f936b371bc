// Base of what a loaded file holds.
#pragma once

#include "platform/core/kxUserData.h"

namespace Kel::Core
{

/// One thing that a file holds as a whole: a scene, an animation, an actor. Infos are the named entries of a directory.
class kxInfo : public kxObject
{
    KX_OBJECT(kxInfo, kxObject)
    static void listFields(kxFields<kxInfo>& fields);

    kxStringRef _name;
    kxSmartPointer<kxUserData> _userData;

    kxStringRef getName() const { return _name; }
    void setName(kxStringRef name) { _name = name; }
};

KX_OBJECT_LIST(kxInfoList, kxInfo)

} // namespace Kel::Core
