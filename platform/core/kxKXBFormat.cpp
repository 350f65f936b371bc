#include "platform/core/kxKXBFormat.h"

#include "platform/core/kxAtomicFile.h"
#include "platform/core/kxKXBReader.h"
#include "platform/core/kxKXBWriter.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"

#include <exception>
#include <new>

namespace Kel::Core
{

KX_IMPLEMENT(kxKXBFormat)

bool kxKXBFormat::claims(std::string_view lowerCaseExtension, const uint8_t* head, size_t headBytes) const
{
    return lowerCaseExtension == "kxb" ||
           (headBytes >= sizeof KXB::kMagic && std::memcmp(head, KXB::kMagic, sizeof KXB::kMagic) == 0);
}

bool kxKXBFormat::canWrite(std::string_view lowerCaseExtension) const
{
    return lowerCaseExtension == "kxb";
}

kxResult kxKXBFormat::read(const char* path, const kxFileOptions&, kxDirectory& directory)
{
    const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path);
    return file ? readMemory(file->getBlock(0, file->getSize()), path, directory) : kFailure;
}

kxResult kxKXBFormat::readMemory(kxMemoryBlock* bytes, const char* name, kxDirectory& directory)
{
    const kxSmartPointer<kxMemoryBlock> held(bytes);
    try
    {
        kxKXBReader reader(bytes, name);
        return reader.read(directory) ? kSuccess : kFailure;
    }
    catch (const std::bad_alloc&)
    {
        kxReport::error("%s: there is not enough memory to load it", name);
    }
    catch (const std::exception& exception)
    {
        kxReport::error("%s: cannot be loaded: %s", name, exception.what());
    }
    return kFailure;
}

kxResult kxKXBFormat::write(kxDirectory& directory, const char* path, const kxFileOptions&)
{
    try
    {
        // A target that cannot be written is found before the work is done.
        kxAtomicFile file;
        if (!file.open(path))
            return kFailure;
        const kxKXBWriter writer(directory, path);
        const bool written = writer.write([&](const void* bytes, uint64_t count) { return file.write(bytes, count); });
        return written && file.commit() ? kSuccess : kFailure;
    }
    catch (const std::bad_alloc&)
    {
        kxReport::error("%s: there is not enough memory to write it", path);
        return kFailure;
    }
}

kxSmartPointer<kxMemoryBlock> kxKXBFormat::writeMemory(kxDirectory& directory)
{
    const kxKXBWriter writer(directory, "memory");
    kxSmartPointer<kxMemoryBlock> block = kxMemoryBlock::create(writer.getFileBytes());
    uint8_t* at = block->getWritableData();
    writer.write(
        [&](const void* bytes, uint64_t count)
        {
            if (count)
                std::memcpy(at, bytes, count);
            at += count;
            return true;
        });
    return block;
}

void kxKXBFormat::seal(uint8_t* file, size_t byteCount)
{
    if (byteCount < KXB::kTrailerBytes)
        return;
    KXB::Checksum checksum;
    checksum.add(file, byteCount - KXB::kTrailerBytes);
    const uint64_t sum = checksum.finish();
    std::memcpy(file + byteCount - KXB::kTrailerBytes, &sum, sizeof sum);
}

} // namespace Kel::Core
