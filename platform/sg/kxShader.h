// Draws its children in passes.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"
#include "platform/sg/kxShaderPass.h"

namespace Kel::Sg
{

/// Draws its children once for each pass, with the attributes of the pass.
class kxShader : public kxGroup
{
    KX_OBJECT(kxShader, kxGroup)
    static void listFields(kxFields<kxShader>& fields);

    kxSmartPointer<kxShaderPassList> _passes = kxNew<kxShaderPassList>();

    uint32_t getPassCount() const { return _passes->getCount(); }
    kxShaderPass* getPass(uint32_t index) const { return _passes->get(index); }
};

} // namespace Kel::Sg
