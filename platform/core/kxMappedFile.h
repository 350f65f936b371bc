// A file in memory, read-only.
#pragma once

#include "platform/core/kxMemoryBlock.h"

#include <string>

namespace Kel::Core
{

/// Bytes of a file, mapped for reading. The memory blocks that show parts of it keep it alive; a file that is replaced on
/// disk (`kxAtomicFile`) stays as it was for those who mapped it.
class kxMappedFile : public kxObject
{
    KX_OBJECT(kxMappedFile, kxObject)

    /// Maps a regular file, which may be empty. On failure gives null and one error line "PATH: ...", or, with `fault`, the
    /// text behind the path there and no line.
    static kxSmartPointer<kxMappedFile> open(const char* path, std::string* fault = nullptr);

    const uint8_t* getData() const { return m_data; }
    uint64_t getSize() const { return m_size; }
    /// Part of the file as a block, not copied. The caller has checked that it lies within.
    kxSmartPointer<kxMemoryBlock> getBlock(uint64_t offset, uint64_t byteCount);

private:
    ~kxMappedFile() override;

    const uint8_t* m_data = nullptr;
    uint64_t m_size = 0;
};

} // namespace Kel::Core
