#include "opt/scene/kxFlattenHierarchy.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include "opt/items/kxFlattenNode.h"
#include "opt/items/kxItemInterface.h"

namespace Kel::Opt
{

using Kel::Test::expectOptimized;
using Kel::Test::kUnchanged;
using Kel::Test::OptimizationCase;

namespace
{

const OptimizationCase kCases[] = {
    {"groups and sets go", "Group(Group(AttrSet{Material red}(Geometry{tri})), AttrSet(Geometry{quad}))",
     "Group(Geometry{tri, Material red}, Geometry{quad})"},
    {"the root stays", "Group(Group(Geometry{tri}))", "Group(Geometry{tri})"},
    {"a set as the root stays", "AttrSet{Material red}(Geometry{tri})", kUnchanged},
    {"a shared geometry cannot take two materials",
     "Group(AttrSet{Material red}(Geometry#g{tri}), AttrSet{Material blue}(Geometry#g))", kUnchanged},
    {"children of a switch stay apart", "Switch<0>(Group(Geometry{tri}), AttrSet{Material red}(Geometry{quad}))",
     kUnchanged},
    {"locked and animated nodes", "Group(Group!(Geometry{tri}), AttrSet^{Material red}(Geometry{quad}))", kUnchanged},
};

class CancellingService : public kxOptInterface
{
public:
    bool getOptCancelState() override { return m_cancelled; }
    bool m_cancelled = false;
};

} // namespace

TEST(kxFlattenHierarchy, MakesTheGraphShallower)
{
    for (const OptimizationCase& c : kCases)
        expectOptimized("kxFlattenHierarchy", {}, c);
    const char* text = "Group(Group(AttrSet{Material red}(Geometry{tri})), Group(Geometry{quad}))";
    expectOptimized("kxFlattenHierarchy", {{"flattenGroup", "false"}},
                    {"sets alone", text, "Group(Group(Geometry{tri, Material red}), Group(Geometry{quad}))"});
    expectOptimized("kxFlattenHierarchy", {{"flattenAttrSet", "false"}},
                    {"groups alone", text, "Group(AttrSet{Material red}(Geometry{tri}), Geometry{quad})"});
    expectOptimized("kxFlattenHierarchy", {{"flattenGroup", "false"}, {"flattenAttrSet", "false"}},
                    {"nothing", text, kUnchanged});
}

// The bold decisions hold only while it runs, also when it is cancelled.
TEST(kxFlattenHierarchy, PutsTheOrdinaryDecisionsBack)
{
    const auto service = kxNew<CancellingService>();
    TestRun run(service);
    auto flatten = run.create<kxFlattenHierarchy>();
    kxItemInterface* items = run.m_manager->_itemInterface;
    const kxStringRef collapse("kxCollapseNode");
    kxMetaObject* before = items->getRegisteredItemBase(collapse, kxGroup::staticMetaObject());
    for (const bool cancelled : {false, true})
    {
        service->m_cancelled = cancelled;
        NamedScene scene("Group(Group(Geometry{tri}))");
        EXPECT_EQ(flatten->apply(scene.m_root), !cancelled);
        EXPECT_EQ(scene.print(), cancelled ? "Group(Group(Geometry{tri}))" : "Group(Geometry{tri})");
        EXPECT_EQ(items->getRegisteredItemBase(collapse, kxGroup::staticMetaObject()), before);
        EXPECT_EQ(kxFlattenNode::getFlattenRoot(), nullptr);
    }
    ASSERT_FALSE(flatten->getCounters().empty());
    EXPECT_EQ(flatten->getCounters()[0].name, "nodes collapsed");
}

} // namespace Kel::Opt
