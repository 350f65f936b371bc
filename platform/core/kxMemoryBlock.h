// Bytes with an owner: of its own, or a part of a mapped file or of another block.
#pragma once

#include "platform/core/kxObject.h"

namespace Kel::Core
{

/// A run of bytes. A block either owns its bytes or shows a part of what another object (its owner, kept alive) holds, such
/// as a mapped file; shown bytes are read-only until `getWritableData` has copied them.
class kxMemoryBlock : public kxObject
{
    KX_OBJECT(kxMemoryBlock, kxObject)

    kxMemoryBlock() = default;

    /// Own bytes, uninitialised. Throws std::bad_alloc, as every allocation does.
    static kxSmartPointer<kxMemoryBlock> create(size_t byteCount);
    static kxSmartPointer<kxMemoryBlock> copyOf(const void* bytes, size_t byteCount);
    /// Shows `byteCount` bytes at `bytes`, which `owner` keeps in place.
    static kxSmartPointer<kxMemoryBlock> view(kxObject* owner, const void* bytes, size_t byteCount);
    /// Part of this block, sharing its bytes. The caller has checked that it lies within.
    kxSmartPointer<kxMemoryBlock> slice(size_t offset, size_t byteCount);

    const uint8_t* getData() const { return m_data; }
    size_t getSize() const { return m_size; }
    kxObject* getOwner() const { return m_owner; }
    /// The bytes for writing; copies them first when they belong to another object. A block that several fields share is
    /// changed for all of them.
    uint8_t* getWritableData();
    /// Gives the block new own bytes, uninitialised; the old ones are lost.
    void resize(size_t byteCount);
    /// Hash of the bytes, kept until the next `getWritableData` or `resize`.
    uint64_t getContentHash() const;

protected:
    ~kxMemoryBlock() override;

private:
    const uint8_t* m_data = nullptr;
    size_t m_size = 0;
    kxSmartPointer<kxObject> m_owner;
    mutable uint64_t m_hash = 0; // 0: not known
};

} // namespace Kel::Core
