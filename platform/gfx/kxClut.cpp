#include "platform/gfx/kxClut.h"

namespace Kel::Gfx
{

KX_IMPLEMENT(kxClut)

void kxClut::listFields(kxFields<kxClut>& fields)
{
    fields.add(&kxClut::_entryCount, "_entryCount", "number of colours");
    fields.add(&kxClut::_entries, "_entries", "the colours, four bytes each");
}

} // namespace Kel::Gfx
