// A file that appears whole or not at all.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <memory>
#include <string>
#include <string_view>

namespace Kel::Core
{

/// Writes a file to a temporary beside the target and puts it in the target's place on `commit`; without a commit the target
/// stays as it was and the temporary goes. Links are followed, an existing target keeps its permissions. A target that is a
/// device or a pipe is written directly.
///
/// The first failure is reported as one error line "PATH: ..."; all later calls fail in silence.
class kxAtomicFile
{
public:
    kxAtomicFile() = default;
    ~kxAtomicFile();
    kxAtomicFile(const kxAtomicFile&) = delete;
    kxAtomicFile& operator=(const kxAtomicFile&) = delete;

    /// False when the target cannot be written: it is a folder, is write-protected, or its folder is missing or closed.
    bool open(const char* path);
    /// Adds bytes at the end; small ones are gathered first.
    bool write(const void* bytes, uint64_t byteCount);
    bool write(std::string_view text) { return write(text.data(), text.size()); }
    /// Bytes written so far.
    uint64_t getSize() const { return m_size; }
    /// Flushes to disk and replaces the target. Closes the file in any case.
    bool commit();

private:
    bool writeThrough(const void* bytes, uint64_t byteCount);
    bool flushBuffer();
    bool fail(const char* what, int systemError);
    void abandon();

    std::string m_path;      // as the caller named it
    std::string m_target;    // links followed
    std::string m_temporary; // empty: the target is written directly
    std::unique_ptr<char[]> m_buffer;
    size_t m_buffered = 0;
    uint64_t m_size = 0;
    int m_descriptor = -1;
};

} // namespace Kel::Core
