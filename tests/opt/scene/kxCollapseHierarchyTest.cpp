#include "opt/scene/kxCollapseHierarchy.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include "opt/items/kxCollapseNode.h"
#include "opt/items/kxItemInterface.h"
#include "opt/iterate/kxIterateObject.h"
#include "platform/sg/kxSwitch.h"
#include "platform/sg/kxTransform.h"

namespace Kel::Opt
{

using Kel::Test::expectOptimized;
using Kel::Test::kUnchanged;
using Kel::Test::OptimizationCase;

namespace
{

const OptimizationCase kGroupCases[] = {
    {"an only child takes the place", "Group \"root\"(Group(Geometry{tri}), Geometry{quad})",
     "Group \"root\"(Geometry{tri}, Geometry{quad})"},
    {"several children go behind the others", "Group \"root\"(Group(Geometry{tri}, Geometry{cube}), Geometry{quad})",
     "Group \"root\"(Geometry{quad}, Geometry{tri}, Geometry{cube})"},
    {"empty groups go, and what they leave empty", "Group \"root\"(Group(Group, Group(Group)), Geometry{tri})",
     "Group \"root\"(Geometry{tri})"},
    {"a chain", "Group \"root\"(Group(Group(Group(Group(Geometry{tri})))))", "Group \"root\"(Geometry{tri})"},
    {"a group below two parents", "Group \"root\"(Transform<1 0 0>(Group#g(Geometry{tri})), Transform<2 0 0>(Group#g))",
     "Group \"root\"(Transform<1 0 0>(Geometry#1{tri}), Transform<2 0 0>(Geometry#1))"},
    {"the root alone", "Group(Geometry{tri})", kUnchanged},
    {"derived types", "Group(Transform<1 0 0>(Geometry{tri}), AttrSet{Material red}(Geometry{quad}))", kUnchanged},
    {"locked, animated and told-of groups",
     "Group(Group!(Geometry{tri}), Group^(Geometry{quad}), Group[userData=UserData[extras=\"{}\"]])", kUnchanged},
    {"children of a switch stay apart", "Switch<0>(Group(Geometry{tri}, Geometry{quad}), Geometry{cube})", kUnchanged},
    {"ranges keep their places", "Lod<0 10 100>(Group, Group(Geometry{tri}))", kUnchanged},
    {"geometries of a mesh stay in order", "Mesh(Group(Geometry{tri}, Geometry{quad}), Geometry{cube})", kUnchanged},
};

const OptimizationCase kTransformCases[] = {
    {"the identity", "Group(Transform(Geometry{tri}))", "Group(Geometry{tri})"},
    {"two in a row", "Group(Transform<1 2 3>(Transform<1 0 0>(Geometry{tri})))",
     "Group(Transform<2 2 3>(Geometry{tri}))"},
    {"three in a row", "Group(Transform<1 0 0>(Transform<1 0 0>(Transform<1 0 0>(Geometry{tri}))))",
     "Group(Transform<3 0 0>(Geometry{tri}))"},
    {"also at the root", "Transform<1 0 0>(Transform<0 1 0>(Geometry{tri}))", "Transform<1 1 0>(Geometry{tri})"},
    {"mirrors are not baked into vertices", "Group(Transform<0 0 0 scale -1 1 1>(Geometry{tri}))", kUnchanged},
    {"a product that shears is no transform that every reader takes",
     "Group(Transform<0 0 0 scale 1 3 1>(Transform[rotation=0.92388,0,0,0.382683](Geometry{tri})))", kUnchanged},
    {"two mirrors", "Group(Transform<scale -1>(Transform<scale -1>(Geometry{tri})))", "Group(Geometry{tri})"},
    {"bones and what tracks drive", "Group(Joint(Joint), Transform^(Transform(Geometry{tri})))",
     "Group(Joint(Joint), Transform^(Geometry{tri}))"},
    {"materials with a volume see the scale",
     "Group(Transform<scale 2>(AttrSet{Material[extensionNames=(\"KHR_materials_volume\")]}(Geometry{tri})))",
     kUnchanged},
};

/// Answers what a test says, whatever the node.
class SaidCollapse : public kxCollapseNode
{
    KX_OBJECT(SaidCollapse, kxCollapseNode)

    static inline HIERARCHY_COLLAPSE s_mode = NO_CHANGE;
    static inline kxSmartPointer<kxNode> s_replaceNode;

    bool getRegisterInterface() override { return false; }
    kxMetaObject* getInterfacedType() override { return kxTransform::staticMetaObject(); }
    kxSmartPointer<kxParameterSet> collapse(kxParameterSet*) override
    {
        _collapse = s_mode;
        _replaceNode = s_replaceNode;
        kxParameterSetWrapper result;
        result.success();
        return result;
    }
};
KX_IMPLEMENT(SaidCollapse)

class CollapseAsSaid : public testing::Test
{
protected:
    CollapseAsSaid()
    {
        kxRegisterClass<SaidCollapse>("SaidCollapse", "test");
        SaidCollapse::s_replaceNode = nullptr;
        m_collapse = m_run.create<kxCollapseHierarchy>();
        m_collapse->_nodeType = kxTransform::staticMetaObject();
        kxItemInterface* items = m_run.m_manager->_itemInterface;
        items->getRegisteredItemBase(kxStringRef("kxCollapseNode"), kxTransform::staticMetaObject());
        items->setRegisteredItemBase(kxStringRef("kxCollapseNode"), kxTransform::staticMetaObject(),
                                     SaidCollapse::staticMetaObject());
    }
    ~CollapseAsSaid() override { SaidCollapse::s_replaceNode = nullptr; }

