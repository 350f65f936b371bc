#include "platform/core/kxUserData.h"

namespace Kel::Core
{

KX_IMPLEMENT(kxUserData)

void kxUserData::listFields(kxFields<kxUserData>& fields)
{
    fields.add(&kxUserData::_extras, "_extras", "JSON text of data that the file adds for its own use");
    fields.add(&kxUserData::_extensions, "_extensions", "JSON text of an object of extensions");
    fields.add(&kxUserData::_references, "_references", "objects that the extensions refer to by number");
}

uint32_t kxUserData::addReference(kxObject* object)
{
    if (!_references)
        _references = kxNew<kxObjectList>();
    const int known = _references->find(object);
    if (known >= 0)
        return static_cast<uint32_t>(known);
    _references->append(object);
    return _references->getCount() - 1;
}

kxObject* kxUserData::getReference(uint32_t number) const
{
    return number < getReferenceCount() ? _references->get(number) : nullptr;
}

} // namespace Kel::Core
