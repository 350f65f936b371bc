#include "tests/opt/randomGraph.h"
#include "tests/opt/testRun.h"

#include "opt/iterate/kxOptReplaceNode.h"
#include "opt/iterate/kxOptVisitObject.h"
#include "platform/core/kxDirectory.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxGeometry.h"

#include <gtest/gtest.h>

#include <functional>

namespace Kel::Opt
{

namespace
{

/// Service that counts how often it is asked whether to stop, and says so from a given time on.
class PollService : public kxOptInterface
{
public:
    bool getOptCancelState() override { return ++m_polls > m_cancelAfter; }
    int m_polls = 0;
    int m_cancelAfter = INT32_MAX;
};

class TraverseTest : public kxOptReplaceNode
{
public:
    bool preTraverse() override
    {
        m_met += "<";
        return false;
    }
    bool postTraverse() override
    {
        m_met += ">";
        return false;
    }
    bool configure(int) override { return true; }
    GRAPH_TRAVERSAL dispatch(kxSmartPointer<kxNode>& node) override
    {
        m_met += node->getName().str();
        return m_dispatch ? m_dispatch(node) : RECURSE_TREE;
    }

    std::function<GRAPH_TRAVERSAL(kxSmartPointer<kxNode>&)> m_dispatch;
    std::string m_met;
};

/// The walk as it is defined: by recursion, with a number of children that is fixed on entering a group.
bool recurse(kxNode* node, const std::string& stopAt, const std::string& pruneAt, std::string& met, int& polls)
{
    if (!node)
        return true;
    met += node->getName().str();
    if (node->getName().str() == stopAt)
        return false;
    const auto* group = kxCast<kxGroup>(node);
    if (!group || node->getName().str() == pruneAt)
        return true;
    for (uint32_t i = 0; i < group->getChildCount(); ++i)
        if (group->getChild(i))
        {
            const bool goOn = recurse(group->getChild(i), stopAt, pruneAt, met, polls);
            ++polls;
            if (!goOn)
                return false;
        }
    return true;
}

/// Counts what it visits.
class VisitTest : public kxOptVisitObject
{
public:
    explicit VisitTest(kxMetaObject* type) : m_type(type) { _visitedMetaObject = type; }
    kxMetaObject* getVisitedObjectMeta() override { return m_type; }
    void preVisit() override { m_met += "<"; }
    void postVisit() override { m_met += ">"; }
    void visitor(kxObject* object) override { m_met += getObjectName(object).str(); }
    bool configure(int) override { return true; }

