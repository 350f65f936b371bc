#include "platform/core/kxFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kel::Core
{

namespace
{

// The system takes no more than about 2 GB in one call.
constexpr uint64_t kMaxTransfer = uint64_t(1) << 30;

} // namespace

bool kxFile::fail()
{
    m_fault = std::strerror(errno);
    return false;
}

bool kxFile::open(const char* path, Mode mode)
{
    close();
    m_fault.clear();
    static constexpr int kFlags[] = {O_RDONLY, O_WRONLY | O_CREAT | O_TRUNC, O_WRONLY | O_CREAT | O_APPEND};
    m_descriptor = ::open(path, kFlags[mode] | O_CLOEXEC, 0666);
    if (m_descriptor < 0)
        return fail();
    struct stat status;
    if (::fstat(m_descriptor, &status) == 0 && S_ISDIR(status.st_mode))
    {
        close();
        errno = EISDIR;
        return fail();
    }
    return true;
}

int64_t kxFile::read(void* bytes, uint64_t byteCount)
{
    auto* target = static_cast<char*>(bytes);
    uint64_t done = 0;
    while (done < byteCount)
    {
        const ssize_t count = ::read(m_descriptor, target + done, std::min(byteCount - done, kMaxTransfer));
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<uint64_t>(count);
        else if (errno != EINTR)
        {
            fail();
            return -1;
        }
    }
    return static_cast<int64_t>(done);
}

bool kxFile::write(const void* bytes, uint64_t byteCount)
{
    const auto* source = static_cast<const char*>(bytes);
    while (byteCount > 0)
    {
        const ssize_t count = ::write(m_descriptor, source, std::min(byteCount, kMaxTransfer));
        if (count >= 0)
        {
            source += count;
            byteCount -= static_cast<uint64_t>(count);
        }
        else if (errno != EINTR)
            return fail();
    }
    return true;
}

bool kxFile::close()
{
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    return descriptor < 0 || ::close(descriptor) == 0 || fail();
}

} // namespace Kel::Core
