// One pass of a shader.
#pragma once

#include "platform/attrs/kxAttr.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// The attributes that one pass of a shader draws with.
class kxShaderPass : public kxObject
{
    KX_OBJECT(kxShaderPass, kxObject)
    static void listFields(kxFields<kxShaderPass>& fields);

    kxSmartPointer<kxAttrList> _attrs = kxNew<kxAttrList>();

    kxAttrList* getAttrs() const { return _attrs; }
};

KX_OBJECT_LIST(kxShaderPassList, kxShaderPass)

} // namespace Kel::Sg
