// Real scene files for tests. They stand beside the tree; tests that need them are skipped, and say so, where they are not.
#pragma once

#include <string>
#include <vector>

namespace Kel::Test
{

/// Folder of the assets: KXOPT_ASSETS in the environment, else ../shared/assets beside the tree. Empty when there is none.
std::string findAssets();

/// Scene files (.gltf and .glb) below a folder of the assets such as "scenes" or "malformed", sorted by path. Empty without
/// assets.
std::vector<std::string> listSceneFiles(const std::string& folder);

/// Stands first in a test that needs assets.
#define KX_NEEDS_ASSETS()                                                                                              \
    if (Kel::Test::findAssets().empty())                                                                               \
    GTEST_SKIP() << "no assets: set KXOPT_ASSETS to their folder"

} // namespace Kel::Test
