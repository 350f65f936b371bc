// Data of an interpreted shader.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShaderData.h"
#include "platform/sg/kxShaderFactory.h"

namespace Kel::Sg
{

/// Data of an interpreted shader and the factory that reads them.
class kxInterpretedShaderData : public kxShaderData
{
    KX_OBJECT(kxInterpretedShaderData, kxShaderData)
    static void listFields(kxFields<kxInterpretedShaderData>& fields);

    kxSmartPointer<kxShaderFactory> _factory;

    kxShaderFactory* getFactory() const { return _factory; }
};

} // namespace Kel::Sg
