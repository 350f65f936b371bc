#include "platform/gfx/kxClut.h"

#include "platform/core/kxReport.h"

namespace Kel::Gfx
{

KX_IMPLEMENT(kxClut)

void kxClut::listFields(kxFields<kxClut>& fields)
{
    fields.add(&kxClut::_entryCount, "_entryCount", "number of colours");
    fields.add(&kxClut::_entries, "_entries", "the colours, four bytes each");
}

bool kxClut::userCheckLoaded(std::string& fault) const
{
    const size_t available = _entries ? _entries->getSize() : 0;
    const bool isInside = _entryCount <= available / 4;
    if (!isInside)
        fault = kxFormat("palette of %u colours in %zu bytes", _entryCount, available);
    return isInside;
}

} // namespace Kel::Gfx
