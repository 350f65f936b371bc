// Keys of a moving transform.
#pragma once

#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Base of the sources of animation tracks: transforms over time.
class kxTransformSequence : public kxObject
{
    KX_OBJECT(kxTransformSequence, kxObject)
    static void listFields(kxFields<kxTransformSequence>& fields);

    kxStringRef _name;
};

KX_OBJECT_LIST(kxTransformSequenceList, kxTransformSequence)

} // namespace Kel::Sg
