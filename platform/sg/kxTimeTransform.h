// Transform that follows the time.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxTransform.h"
#include "platform/sg/kxTransformSequence.h"

namespace Kel::Sg
{

/// Transform whose matrix follows a sequence of keys.
class kxTimeTransform : public kxTransform
{
    KX_OBJECT(kxTimeTransform, kxTransform)
    static void listFields(kxFields<kxTimeTransform>& fields);

    kxSmartPointer<kxTransformSequence> _sequence;
};

} // namespace Kel::Sg
