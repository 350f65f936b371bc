// Makes shaders from their data.
#pragma once

#include "platform/sg/kxShaderPass.h"

namespace Kel::Sg
{

/// Makes the passes of a shader from its data.
class kxShaderFactory : public kxObject
{
    KX_OBJECT(kxShaderFactory, kxObject)
    static void listFields(kxFields<kxShaderFactory>& fields);

    kxStringRef _source;

    /// Makes passes from the data and appends them. False, with `passes` as it was, when there are no data that can be
    /// read; the reason has been reported. The base makes none.
    virtual bool makePasses(kxShaderPassList& passes) const;
};

} // namespace Kel::Sg
