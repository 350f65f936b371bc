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

    /// Refuses a palette with more colours than bytes for them.
    bool userCheckLoaded(std::string& fault) const override;
};

} // namespace Kel::Gfx
