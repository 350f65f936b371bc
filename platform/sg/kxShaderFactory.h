// Makes shaders from their data.
#pragma once

#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Makes the passes of a shader from its data.
class kxShaderFactory : public kxObject
{
    KX_OBJECT(kxShaderFactory, kxObject)
    static void listFields(kxFields<kxShaderFactory>& fields);

    kxStringRef _source;
};

} // namespace Kel::Sg
