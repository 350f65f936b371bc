#include "interop/gltf/kxGltfContainer.h"

#include <bit>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace Kel::Gltf
{

static_assert(std::endian::native == std::endian::little, "vertex data are used as they lie in the file");

namespace
{

uint32_t wordAt(const kxMappedFile& file, uint64_t offset)
{
    uint32_t word;
    std::memcpy(&word, file.getData() + offset, sizeof word);
    return word;
}

// Lets go of the memory that mapped bytes take; they come back from the file when they are read again.
void dropPages(const uint8_t* bytes, uint64_t byteCount)
{
    const auto page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(bytes) + page - 1) & ~(page - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(bytes) + byteCount) & ~(page - 1);
    if (begin < end)
        ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
}

} // namespace

bool kxGltfContainer::splitBinary(kxGltfFaults& faults, uint64_t& jsonOffset, uint64_t& jsonBytes)
{
    const uint64_t size = file->getSize();
    if (size < kGlbHeaderBytes)
        return faults.refuse("is cut off within its header");
    const uint32_t version = wordAt(*file, 4);
    if (version != 2)
        return faults.refuse("is binary glTF of version %u, wanted 2", version);
    const uint64_t length = wordAt(*file, 8);
    if (length > size)
        return faults.refuse("is %llu bytes long, its header says %llu", static_cast<unsigned long long>(size),
                             static_cast<unsigned long long>(length));
    if (length < size)
        faults.warn("bytes behind the end that the header gives are not read", "");

    uint64_t offset = kGlbHeaderBytes;
    for (unsigned chunk = 0; offset + kGlbChunkHeaderBytes <= length; ++chunk)
    {
        const uint64_t bytes = wordAt(*file, offset);
        const uint32_t type = wordAt(*file, offset + 4);
        offset += kGlbChunkHeaderBytes;
        if (bytes > length - offset)
            return faults.refuse("chunk %u ends %llu bytes past the file", chunk,
                                 static_cast<unsigned long long>(bytes - (length - offset)));
        if (chunk == 0)
        {
            if (type != kGlbJsonChunk)
                return faults.refuse("first chunk is not JSON");
            jsonOffset = offset;
            jsonBytes = bytes;
        }
        else if (type == kGlbBinChunk && !binChunk)
        {
            binChunk = file->getBlock(offset, bytes);
            if (chunk != 1)
                faults.warn("binary chunk is not the second one", "");
        }
        else if (type == kGlbBinChunk || type == kGlbJsonChunk)
            faults.warn("chunk of a kind that was there before is not read", kxFormat("chunk %u", chunk));
        else
            faults.warn("chunk of an unknown kind is not carried", kxFormat("chunk %u", chunk));
        offset += bytes;
    }
    if (jsonOffset == 0)
        return faults.refuse("has no JSON chunk");
    if (offset != length)
        faults.warn("bytes that are no whole chunk are not read", "");
    return true;
}

bool kxGltfContainer::open(kxGltfFaults& faults, const kxJsonDocument::Listener& listener)
{
    std::string fault;
    file = kxMappedFile::open(faults.getPath().c_str(), &fault);
    if (!file)
        return faults.refuse("%s", fault.c_str());
    isBinary = file->getSize() >= 4 && wordAt(*file, 0) == kGlbMagic;
    uint64_t offset = 0, bytes = file->getSize();
    if (bytes == 0)
        return faults.refuse("is empty");
    if (isBinary && !splitBinary(faults, offset, bytes))
        return false;
    auto text = std::make_unique_for_overwrite<char[]>(bytes + kxJsonDocument::kPadding);
    std::memcpy(text.get(), file->getData() + offset, bytes);
    dropPages(file->getData() + offset, bytes);
    if (!json.parse(std::move(text), bytes, fault, &listener))
        return faults.refuse("%s", fault.c_str());
    if (!json.getRoot().IsObject())
        return faults.refuse("JSON text is not an object");
    return true;
}

} // namespace Kel::Gltf
