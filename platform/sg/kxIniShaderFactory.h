// Makes shaders from ini-style text.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShaderFactory.h"

namespace Kel::Sg
{

/// Makes shaders from ini-style text. What lies outside the scene's file can be taken into it.
class kxIniShaderFactory : public kxShaderFactory
{
    KX_OBJECT(kxIniShaderFactory, kxShaderFactory)
    static void listFields(kxFields<kxIniShaderFactory>& fields);

    int32_t _storage = 0;
    kxStringRef _text;
};

} // namespace Kel::Sg
