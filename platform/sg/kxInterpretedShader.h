// Shader made from data when it is loaded.
#pragma once

#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShader.h"
#include "platform/sg/kxShaderData.h"

namespace Kel::Sg
{

/// Shader whose passes are made from data.
class kxInterpretedShader : public kxShader
{
    KX_OBJECT(kxInterpretedShader, kxShader)
    static void listFields(kxFields<kxInterpretedShader>& fields);

    kxSmartPointer<kxShaderData> _shaderData;

    kxShaderData* getShaderData() const { return _shaderData; }

    /// Makes the passes anew from the data. False, with the passes as they were, when the data have no factory that can.
    bool interpret();
};

} // namespace Kel::Sg
