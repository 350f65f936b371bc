#include "tools/kxopt/kxTarget.h"

#include "platform/core/kxAtomicFile.h"
#include "platform/core/kxFileFormat.h"

#include <filesystem>

using namespace Kel::Core;

namespace Kel::Tool
{

bool checkTarget(const std::string& path)
{
    // Opening a pipe or a device is already an act: those are found out when they are written.
    std::error_code unknown;
    const auto type = std::filesystem::status(path, unknown).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular &&
        type != std::filesystem::file_type::directory)
        return true;
    kxAtomicFile file;
    return file.open(path.c_str());
}

bool checkSceneTarget(const std::string& path)
{
    return kxFileFormat::findWriter(path.c_str()) && checkTarget(path);
}

bool writeTextFile(const std::string& path, const std::string& text)
{
    kxAtomicFile file;
    return file.open(path.c_str()) && file.write(text) && file.commit();
}

uint64_t getFileBytes(const std::string& path)
{
    std::error_code unknown;
    const uintmax_t bytes = std::filesystem::file_size(path, unknown);
    return unknown ? 0 : bytes;
}

} // namespace Kel::Tool
