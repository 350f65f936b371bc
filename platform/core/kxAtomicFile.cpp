#include "platform/core/kxAtomicFile.h"

#include "platform/core/kxReport.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kel::Core
{

namespace
{

constexpr size_t kBufferBytes = size_t(1) << 20;
constexpr uint64_t kMaxTransfer = uint64_t(1) << 30; // the system takes no more than about 2 GB in one call

std::string folderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The file that a chain of links ends at, which need not exist.
std::string followLinks(std::string path)
{
    for (int links = 0; links < 40; ++links)
    {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
        if (length <= 0 || length == static_cast<ssize_t>(sizeof target))
            break;
        const std::string text(target, static_cast<size_t>(length));
        path = text[0] == '/' ? text : folderOf(path) + "/" + text;
    }
    return path;
}

} // namespace

kxAtomicFile::~kxAtomicFile()
{
    abandon();
}

bool kxAtomicFile::fail(const char* what, int systemError)
{
    kxReport::error("%s: %s%s%s", m_path.c_str(), what, systemError ? ": " : "",
                    systemError ? std::strerror(systemError) : "");
    abandon();
    return false;
}

void kxAtomicFile::abandon()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
    m_temporary.clear();
    m_buffered = 0;
}

bool kxAtomicFile::open(const char* path)
{
    abandon();
    m_size = 0;
    m_path = path;
    m_target = followLinks(m_path);
    if (!m_buffer)
        m_buffer = std::make_unique_for_overwrite<char[]>(kBufferBytes);

    struct stat status;
    const bool exists = ::stat(m_target.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode))
        return fail("cannot be written: it is a folder", 0);
    // Replacing needs no right to write the file itself, but whoever took that right away meant to keep it.
    if (exists && ::access(m_target.c_str(), W_OK) != 0)
        return fail("cannot be written", errno);
    if (exists && !S_ISREG(status.st_mode))
    {
        m_descriptor = ::open(m_target.c_str(), O_WRONLY | O_CLOEXEC);
        return m_descriptor >= 0 || fail("cannot be written", errno);
    }

    // Named after the target and this process, so that whoever finds one left behind by a power cut knows what it is.
    for (unsigned attempt = 0; m_descriptor < 0; ++attempt)
    {
        const std::string temporary =
            kxFormat("%s.tmp%ld-%u", m_target.c_str(), static_cast<long>(::getpid()), attempt);
        m_descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_descriptor >= 0)
            m_temporary = temporary;
        else if (errno != EEXIST || attempt > 10000)
            return fail("cannot be written", errno);
    }
    if (exists)
    {
        // Owner and group are kept where the system allows it; changing them may clear bits, so the mode comes last.
        if (status.st_uid != ::geteuid() || status.st_gid != ::getegid())
            if (::fchown(m_descriptor, status.st_uid, status.st_gid) != 0)
                errno = 0;
        if (::fchmod(m_descriptor, status.st_mode & 07777) != 0)
            return fail("cannot be written", errno);
    }
    return true;
}

bool kxAtomicFile::writeThrough(const void* bytes, uint64_t byteCount)
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
            return fail("cannot be written", errno);
    }
    return true;
}

bool kxAtomicFile::flushBuffer()
{
    const size_t byteCount = m_buffered;
    m_buffered = 0;
    return writeThrough(m_buffer.get(), byteCount);
}

bool kxAtomicFile::write(const void* bytes, uint64_t byteCount)
{
    if (m_descriptor < 0)
        return false;
    m_size += byteCount;
    if (byteCount <= kBufferBytes - m_buffered)
    {
        if (byteCount)
            std::memcpy(m_buffer.get() + m_buffered, bytes, byteCount);
        m_buffered += byteCount;
        return true;
    }
    if (!flushBuffer())
        return false;
    if (byteCount >= kBufferBytes)
        return writeThrough(bytes, byteCount);
    std::memcpy(m_buffer.get(), bytes, byteCount);
    m_buffered = byteCount;
    return true;
}

bool kxAtomicFile::commit()
{
    if (m_descriptor < 0 || !flushBuffer())
        return false;
    const bool replaces = !m_temporary.empty();
    // The bytes must be on disk before the name is: after a power cut the target is the old file or the whole new one.
    if (replaces && ::fsync(m_descriptor) != 0)
        return fail("cannot be written", errno);
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (::close(descriptor) != 0)
        return fail("cannot be written", errno);
    if (!replaces)
        return true;
    if (::rename(m_temporary.c_str(), m_target.c_str()) != 0)
        return fail("cannot be replaced", errno);
    m_temporary.clear();
    // The new name is flushed too where folders can be; the file is whole either way.
    const int folder = ::open(folderOf(m_target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0)
    {
        ::fsync(folder);
        ::close(folder);
    }
    return true;
}

} // namespace Kel::Core
