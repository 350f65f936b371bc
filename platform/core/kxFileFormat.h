// Readers and writers of scene files, found as the derived classes of one class.
#pragma once

#include "platform/core/kxFileOptions.h"

#include <string>
#include <string_view>

namespace Kel::Core
{

/// A format of scene files. Registering a derived class is all that makes a format known.
///
/// Whoever finds the reason of a failure reports it, once, as one error line that begins with the path ("city.glb: ..."); the
/// caller only passes on that there was one.
class kxFileFormat : public kxObject
{
    KX_OBJECT(kxFileFormat, kxObject)

    /// Name for messages, such as "glTF 2.0".
    virtual const char* getName() const = 0;
    /// True when the format reads a file with this extension (without dot, in small letters) that begins with these bytes.
    /// The bytes count for more: every format is asked with an empty extension first, then with the real one. `headBytes`
    /// is 0 for an empty file.
    virtual bool claims(std::string_view lowerCaseExtension, const uint8_t* head, size_t headBytes) const = 0;
    virtual bool canWrite(std::string_view lowerCaseExtension) const = 0;

    /// Adds what the file holds to the directory. On failure the directory holds what it held before.
    virtual kxResult read(const char* path, const kxFileOptions& options, kxDirectory& directory) = 0;
    /// Writes what the directory holds; on failure the file at `path` is what it was before.
    virtual kxResult write(kxDirectory& directory, const char* path, const kxFileOptions& options) = 0;

    /// Format of an existing file; null, with an error line, for a file that cannot be opened or that nobody claims. Of
    /// several that claim it, the one registered first.
    static kxSmartPointer<kxFileFormat> findReader(const char* path);
    /// Format that writes files with the extension of `path`; null, with an error line, when there is none.
    static kxSmartPointer<kxFileFormat> findWriter(const char* path);
};

/// Extension of a path in small letters, without the dot; empty when there is none.
std::string getLowerCaseExtension(std::string_view path);

} // namespace Kel::Core
