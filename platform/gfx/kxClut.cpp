#include "platform/gfx/kxClut.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <cstring>

namespace Kel::Gfx
{

KX_IMPLEMENT(kxClut)

void kxClut::listFields(kxFields<kxClut>& fields)
{
    fields.add(&kxClut::_entryCount, "_entryCount", "number of colours");
    fields.add(&kxClut::_entries, "_entries", "the colours, four bytes each");
    fields.add(&kxClut::_isOpaque, "_isOpaque", "the fourth bytes do not count: the image came without alpha");
}

bool kxClut::userCheckLoaded(std::string& fault) const
{
    const size_t available = _entries ? _entries->getSize() : 0;
    const bool isInside = _entryCount <= available / 4;
    if (!isInside)
        fault = kxFormat("palette of %u colours in %zu bytes", _entryCount, available);
    return isInside;
}

kxSmartPointer<kxClut> kxClut::create(const uint8_t* entries, uint32_t entryCount)
{
    auto clut = kxNew<kxClut>();
    clut->_entryCount = entryCount;
    clut->_entries = kxMemoryBlock::copyOf(entries, size_t(entryCount) * 4);
    return clut;
}

kxSmartPointer<kxClut> kxClut::clone() const
{
    auto clut = create(getEntries(), _entryCount);
    clut->_isOpaque = _isOpaque;
    return clut;
}

bool kxClut::hasAlpha() const
{
    for (uint32_t i = 0; i < _entryCount && !_isOpaque; ++i)
        if (getEntries()[4 * i + 3] != 255)
            return true;
    return false;
}

void kxClut::fillTable(uint32_t table[256]) const
{
    const uint32_t count = std::min(_entryCount, 256u);
    std::fill(table + count, table + 256, 0xff000000u);
    if (count)
        std::memcpy(table, getEntries(), 4 * count);
    for (uint32_t i = 0; i < count && _isOpaque; ++i)
        table[i] |= 0xff000000u;
}

} // namespace Kel::Gfx
