// Notes the matrix of its path.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Notes the matrix of the path that reaches it.
class kxTransformRecorder : public kxGroup
{
    KX_OBJECT(kxTransformRecorder, kxGroup)
    static void listFields(kxFields<kxTransformRecorder>& fields);

    kxMatrix44f _recorded;
};

} // namespace Kel::Sg
