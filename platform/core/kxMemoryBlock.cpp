#include "platform/core/kxMemoryBlock.h"

#include <cstring>

namespace Kel::Core
{

KX_IMPLEMENT(kxMemoryBlock)

kxSmartPointer<kxMemoryBlock> kxMemoryBlock::create(size_t byteCount)
{
    auto block = kxNew<kxMemoryBlock>();
    block->resize(byteCount);
    return block;
}

kxSmartPointer<kxMemoryBlock> kxMemoryBlock::copyOf(const void* bytes, size_t byteCount)
{
    auto block = create(byteCount);
    if (byteCount)
        std::memcpy(const_cast<uint8_t*>(block->m_data), bytes, byteCount);
    return block;
}

kxSmartPointer<kxMemoryBlock> kxMemoryBlock::view(kxObject* owner, const void* bytes, size_t byteCount)
{
    auto block = kxNew<kxMemoryBlock>();
    block->m_data = static_cast<const uint8_t*>(bytes);
    block->m_size = byteCount;
    block->m_owner = owner;
    return block;
}

kxSmartPointer<kxMemoryBlock> kxMemoryBlock::slice(size_t offset, size_t byteCount)
{
    return view(m_owner ? m_owner.get() : this, m_data + offset, byteCount);
}

kxMemoryBlock::~kxMemoryBlock()
{
    if (!m_owner)
        ::operator delete(const_cast<uint8_t*>(m_data));
}

uint8_t* kxMemoryBlock::getWritableData()
{
    if (m_owner)
    {
        auto* own = static_cast<uint8_t*>(::operator new(m_size));
        if (m_size)
            std::memcpy(own, m_data, m_size);
        m_data = own;
        m_owner = nullptr;
    }
    m_hash = 0;
    return const_cast<uint8_t*>(m_data);
}

void kxMemoryBlock::resize(size_t byteCount)
{
    auto* fresh = static_cast<uint8_t*>(::operator new(byteCount));
    if (!m_owner)
        ::operator delete(const_cast<uint8_t*>(m_data));
    m_owner = nullptr;
    m_data = fresh;
    m_size = byteCount;
    m_hash = 0;
}

uint64_t kxMemoryBlock::getContentHash() const
{
    if (m_hash == 0)
        m_hash = hashBytes(m_data, m_size, 1) | 1;
    return m_hash;
}

} // namespace Kel::Core
