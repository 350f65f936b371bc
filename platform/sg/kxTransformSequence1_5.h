// Keys of translation, rotation and scale.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

/// Lists of keys over time. Which lists are in use stands in the key flags.
class kxTransformSequence1_5 : public kxTransformSequence
{
    KX_OBJECT(kxTransformSequence1_5, kxTransformSequence)
    static void listFields(kxFields<kxTransformSequence1_5>& fields);

    uint32_t _keyFlags = 0;
    kxSmartPointer<kxLongList> _times;
    kxSmartPointer<kxVec3fList> _translations;
    kxSmartPointer<kxQuatfList> _quaternions;
    kxSmartPointer<kxVec3fList> _scales;
};

} // namespace Kel::Sg