    std::string apply(HIERARCHY_COLLAPSE mode, const char* text)
    {
        SaidCollapse::s_mode = mode;
        NamedScene scene(text);
        EXPECT_TRUE(m_collapse->apply(scene.m_root));
        return scene.print();
    }

    TestRun m_run;
    kxSmartPointer<kxCollapseHierarchy> m_collapse;
};

} // namespace

TEST(kxCollapseHierarchy, CollapsesGroups)
{
    for (const OptimizationCase& c : kGroupCases)
        expectOptimized("kxCollapseHierarchy", {{"nodeType", "kxGroup"}}, c);
}

TEST(kxCollapseHierarchy, CollapsesTransforms)
{
    for (const OptimizationCase& c : kTransformCases)
        expectOptimized("kxCollapseHierarchy", {{"nodeType", "kxTransform"}}, c);
}

TEST(kxCollapseHierarchy, RefusesSettings)
{
    TestRun run;
    auto collapse = run.create<kxCollapseHierarchy>();
    NamedScene scene("Group(Group)");
    EXPECT_FALSE(collapse->apply(scene.m_root));
    EXPECT_TRUE(collapse->configure(0));
    for (const char* name : {"kxGroup", "noClass"})
    {
        collapse->_traversalName = name;
        EXPECT_FALSE(collapse->configure(0));
        EXPECT_EQ(run.takeText(), std::string(name) + " is not a traversal inheriting from kxItemBase\n");
    }
}

// Where a type has no collapse item the text names the traversal.
TEST(kxCollapseHierarchy, SaysThatThereIsNoItem)
{
    TestRun run;
    auto collapse = run.create<kxCollapseHierarchy>();
    collapse->_nodeType = kxSwitch::staticMetaObject();
    NamedScene scene("Group(Switch<0>(Geometry{tri}))");
    EXPECT_TRUE(collapse->apply(scene.m_root));
    EXPECT_EQ(run.takeText(), "the traversal kxNodeTraversal does not exist for this object (kxSwitch)\n");
}

TEST(kxCollapseHierarchy, ReportsWhatItLeftAlone)
{
    TestRun run;
    auto collapse = run.create<kxCollapseHierarchy>();
    collapse->_nodeType = kxGroup::staticMetaObject();
    NamedScene scene("Group \"root\"(Switch<0>(Group \"kept\"(Geometry{tri})), Group(Geometry{quad}), Group)");
    EXPECT_TRUE(collapse->apply(scene.m_root));
    ASSERT_EQ(collapse->getRefusals().size(), 1u);
    EXPECT_EQ(collapse->getRefusals()[0].reason, "a parent cannot be edited");
    EXPECT_EQ(collapse->getRefusals()[0].examples, std::vector<std::string>{"kxGroup \"kept\""});
    ASSERT_EQ(collapse->getCounters().size(), 2u);
    EXPECT_EQ(collapse->getCounters()[0].name, "nodes collapsed");
    EXPECT_EQ(collapse->getCounters()[1].name, "subtrees pruned");
    EXPECT_EQ(collapse->getCounters()[1].value, 1);
}

TEST_F(CollapseAsSaid, PrunesUnderEveryParent)
{
    EXPECT_EQ(apply(PRUNE_TREE, "Group(Group(Transform#t<1 0 0>(Geometry{tri})), Group(Geometry{quad}, Transform#t))"),
              "Group(Group, Group(Geometry{quad}))");
    EXPECT_EQ(apply(PRUNE_TREE, "Transform<1 0 0>(Geometry{tri})"), "Transform<1 0 0>(Geometry{tri})");
}

TEST_F(CollapseAsSaid, WalksOnInWhatTookThePlace)
{
    EXPECT_EQ(apply(COLLAPSE_TREE, "Group(Transform<1 0 0>(Transform<2 0 0>(Geometry{tri}, Transform<3 0 0>)), "
                                   "Group(Transform<4 0 0>(Geometry{quad}, Geometry{cube})), Transform<5 0 0>)"),
              "Group(Group(Geometry{quad}, Geometry{cube}), Geometry{tri})");
}

// The replacement at the root takes over nothing: the children are detached from the old root.
TEST_F(CollapseAsSaid, ReplacesTheRoot)
{
    SaidCollapse::s_replaceNode = kxNew<kxGroup>();
    EXPECT_EQ(apply(REPLACE_TREE, "Transform<1 0 0>(Geometry{tri})"), "Group");
    SaidCollapse::s_replaceNode = nullptr;
    EXPECT_EQ(apply(REPLACE_TREE, "Group(Transform<1 0 0>(Geometry{tri}))"), "Group(Transform<1 0 0>(Geometry{tri}))");
    EXPECT_EQ(m_run.takeText(), "The interface kxCollapseNode should have provided a replace node for kxTransform\n");
}

} // namespace Kel::Opt
