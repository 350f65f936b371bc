#include "tests/opt/randomGraph.h"
#include "tests/opt/testRun.h"

#include "opt/iterate/kxIterateGraph.h"
#include "opt/scene/kxRepairHierarchy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

namespace Kel::Opt
{

namespace
{

/// Every link of some nodes, in both directions.
std::string printLinks(const std::vector<kxSmartPointer<kxNode>>& nodes)
{
    std::string text;
    for (const kxNode* node : nodes)
    {
        text += kxFormat("%s below", node->getName().c_str());
        for (uint32_t i = 0; i < node->getParentCount(); ++i)
            text += kxFormat(" %s", node->getParent(i)->getName().c_str());
        if (const auto* group = kxCast<kxGroup>(node))
            for (uint32_t i = 0; i < group->getChildCount(); ++i)
                text += kxFormat("%s %s", i ? "" : " above",
                                 group->getChild(i) ? group->getChild(i)->getName().c_str() : "null");
        text += "\n";
    }
    return text;
}

/// The repair as it is defined, walking every path and searching every list.
class PlainRepair
{
public:
    void apply(kxNode* root)
    {
        const auto iterate = kxNew<kxIterateGraph>();
        for (iterate->begin(root); iterate->isNotLast(); iterate->getNext())
            if (kxNode* node = iterate->getCurrent())
                collectNodes(node);
        for (iterate->begin(root); iterate->isNotLast(); iterate->getNext())
            if (kxNode* node = iterate->getCurrent())
                detectLeakedNodes(node);
    }