    kxMetaObject* m_type;
    std::string m_met;
};

} // namespace

TEST(kxOptTraverseGraph, ChoosesNodesByTypeAndName)
{
    const char* text =
        "Group\"a\"(null, Transform\"b\"(Group\"c\", Joint\"d\"), Group\"e\"(Transform#1\"b\"(Geometry\"g\")), "
        "Transform#1)";
    struct Row
    {
        kxMetaObject* type;
        bool exact;
        const char* first;
        const char* met;
    };
    TestRun run;
    const Row rows[] = {
        {kxNode::staticMetaObject(), true, "", "<abcdebgbg>"},  {nullptr, true, "", "<abcdebgbg>"},
        {kxGroup::staticMetaObject(), true, "", "<ace>"},       {kxTransform::staticMetaObject(), true, "", "<bbb>"},
        {kxTransform::staticMetaObject(), false, "", "<bdbb>"}, {kxNode::staticMetaObject(), true, "b", "<bcdbgbg>"},
        {kxTransform::staticMetaObject(), false, "e", "<b>"},   {kxGroup::staticMetaObject(), true, "a", "<ace>"},
        {kxNode::staticMetaObject(), true, "nowhere", "<>"},
    };
    for (const Row& row : rows)
    {
        const NamedScene scene(text);
        auto traverse = run.create<TraverseTest>();
        EXPECT_EQ(traverse->_nodeType.get(), kxNode::staticMetaObject());
        traverse->_nodeType = row.type;
        traverse->_exactType = row.exact;
        traverse->_firstNodeName = row.first;
        kxSmartPointer<kxNode> root = scene.m_root;
        EXPECT_TRUE(traverse->apply(root));
        EXPECT_EQ(traverse->m_met, row.met) << (row.type ? row.type->getName().c_str() : "any") << " " << row.first;
        EXPECT_EQ(traverse->_exactType, row.exact && row.type != kxNode::staticMetaObject());
    }
    kxSmartPointer<kxNode> none;
    EXPECT_TRUE(run.create<TraverseTest>()->apply(none));
}

TEST(kxOptTraverseGraph, StopsPrunesAndPollsLikeARecursion)
{
    for (uint32_t seed = 1; seed <= 300; ++seed)
    {
        SCOPED_TRACE(seed);
        const auto nodes = makeRandomGraph(seed);
        const std::string stopAt = seed % 3 ? nodes[seed % nodes.size()]->getName().str() : "";
        const std::string pruneAt = nodes[seed * 7 % nodes.size()]->getName().str();
        std::string met;
        int polls = 0;
        recurse(nodes[0], stopAt, pruneAt, met, polls);

        const auto service = kxNew<PollService>();
        TestRun run(service);
        const auto traverse = run.create<TraverseTest>();
        traverse->m_dispatch = [&](kxSmartPointer<kxNode>& node)
        {
            const std::string name = node->getName().str();
            return name == stopAt ? STOP_TRAVERSAL : name == pruneAt ? PRUNE_TREE : RECURSE_TREE;
        };
        kxSmartPointer<kxNode> root = nodes[0];
        EXPECT_TRUE(traverse->apply(root)) << "a stopped walk has succeeded";
        EXPECT_EQ(traverse->m_met, "<" + met + ">");
        EXPECT_EQ(service->m_polls, polls + 1) << "once behind each child and once at the end";
    }
}

TEST(kxOptTraverseGraph, StopsWhenCancelled)
{
    const auto service = kxNew<PollService>();
    TestRun run(service);
    const NamedScene scene("Group\"a\"(Group\"b\"(Group\"c\", Group\"d\"), Group\"e\")");
    const char* met[] = {"<abc", "<abcd", "<abcd", "<abcde"};
    for (int polls = 0; polls < 4; ++polls)
    {
        service->m_polls = 0;
        service->m_cancelAfter = polls;
        const auto traverse = run.create<TraverseTest>();
        kxSmartPointer<kxNode> root = scene.m_root;
        EXPECT_FALSE(traverse->apply(root));
        EXPECT_EQ(traverse->m_met, met[polls]);
    }
}

TEST(kxOptTraverseGraph, PutsReplacedNodesInPlace)
{
    struct Row
    {
        const char* what;
        std::function<GRAPH_TRAVERSAL(NamedScene&, kxSmartPointer<kxNode>&)> dispatch; // at the node b
        const char* met;
        const char* scene;
    };
    auto fresh = [](const char* text) { return NamedScene(text).m_root; };
    const Row rows[] = {
        {"walks the new node's children",
         [&](NamedScene&, kxSmartPointer<kxNode>& node)
         {
             node = fresh("Group\"x\"(Group\"y\")");
             return RECURSE_TREE;
         },
         "<abyde>", "Group \"a\"(Group \"x\"(Group \"y\"), Group \"d\"(Group \"e\"))"},
        {"not when pruned",
         [&](NamedScene&, kxSmartPointer<kxNode>& node)
         {
             node = fresh("Group\"x\"(Group\"y\")");
             return PRUNE_TREE;
         },
         "<abde>", "Group \"a\"(Group \"x\"(Group \"y\"), Group \"d\"(Group \"e\"))"},
        {"nothing in its place",
         [](NamedScene&, kxSmartPointer<kxNode>& node)
         {
             node = nullptr;
             return RECURSE_TREE;
         },
         "<abde>", "Group \"a\"(null, Group \"d\"(Group \"e\"))"},
        {"already put there by dispatch",
         [&](NamedScene&, kxSmartPointer<kxNode>& node)
         {
             const auto other = fresh("Group\"x\"");
             EXPECT_EQ(kxOptReplaceNode::doReplaceNode(node, other), 1u);
             node = other;
             return RECURSE_TREE;
         },
         "<abde>", "Group \"a\"(Group \"x\", Group \"d\"(Group \"e\"))"},
        // The number of children was taken before: the one inserted shifts the last one out of it.
        {"a sibling put in front of it",
         [&](NamedScene& scene, kxSmartPointer<kxNode>& node)
         {
             scene.group("a")->insertChild(0, fresh("Group\"x\""));
             node = fresh("Group\"z\"");
             return RECURSE_TREE;
         },
         "<abz>", "Group \"a\"(Group \"x\", Group \"z\", Group \"d\"(Group \"e\"))"},
        {"all siblings removed",
         [](NamedScene& scene, kxSmartPointer<kxNode>& node)
         {
             scene.group("a")->removeAllChildren();
             node = nullptr;
             return RECURSE_TREE;
         },
         "<ab>", "Group \"a\""},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        TestRun run;
        NamedScene scene("Group\"a\"(Group\"b\"(Group\"c\"), Group\"d\"(Group\"e\"))");
        const auto traverse = run.create<TraverseTest>();
        traverse->m_dispatch = [&](kxSmartPointer<kxNode>& node)
        { return node.get() == scene["b"] ? row.dispatch(scene, node) : RECURSE_TREE; };
        kxSmartPointer<kxNode> root = scene.m_root;
        EXPECT_TRUE(traverse->apply(root));
        EXPECT_EQ(traverse->m_met, row.met);
        EXPECT_EQ(scene.print(), row.scene);
    }

    // The root is its holder's.
    TestRun run;
    const auto traverse = run.create<TraverseTest>();
    traverse->m_dispatch = [&](kxSmartPointer<kxNode>& node)
    {
        if (node->getName() == kxStringRef("old"))
            node = fresh("Group\"new\"(Group\"child\")");
        return RECURSE_TREE;
    };
    kxSmartPointer<kxNode> root = fresh("Group\"old\"(Group\"gone\")");
    EXPECT_TRUE(traverse->apply(root));
    EXPECT_EQ(traverse->m_met, "<oldchild>");
    EXPECT_EQ(root->getName(), kxStringRef("new"));
}

TEST(kxOptTraverseGraph, WalksADeepChain)
{
    TestRun run;
    kxSmartPointer<kxNode> root = kxNew<kxGroup>();
    auto* deepest = static_cast<kxGroup*>(root.get());
    for (int i = 1; i < 1000000; ++i)
    {
        const auto group = kxNew<kxGroup>();
        deepest->appendChild(group);
        deepest = group;
    }
    int count = 0;
    const auto traverse = run.create<TraverseTest>();
    traverse->m_dispatch = [&](kxSmartPointer<kxNode>&) { return ++count < 1000000 ? RECURSE_TREE : STOP_TRAVERSAL; };
    EXPECT_TRUE(traverse->apply(root));
    EXPECT_EQ(count, 1000000);
}

TEST(kxOptReplaceNode, ReplacesANodeUnderAllItsParents)
{
    const NamedScene scene("Group\"a\"(Group#1\"b\", Group\"c\"(Group\"d\", Group#1, Group#1))");
    auto group = kxNew<kxGroup>();
    group->setName("new");
    group->appendChild(scene["b"]); // it takes the node's place and keeps it as a child
    EXPECT_EQ(kxOptReplaceNode::doReplaceNode(scene["b"], group), 3u);
    EXPECT_EQ(scene.print(), "Group \"a\"(Group#1 \"new\"(Group \"b\"), Group \"c\"(Group \"d\", Group#1, Group#1))");
    EXPECT_EQ(scene["b"]->getParentCount(), 1u);
    EXPECT_EQ(group->getParentCount(), 3u);
    EXPECT_EQ(kxOptReplaceNode::doReplaceNode(group, scene["b"]), 3u);
    EXPECT_EQ(scene.print(), "Group \"a\"(Group#1 \"b\", Group \"c\"(Group \"d\", Group#1, Group#1))");
    EXPECT_EQ(kxOptReplaceNode::doReplaceNode(scene["a"], group), 0u) << "a root has no parents";
    EXPECT_EQ(kxOptReplaceNode::doReplaceNode(nullptr, group), 0u);
}

TEST(kxOptVisitObject, VisitsEachObjectOfATypeOnce)
{
    const auto service = kxNew<PollService>();
    TestRun run(service);
    NamedScene scene("Group\"a\"(null, Segment~\"s\"(Geometry#1\"g\"{tri}), AttrSet\"b\"(Geometry#1, Geometry\"h\"))");
    auto info = kxNew<kxSceneInfo>();
    info->setName("scene");
    info->setSceneGraph(scene.m_root);
    struct Row
    {
        kxMetaObject* type;
        const char* met;
    };
    for (const Row& row : {Row{kxGeometry::staticMetaObject(), "<gh>"}, Row{kxAttrSet::staticMetaObject(), "<bgh>"},
                           Row{kxSceneInfo::staticMetaObject(), "<scene>"}, Row{kxSkin::staticMetaObject(), "<>"}})
    {
        auto visit = kxNew<VisitTest>(row.type);
        run.m_manager->setup(visit);
        EXPECT_TRUE(visit->applyInfo(info));
        EXPECT_EQ(visit->m_met, row.met);
    }

    const auto visit = kxNew<VisitTest>(kxGeometry::staticMetaObject());
    run.m_manager->setup(visit);
    EXPECT_TRUE(visit->canOptimize(scene.m_root.get())) << "segments and dynamic nodes are welcome";
    EXPECT_TRUE(visit->canOptimize(info.get()));
    EXPECT_TRUE(visit->canOptimize(kxNew<kxAnimationDatabase>().get()));
    EXPECT_FALSE(visit->canOptimize(kxNew<kxDataPumpInfo>().get()));
    kxSmartPointer<kxNode> root = scene["b"];
    EXPECT_TRUE(visit->apply(root));
    EXPECT_EQ(visit->m_met, "<gh>");
    root = nullptr;
    EXPECT_FALSE(visit->apply(root));
    EXPECT_FALSE(visit->applyToDirectory(nullptr));
    EXPECT_EQ(visit->m_met, "<gh>");

    // Both scenes as one, the shared geometry once, and nothing of what is disabled.
    auto other = kxNew<kxSceneInfo>();
    other->setSceneGraph(scene["g"]);
    service->_file->addInfo(info);
    service->_file->addInfo(other);
    visit->m_met.clear();
    EXPECT_TRUE(visit->applyToInfos());
    EXPECT_EQ(std::count(visit->m_met.begin(), visit->m_met.end(), 'g'), 1);
    service->disableInfo(info);
    visit->m_met.clear();
    EXPECT_TRUE(visit->applyToInfos());
    EXPECT_EQ(visit->m_met, "<g>");

    service->m_cancelAfter = service->m_polls + 1;
    visit->m_met.clear();
    EXPECT_FALSE(visit->applyInfo(info));
    EXPECT_EQ(visit->m_met, "<") << "cancelled before the second object";
}

} // namespace Kel::Opt
