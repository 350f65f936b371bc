// What a file says about an object that the scene classes have no field for.
#pragma once

#include "platform/core/kxObjectList.h"

namespace Kel::Core
{

/// Extra data that travels with an object from one file to the next, unread by everything in between.
class kxUserData : public kxObject
{
    KX_OBJECT(kxUserData, kxObject)
    static void listFields(kxFields<kxUserData>& fields);

    kxStringRef _extras;     ///< JSON text of any value; null when there is none
    kxStringRef _extensions; ///< JSON text of an object; references to other objects stand in it as {"$ref": n}
    kxSmartPointer<kxObjectList> _references; ///< the objects that n counts, from 0; null when there are none

    /// Number by which `_extensions` refers to `object`; adds the object when it is not referred to yet.
    /// Cost: a scan of the references.
    uint32_t addReference(kxObject* object);
    /// The object with that number; null for a number that was never given.
    kxObject* getReference(uint32_t number) const;
    uint32_t getReferenceCount() const { return _references ? _references->getCount() : 0; }

    bool isEmpty() const { return _extras.isNull() && _extensions.isNull() && getReferenceCount() == 0; }
};

} // namespace Kel::Core