    bool m_disableRepair = false;
    bool m_createParentList = false;
    std::set<const kxNode*> m_nodes;
    std::vector<kxSmartPointer<kxNode>> m_kept; // the walk stands on nodes that it cuts
    std::string m_text;

private:
    void collectNodes(kxNode* node)
    {
        while (kxGroup* parent = kxRepairHierarchy::checkParentList(node))
        {
            m_text += kxFormat("The node %s is not present in the the list of children of its parent %s\n",
                               node->getName().c_str(), parent->getName().c_str());
            if (m_disableRepair)
                break;
            node->_parentList->remove(parent);
            m_text += "\terror recovered.\n";
        }
        kxNode* child = kxRepairHierarchy::checkChildList(node);
        if (!child)
        {
            m_nodes.insert(node);
            return;
        }
        if (!child->_parentList && m_createParentList)
            child->_parentList = kxNew<kxNonRefCountedNodeList>();
        if (!child->_parentList)
            return;
        m_text += kxFormat("The node %s has the child %s which doesn't reference it as a parent\n",
                           node->getName().c_str(), child->getName().c_str());
        if (m_disableRepair)
            return;
        child->_parentList->append(node);
        m_text += "\terror recovered.\n";
        collectNodes(node);
    }
    void detectLeakedNodes(kxNode* node)
    {
        for (uint32_t i = 0; i < node->getParentCount(); ++i)
        {
            const kxSmartPointer<kxGroup> parent = node->getParent(i);
            if (m_nodes.contains(parent))
                continue;
            m_text += kxFormat("The parent %s of %s isn't in the graph.\n", parent->getName().c_str(),
                               node->getName().c_str());
            if (m_disableRepair)
                continue;
            m_kept.emplace_back(node);
            if (!parent->removeChild(node))
            {
                m_text += kxFormat("(the node %s was not in the list of children of %s\n", node->getName().c_str(),
                                   parent->getName().c_str());
                node->_parentList->remove(parent);
            }
            m_text += "\terror recovered.\n";
            --i;
        }
    }
};

/// Gives a graph some links of one direction only, lists that are missing, and parents outside. The outside ones are appended
/// to the nodes.
void damage(std::vector<kxSmartPointer<kxNode>>& nodes, uint32_t seed)
{
    std::mt19937 random(seed);
    auto below = [&](size_t limit) { return static_cast<uint32_t>(random() % limit); };
    const size_t inside = nodes.size();
    for (uint32_t outside = below(3); outside > 0; --outside)
    {
        auto group = kxNew<kxGroup>();
        group->setName(std::string(1, static_cast<char>('Z' - outside)));
        for (uint32_t links = below(4); links > 0; --links)
            group->appendChild(nodes[below(inside)]);
        nodes.emplace_back(group);
    }
    for (uint32_t faults = below(5); faults > 0; --faults)
    {
        kxNode* node = nodes[below(inside)];
        kxNode* other = nodes[below(nodes.size())];
        switch (below(3))
        {
        case 0:
            if (node->_parentList && kxCast<kxGroup>(other))
                node->_parentList->append(other);
            break;
        case 1:
            if (node->getParentCount() > 0)
                node->_parentList->removeAt(below(node->getParentCount()));
            break;
        case 2: node->_parentList = nullptr; break;
        }
    }
}

} // namespace

TEST(kxRepairHierarchy, RepairsEachDisagreement)
{
    struct Row
    {
        const char* what;
        std::function<void(NamedScene&)> damage;
        const char* text;
        const char* scene; // null: as it was
        const char* textWithoutRepair;
    };
    const char* text = "Group\"r\"(Group\"a\"(Group\"b\", null, Geometry\"c\"), Group\"d\")";
    const Row rows[] = {
        {"nothing wrong", [](NamedScene&) {}, "", nullptr, ""},
        {"a parent that does not list the node",
         [](NamedScene& scene)
         {
             scene["b"]->_parentList->append(scene["d"]);
             scene["b"]->_parentList->append(scene["r"]);
         },
         "The node b is not present in the the list of children of its parent d\n\terror recovered.\n"
         "The node b is not present in the the list of children of its parent r\n\terror recovered.\n",
         nullptr, "The node b is not present in the the list of children of its parent d\n"},
        {"children that do not list the group",
         [](NamedScene& scene)
         {
             scene["b"]->_parentList->clear();
             scene["c"]->_parentList->clear();
         },
         "The node a has the child b which doesn't reference it as a parent\n\terror recovered.\n"
         "The node a has the child c which doesn't reference it as a parent\n\terror recovered.\n",
         nullptr,
         // The group never counts as known then.
         "The node a has the child b which doesn't reference it as a parent\n"},
        {"and one that does", [](NamedScene& scene) { scene["c"]->_parentList->clear(); },
         "The node a has the child c which doesn't reference it as a parent\n\terror recovered.\n", nullptr,
         "The node a has the child c which doesn't reference it as a parent\nThe parent a of b isn't in the graph.\n"},
        // Without being told to make a list the check leaves the group at once; its other children lose it.
        {"a child without a parent list", [](NamedScene& scene) { scene["b"]->_parentList = nullptr; },
         "The parent a of c isn't in the graph.\n\terror recovered.\n",
         "Group \"r\"(Group \"a\"(Group \"b\", null), Group \"d\")", "The parent a of c isn't in the graph.\n"},
    };
    for (const Row& row : rows)
        for (const bool disabled : {false, true})
        {
            SCOPED_TRACE(row.what);
            TestRun run;
            NamedScene scene(text);
            row.damage(scene);
            const std::string before = scene.print();
            const auto repair = run.create<kxRepairHierarchy>();
            repair->_disableRepair = disabled;
            kxSmartPointer<kxNode> root = scene.m_root;
            EXPECT_TRUE(repair->apply(root));
            EXPECT_EQ(run.takeText(), disabled ? row.textWithoutRepair : row.text);
            EXPECT_EQ(scene.print(), disabled || !row.scene ? before : row.scene);
            if (disabled)
                continue;
            EXPECT_TRUE(repair->apply(root));
            EXPECT_EQ(run.takeText(), "") << "the second time all is well";
        }

    TestRun run;
    kxSmartPointer<kxNode> none;
    EXPECT_TRUE(run.create<kxRepairHierarchy>()->apply(none));
}

TEST(kxRepairHierarchy, MakesParentListsWhenToldTo)
{
    TestRun run;
    NamedScene scene("Group\"r\"(Group\"a\", Group\"b\")");
    scene["a"]->_parentList = nullptr;
    const auto repair = run.create<kxRepairHierarchy>();
    repair->_createParentList = true;
    EXPECT_TRUE(repair->apply(scene.m_root));
    EXPECT_EQ(run.takeText(),
              "The node r has the child a which doesn't reference it as a parent\n\terror recovered.\n");
    ASSERT_EQ(scene["a"]->getParentCount(), 1u);
    EXPECT_FALSE(scene["a"]->_parentList->isCounted()) << "children do not hold their parents";
}

TEST(kxRepairHierarchy, CutsLinksToParentsOutside)
{
    TestRun run;
    NamedScene scene("Group\"r\"(Group\"a\", Group\"b\")");
    NamedScene outside("Group\"o\"");
    outside.group("o")->appendChild(scene["a"]);
    outside.group("o")->appendChild(scene["b"]);
    outside.group("o")->appendChild(scene["a"]);
    scene["b"]->_parentList->append(outside["o"]); // twice, but a child once
    const auto repair = run.create<kxRepairHierarchy>();
    EXPECT_TRUE(repair->apply(scene.m_root));
    EXPECT_EQ(run.takeText(),
              "The parent o of a isn't in the graph.\n\terror recovered.\n"
              "The parent o of a isn't in the graph.\n\terror recovered.\n"
              "The parent o of b isn't in the graph.\n\terror recovered.\n"
              "The parent o of b isn't in the graph.\n(the node b was not in the list of children of o\n"
              "\terror recovered.\n");
    EXPECT_EQ(outside.group("o")->getChildCount(), 0u);
    EXPECT_EQ(scene["a"]->getParentCount() + scene["b"]->getParentCount(), 2u);
    EXPECT_EQ(repair->_nodeList->getCount(), 3u);

    // The nodes of the first graph count as known in the second run, also when they are gone.
    EXPECT_TRUE(repair->apply(outside.m_root));
    outside.group("o")->appendChild(scene["a"]);
    EXPECT_TRUE(repair->apply(scene.m_root));
    EXPECT_EQ(run.takeText(), "");
    ASSERT_EQ(repair->_nodeList->getCount(), 4u);
    for (uint32_t i = 1; i < 4; ++i)
        EXPECT_LT(repair->_nodeList->get(i - 1)->getSerial(), repair->_nodeList->get(i)->getSerial());
    {
        NamedScene third("Group\"x\"(Group\"y\")");
        EXPECT_TRUE(repair->apply(third.m_root));
    }
    NamedScene fourth("Group\"z\"");
    EXPECT_TRUE(repair->apply(fourth.m_root));
    EXPECT_EQ(repair->_nodeList->getCount(), 7u);
    // A host that empties the list makes it forget.
    repair->_nodeList->clear();
    EXPECT_TRUE(repair->apply(scene.m_root));
    EXPECT_EQ(run.takeText(), "The parent o of a isn't in the graph.\n\terror recovered.\n");
}

TEST(kxRepairHierarchy, ScenesOfOneFileShareNodes)
{
    TestRun run;
    NamedScene scene(R"(Group "both"(Group "a"(Group#s "s"), Group "b"(Group#s)))");
    NamedScene outside(R"(Group "o")");
    outside.group("o")->appendChild(scene["s"]);
    kxNode* roots[] = {scene["a"], scene["b"]};
    for (kxNode* root : roots)
    {
        kxCast<kxGroup>(scene.m_root)->removeChild(static_cast<const kxNode*>(root));
        const auto info = kxNew<Kel::Sg::kxSceneInfo>();
        info->setSceneGraph(root);
        run.getService()->_file->addInfo(info);
    }
    const auto repair = run.create<kxRepairHierarchy>();
    EXPECT_TRUE(repair->applyToInfos());
    EXPECT_EQ(run.takeText(), "The parent o of s isn't in the graph.\n\terror recovered.\n");
    EXPECT_EQ(scene["s"]->getParentCount(), 2u);
    EXPECT_TRUE(repair->applyInfo(run.getService()->getInfos()->get(1)));
    EXPECT_EQ(run.takeText(), "");
}

TEST(kxRepairHierarchy, SaysAndDoesWhatThePlainRepairDoes)
{
    for (uint32_t seed = 1; seed <= 4000; ++seed)
    {
        SCOPED_TRACE(seed);
        auto nodes = makeRandomGraph(seed);
        auto plainNodes = makeRandomGraph(seed);
        damage(nodes, seed);
        damage(plainNodes, seed);
        TestRun run;
        const auto repair = run.create<kxRepairHierarchy>();
        PlainRepair plain;
        plain.m_disableRepair = repair->_disableRepair = seed % 3 == 0;
        plain.m_createParentList = repair->_createParentList = seed % 2 == 0;
        kxSmartPointer<kxNode> root = nodes[0];
        for (int application = 0; application < 2; ++application)
        {
            EXPECT_TRUE(repair->apply(root));
            plain.apply(plainNodes[0]);
            ASSERT_EQ(run.takeText(), std::exchange(plain.m_text, ""));
            ASSERT_EQ(printLinks(nodes), printLinks(plainNodes));
            ASSERT_EQ(repair->_nodeList->getCount(), plain.m_nodes.size());
        }
    }
}

// Shapes whose cost would explode, or whose depth would, if a list were searched or a path walked for each node.
TEST(kxRepairHierarchy, CopesWithLargeShapes)
{
    TestRun run;
    auto makeGroup = [] { return kxNew<kxGroup>(); };
    struct Shape
    {
        const char* what;
        std::function<void(kxGroup*)> build;
        size_t faults; // lines that the check prints
    };
    std::vector<kxSmartPointer<kxGroup>> outside;
    const Shape shapes[] = {
        {"a deep chain",
         [&](kxGroup* at)
         {
             for (int i = 0; i < 200000; ++i)
             {
                 const auto next = makeGroup();
                 at->appendChild(next);
                 at = next;
             }
         },
         0},
        {"nested shared groups, with 2 to the power of 1000 paths",
         [&](kxGroup* at)
         {
             for (int i = 0; i < 1000; ++i)
             {
                 const kxSmartPointer<kxGroup> left = makeGroup(), right = makeGroup(), below = makeGroup();
                 at->appendChild(left);
                 at->appendChild(right);
                 left->appendChild(below);
                 right->appendChild(below);
                 at = below;
             }
             at->_parentList->append(outside.emplace_back(makeGroup()));
         },
         2},
        {"a star whose children lie outside as well, the other way round",
         [&](kxGroup* root)
         {
             kxGroup* other = outside.emplace_back(makeGroup());
             for (int i = 0; i < 100000; ++i)
                 root->appendChild(makeGroup());
             for (uint32_t i = 100000; i-- > 0;)
                 other->appendChild(root->getChild((i * 7919) % 100000));
         },
         200000},
        {"a node under many parents, every second of which does not list it",
         [&](kxGroup* root)
         {
             const auto shared = makeGroup();
             for (int i = 0; i < 100000; ++i)
             {
                 const auto parent = makeGroup();
                 root->appendChild(parent);
                 if (i % 2)
                     shared->_parentList->append(parent);
                 else
                     parent->appendChild(shared);
             }
         },
         100000},
    };
    for (const Shape& shape : shapes)
    {
        SCOPED_TRACE(shape.what);
        kxSmartPointer<kxNode> root = makeGroup();
        shape.build(static_cast<kxGroup*>(root.get()));
        const auto repair = run.create<kxRepairHierarchy>();
        EXPECT_TRUE(repair->canOptimize(root.get()));
        EXPECT_TRUE(repair->apply(root));
        const std::string text = run.takeText();
        EXPECT_EQ(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')), shape.faults);
        EXPECT_TRUE(repair->apply(root));
        EXPECT_EQ(run.takeText(), "");
    }
}

} // namespace Kel::Opt
