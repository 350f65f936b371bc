#include "platform/core/kxMappedFile.h"

#include "platform/core/kxReport.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kel::Core
{

KX_IMPLEMENT(kxMappedFile)

kxSmartPointer<kxMappedFile> kxMappedFile::open(const char* path, std::string* fault)
{
    auto fail = [&](const std::string& reason)
    {
        if (fault)
            *fault = reason;
        else
            kxReport::error("%s: %s", path ? path : "", reason.c_str());
        return nullptr;
    };
    auto failWith = [&](int systemError) { return fail(std::string("cannot be read: ") + std::strerror(systemError)); };

    // Without O_NONBLOCK the opening of a pipe would wait for somebody to write to it.
    const int descriptor = path ? ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1;
    if (descriptor < 0)
        return failWith(path ? errno : ENOENT);
    struct stat status;
    void* bytes = nullptr;
    int systemError = 0;
    const bool known = ::fstat(descriptor, &status) == 0;
    const bool regular = known && S_ISREG(status.st_mode);
    if (!known)
        systemError = errno;
    else if (regular && status.st_size > 0)
    {
        bytes = ::mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (bytes == MAP_FAILED)
            systemError = errno;
    }
    ::close(descriptor);
    if (systemError)
        return failWith(systemError);
    if (!regular)
        return fail(S_ISDIR(status.st_mode) ? "is a folder" : "is not a regular file");

    auto file = kxNew<kxMappedFile>();
    file->m_data = static_cast<const uint8_t*>(bytes);
    file->m_size = static_cast<uint64_t>(status.st_size);
    return file;
}

kxMappedFile::~kxMappedFile()
{
    if (m_data)
        ::munmap(const_cast<uint8_t*>(m_data), m_size);
}

kxSmartPointer<kxMemoryBlock> kxMappedFile::getBlock(uint64_t offset, uint64_t byteCount)
{
    return kxMemoryBlock::view(this, m_data + offset, byteCount);
}

} // namespace Kel::Core
