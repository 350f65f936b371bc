#include "tests/support/kxTestAssets.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace Kel::Test
{

std::string findAssets()
{
    const char* named = std::getenv("KXOPT_ASSETS");
    const std::filesystem::path path =
        named && *named ? std::filesystem::path(named)
                        : std::filesystem::path(KXOPT_SOURCE_DIR).parent_path() / "shared" / "assets";
    std::error_code error;
    return std::filesystem::is_directory(path, error) ? path.string() : std::string();
}

std::vector<std::string> listSceneFiles(const std::string& folder)
{
    std::vector<std::string> files;
    const std::string assets = findAssets();
    std::error_code error;
    if (assets.empty())
        return files;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::filesystem::path(assets) / folder, error))
    {
        const std::string extension = entry.path().extension().string();
        if (entry.is_regular_file() && (extension == ".gltf" || extension == ".glb"))
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace Kel::Test
