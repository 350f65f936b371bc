// Data that a shader is made from.
#pragma once

#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// Data that a shader is made from.
class kxShaderData : public kxObject
{
    KX_OBJECT(kxShaderData, kxObject)
    static void listFields(kxFields<kxShaderData>& fields);

    kxStringRef _name;
};

} // namespace Kel::Sg
