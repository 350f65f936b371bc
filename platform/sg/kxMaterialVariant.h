// Other attributes that a geometry can be drawn with.
#pragma once

#include "platform/sg/kxAttrSet.h"

namespace Kel::Sg
{

/// Attributes that take the place of those of the path when one of the named variants is chosen.
class kxMaterialVariant : public kxObject
{
    KX_OBJECT(kxMaterialVariant, kxObject)
    static void listFields(kxFields<kxMaterialVariant>& fields);

    kxStringRef _name;
    kxSmartPointer<kxIntList> _variants = kxNew<kxIntList>();
    kxSmartPointer<kxAttrList> _attrs = kxNew<kxAttrList>();
    kxSmartPointer<kxUserData> _userData;
};

KX_OBJECT_LIST(kxMaterialVariantList, kxMaterialVariant)

} // namespace Kel::Sg
