// A file for reading or writing.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <string>

namespace Kel::Core
{

/// An open file, unbuffered, closed with the object. What fails leaves its reason in `getFault`; nothing is reported. To
/// replace a file as a whole use `kxAtomicFile`, to read one as a whole `kxMappedFile`.
class kxFile
{
public:
    enum Mode
    {
        READ,
        WRITE, ///< makes the file or empties it
        APPEND
    };

    kxFile() = default;
    ~kxFile() { close(); }
    kxFile(const kxFile&) = delete;
    kxFile& operator=(const kxFile&) = delete;

    /// Folders are refused.
    bool open(const char* path, Mode mode);
    bool isOpen() const { return m_descriptor >= 0; }
    /// Reads up to `byteCount` bytes and gives their number, which is smaller only at the end of the file; -1 on failure.
    int64_t read(void* bytes, uint64_t byteCount);
    /// Writes all bytes or fails.
    bool write(const void* bytes, uint64_t byteCount);
    /// False when the system could not write what was left.
    bool close();

    /// Reason of the last failure, such as "No such file or directory".
    const std::string& getFault() const { return m_fault; }

private:
    bool fail();

    int m_descriptor = -1;
    std::string m_fault;
};

} // namespace Kel::Core
