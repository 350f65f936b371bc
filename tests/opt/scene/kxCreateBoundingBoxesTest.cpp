#include "opt/scene/kxCreateBoundingBoxes.h"

#include "tests/support/kxExpectOptimized.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{

using namespace Kel::Test;

TEST(kxCreateBoundingBoxes, DoesWhatTheThreeSettingsSay)
{
    const char* const kOld = "Group[boundingVolume=BoundingVolume[box=0,0,0,9,9,9]](Group(Geometry{tri}))";
    const char* const kNone = "Group(Group(Geometry{tri}))";
    const char* const kAll =
        "Group[boundingVolume=BoundingVolume[box=0,0,0,1,1,0]](Group[boundingVolume=BoundingVolume["
        "box=0,0,0,1,1,0]](Geometry[boundingVolume=BoundingVolume[box=0,0,0,1,1,0]]{tri}))";
    const char* const kRoot = "Group[boundingVolume=BoundingVolume[box=0,0,0,1,1,0]](Group(Geometry{tri}))";
    const OptimizationCase kCases[] = {{"all", kOld, kRoot}, {"without old ones", kNone, kRoot}};
    for (const OptimizationCase& c : kCases)
        expectOptimized("kxCreateBoundingBoxes", {}, c);
    expectOptimized("kxCreateBoundingBoxes", {{"optimize", "false"}}, {"each node", kOld, kAll});
    expectOptimized("kxCreateBoundingBoxes", {{"removeOldVolumes", "false"}},
                    {"in place of the old ones", kOld, kRoot});
    expectOptimized("kxCreateBoundingBoxes", {{"createNewVolumes", "false"}}, {"only removal", kAll, kNone});
    expectOptimized("kxCreateBoundingBoxes", {{"createNewVolumes", "false"}, {"removeOldVolumes", "false"}},
                    {"nothing", kAll, kUnchanged});
    const RunResult result = expectOptimized("kxCreateBoundingBoxes", {}, kCases[0]);
    EXPECT_EQ(result.counters.at("volumes removed"), 1);
    EXPECT_EQ(result.counters.at("volumes made"), 3);
    EXPECT_EQ(result.counters.at("volumes dropped that reject nothing"), 2);
}

} // namespace Kel::Opt
