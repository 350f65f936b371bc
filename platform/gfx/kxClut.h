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
    bool _isOpaque = false;

    /// Refuses a palette with more colours than bytes for them.
    bool userCheckLoaded(std::string& fault) const override;

    /// A palette with its own copy of `entryCount` colours of four bytes.
    static kxSmartPointer<kxClut> create(const uint8_t* entries, uint32_t entryCount);
    /// A copy with its own colours.
    kxSmartPointer<kxClut> clone() const;
    const uint8_t* getEntries() const { return _entries ? _entries->getData() : nullptr; }
    /// True when a colour counts as not opaque.
    bool hasAlpha() const;
    /// 256 colours to look indices up in: the palette, then opaque black for indices beyond it.
    void fillTable(uint32_t table[256]) const;
};

} // namespace Kel::Gfx
