// The native file format.
#pragma once

#include "platform/core/kxFileFormat.h"
#include "platform/core/kxMemoryBlock.h"

namespace Kel::Core
{

/// Files written from reflection: every object that the roots reach, with all fields that are saved, by class and field name,
/// so that a file outlives a change of class. Shared objects stay shared, cycles are kept, memory blocks are shown from the
/// mapped file. Equal directories give equal bytes.
///
/// Owned and referred to: links back and elements of lists that do not count are written as references when the file holds
/// the object for another reason, and as null otherwise.
///
/// Reading: unknown fields are skipped and missing ones keep their defaults, as does a list that a fresh object has and the
/// file gives as null; a field whose kind changed, a value that an enumeration does not have and a reference to an object of
/// the wrong type keep the default with one warning each; objects of unknown classes are left out with one warning for each
/// class, references to them become null. Anything else that is wrong with a file refuses it.
class kxKXBFormat : public kxFileFormat
{
    KX_OBJECT(kxKXBFormat, kxFileFormat)

    static constexpr uint32_t kVersion = 1;

    const char* getName() const override { return "KXB"; }
    bool claims(std::string_view lowerCaseExtension, const uint8_t* head, size_t headBytes) const override;
    bool canWrite(std::string_view lowerCaseExtension) const override;
    kxResult read(const char* path, const kxFileOptions& options, kxDirectory& directory) override;
    kxResult write(kxDirectory& directory, const char* path, const kxFileOptions& options) override;

    /// Reads a file that is in memory already, aligned to 16 bytes; the loaded memory blocks show parts of `bytes`. `name`
    /// stands for the path in messages.
    static kxResult readMemory(kxMemoryBlock* bytes, const char* name, kxDirectory& directory);
    /// The bytes of the file that `write` would write.
    static kxSmartPointer<kxMemoryBlock> writeMemory(kxDirectory& directory);
    /// Puts the checksum that belongs to the bytes of a changed file into its place, for tests of what lies behind it.
    static void seal(uint8_t* file, size_t byteCount);
};

} // namespace Kel::Core
