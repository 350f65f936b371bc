#include "opt/scene/kxCompileGraph.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

namespace Kel::Opt
{

using namespace Kel::Test;

// A scene is recorded so that the state around it is restored, whatever the setting says.
TEST(kxCompileGraph, CompilesScenesWithRestoredState)
{
    const OptimizationCase kCase = {"a scene", "Transform<1 0 0>(Geometry{tri})",
                                    "CompiledGraph(Transform<1 0 0>(Geometry{tri}))", SECOND_RUN_CHANGES};
    expectOptimized("kxCompileGraph", {{"priorStateUsage", "0"}}, kCase);
    expectOptimized("kxCompileGraph", {}, kCase);
}

TEST(kxCompileGraph, StandsLastUnderAllParents)
{
    TestRun run;
    const auto compile = run.create<kxCompileGraph>();
    compile->_priorStateUsage = PriorStateUsage::kUsed;
    NamedScene scene("Group(Group \"a\"(Group#n \"n\"(Geometry{tri}), Camera), Group \"b\"(Group#n, Camera, Group#n))");
    kxSmartPointer<kxNode> node = scene["n"];
    EXPECT_TRUE(compile->apply(node));
    EXPECT_EQ(scene.print(), normalizeScene("Group(Group \"a\"(Camera, CompiledGraph#c[priorStateUsage=1](Group "
                                            "\"n\"(Geometry{tri}))), Group \"b\"(Camera, CompiledGraph#c, "
                                            "CompiledGraph#c))"));
    EXPECT_TRUE(node->isOfExactType(kxCompiledGraph::staticMetaObject()));
    EXPECT_EQ(findLinkFaults(scene.m_root), "");
    kxSmartPointer<kxNode> none;
    EXPECT_FALSE(compile->apply(none));
}

} // namespace Kel::Opt
