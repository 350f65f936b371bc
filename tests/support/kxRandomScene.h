// Random scenes from seeds, and the smallest scene that still shows a fault.
#pragma once

#include "tests/support/kxTestScene.h"

#include <functional>
#include <random>
#include <string>

namespace Kel::Test
{

/// What random scenes may hold. The sizes are small: faults show in small scenes, and shrinking tries each many times.
struct RandomSceneOptions
{
    int maxNodes = 24;
    bool allNodeTypes = true;  ///< every registered class of nodes; otherwise the plain ones: groups, transforms,
                               ///< attribute sets, geometries, levels of detail, switches
    bool allAttrTypes = true;  ///< every registered class of attributes; otherwise materials and texture binds
    bool segments = false;     ///< segments and dynamic nodes, which most optimizations refuse
    bool locks = true;         ///< objects driven by data pumps
    bool exactMatrices = true; ///< small whole numbers and quarter turns, so that products are exact
};

/// Numbers that are the same on every platform, which the standard distributions are not.
class TestRandom
{
public:
    explicit TestRandom(uint32_t seed) : m_engine(seed) {}

    /// 0 to `count` - 1.
    uint32_t below(uint32_t count) { return static_cast<uint32_t>(m_engine()) % count; }
    bool oneIn(uint32_t count) { return below(count) == 0; }

private:
    std::mt19937 m_engine;
};

/// A scene with shared subtrees and attributes, attributes at every level, several parents, empty groups, null children,
/// mirrored transforms, animated nodes, and fields of every class set at random. Free of cycles. The same seed and options
/// give the same scene.
TestScene makeRandomScene(uint32_t seed, const RandomSceneOptions& options = {});

/// Answers what is wrong, or an empty string. It may change the scene.
using SceneProperty = std::function<std::string(TestScene& scene)>;

/// Expects a property of random scenes of the seeds 1 to `count`, or of the one seed that KXOPT_SEED names. What fails is
/// shrunk; the failure names the seed, the smallest scene and what is wrong with it.
void forRandomScenes(int count, const RandomSceneOptions& options, const SceneProperty& property);

/// Removes nodes, attributes, field values and locks from a scene for as long as `fails` says that the rest still fails.
/// The scene given must fail.
std::string shrinkScene(std::string text, const std::function<bool(const std::string& text)>& fails);

} // namespace Kel::Test
