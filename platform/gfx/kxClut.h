// Palette of an indexed image.
#pragma once

#include "platform/core/kxMemoryBlock.h"
#include "platform/gfx/kxGfxNames.h"

namespace Kel::Gfx
{

/// Palette of an indexed image: `_entryCount` colours of four bytes (red, green, blue, alpha).
class kxClut : public kxObject
{
    KX_OBJECT(kxClut, kxObject)
    static void listFields(kxFields<kxClut>& fields);

    uint32_t _entryCount = 0;
    kxSmartPointer<kxMemoryBlock> _entries;
};

} // namespace Kel::Gfx
