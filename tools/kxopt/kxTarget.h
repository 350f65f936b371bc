// Files to be written, looked at before the work begins.
#pragma once

#include <cstdint>
#include <string>

namespace Kel::Tool
{

/// True when a file can be written at `path`; otherwise one error line has gone out. Nothing is changed.
bool checkTarget(const std::string& path);
/// The same for a scene, whose format the extension names.
bool checkSceneTarget(const std::string& path);
/// Replaces the file as a whole or leaves it as it was; false after an error line.
bool writeTextFile(const std::string& path, const std::string& text);

/// Bytes of a file, 0 when there is none.
uint64_t getFileBytes(const std::string& path);

} // namespace Kel::Tool
