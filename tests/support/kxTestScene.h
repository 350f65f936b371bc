// Scenes of tests, read from their text form.
#pragma once

#include "platform/core/kxFileInfo.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxTextScene.h"

#include <string>
#include <string_view>

namespace Kel::Test
{

using namespace Kel::Sg;

/// A scene as a loaded file holds it: the graph in a scene info, and beside it the data pumps that lock objects.
struct TestScene
{
    kxSmartPointer<kxSceneInfo> info = kxNew<kxSceneInfo>();
    kxSmartPointer<kxDataPumpInfo> dataPumps = kxNew<kxDataPumpInfo>();

    TestScene() = default;
    explicit TestScene(kxNode* root) { info->setSceneGraph(root); }

    kxNode* root() const { return info->getSceneGraph(); }
    /// The infos as a file, pumps last.
    kxSmartPointer<kxFileInfo> asFile() const;
};

/// Reads a scene; text that is none is a failure of the running test and gives an empty scene.
TestScene parseScene(std::string_view text);
/// Reads an object of any class; null, with a failure, for text that is none.
kxSmartPointer<kxObject> parseTestObject(std::string_view text);

std::string printScene(const TestScene& scene);
std::string printScene(const kxNode* root, const kxDataPumpInfo* dataPumps = nullptr);
/// The text as the printer would write it, so that labels and blanks do not count in a comparison.
std::string normalizeScene(std::string_view text);

/// What is wrong with the links between parents and children at and below `root`, one line each: a child must list a
/// parent as often as it is among the parent's children, and no parent may stand outside. Empty when all is well.
std::string findLinkFaults(kxNode* root);

/// The scene written to a native file in memory and read back.
TestScene reloadScene(const TestScene& scene);
/// The bytes of that file.
std::string sceneBytes(const TestScene& scene);

} // namespace Kel::Test
