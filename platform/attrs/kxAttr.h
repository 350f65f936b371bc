// A piece of render state.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/core/kxUserData.h"

namespace Kel::Attrs
{

/// Base of everything that an attribute set can set for what is drawn below it. The name does not take part in comparison:
/// attributes that draw alike may be shared whatever they are called.
class kxAttr : public kxObject
{
    KX_OBJECT(kxAttr, kxObject)
    static void listFields(kxFields<kxAttr>& fields);

    kxStringRef _name;
    kxSmartPointer<kxUserData> _userData;

    kxStringRef getName() const { return _name; }
    /// Attributes of one type replace one another along a path only when they have the same unit.
    virtual uint16_t getUnit() const { return 0; }
};

KX_OBJECT_LIST(kxAttrList, kxAttr)
KX_NON_COUNTED_LIST(kxNonRefCountedAttrList, kxAttrList)

} // namespace Kel::Attrs
