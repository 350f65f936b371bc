#include "opt/iterate/kxIterateObject.h"

#include "opt/items/kxChildContainer.h"
#include "opt/items/kxItemNames.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/core/kxUserData.h"
#include "platform/sg/kxAttrSet.h"
#include "tests/opt/randomGraph.h"
#include "tests/opt/testRun.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>

namespace Kel::Opt
{
namespace
{

/// Lists children as the node traversal does, and says when some list was changed: by the test, which does that.
class kxCountingTraversal : public kxNodeTraversal
{
    KX_OBJECT(kxCountingTraversal, kxNodeTraversal)

    static uint64_t s_changeCount;
    static size_t s_fetched;

    kxStringRef getInterfaceName() override { return "kxCountingTraversal"; }
    uint64_t getChangeCount() const override { return s_changeCount; }
    kxSmartPointer<kxParameterSet> getChildList(kxParameterSet* input) override
    {
        ++s_fetched;
        return kxNodeTraversal::getChildList(input);
    }
};
KX_IMPLEMENT(kxCountingTraversal)
uint64_t kxCountingTraversal::s_changeCount = 0;
size_t kxCountingTraversal::s_fetched = 0;

class kxIterateObjectTest : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        kxRegisterClass<kxCountingTraversal>("kxCountingTraversal", "traversal of the tests");
        kxCountingTraversal::s_changeCount = 1;
        m_walk->setItemInterface(m_run.m_manager->_itemInterface);
        m_walk->setTraversalName(GetParam());
    }
    /// Where edits are made past the items, the traversal that counts them is told.
    void edited() { ++kxCountingTraversal::s_changeCount; }

    static std::string nameOf(const kxObject* object)
    {
        return object ? static_cast<const kxNode*>(object)->getName().str() : "-";
    }
    std::string path() const
    {
        std::string text;
        for (const kxObject* object : *m_walk->_currentPath)
            text += nameOf(object);
        EXPECT_EQ(m_walk->_currentPath->getCount(), m_walk->_currentIndices->getCount());
        EXPECT_EQ(m_walk->_currentPath->getCount(), m_walk->_cachedChildList->getCount());
        return text;
    }
    /// The path at each object of the walk. `act` is called at each object before the walk goes on.
    std::string walk(kxObject* root, const std::function<void(const std::string& name)>& act = nullptr)
    {
        std::string text;
        for (kxObject* object = m_walk->begin(root); object; object = m_walk->getNext())
        {
            if (!text.empty())
                text += ' ';
            text += path();
            if (act)
                act(nameOf(object));
            if (text.size() > 10000)
                return text + " ... for ever";
        }
        EXPECT_FALSE(m_walk->isNotLast());
        EXPECT_EQ(m_walk->getNext(), nullptr) << "at the end it stays";
        return text;
    }

    TestRun m_run;
    kxSmartPointer<kxIterateObject> m_walk = kxNew<kxIterateObject>();
};
INSTANTIATE_TEST_SUITE_P(Traversals, kxIterateObjectTest, testing::Values("kxNodeTraversal", "kxCountingTraversal"));

// Groups are called by one letter.
struct WalkCase
{
    const char* what;
    const char* scene;
    const char* once;  // path at each object returned
    const char* paths; // the same with _visitOnce false
};

const WalkCase kWalkCases[] = {
    {"a root alone", R"(Group "r")", "r", "r"},
    {"pre-order", R"(Group "r"(Group "a"(Group "b", Group "c"), Group "d"))", "r ra rab rac rd", "r ra rab rac rd"},
    {"null children are passed over", R"(Group "r"(null, Group "a"(null), null, Group "b", null))", "r ra rb",
     "r ra rb"},
    {"shared by two parents", R"(Group "r"(Group "a"(Group#s "s"(Group "t")), Group "b"(Group#s)))", "r ra ras rast rb",
     "r ra ras rast rb rbs rbst"},
    {"twice under one parent", R"(Group "r"(Group#s "s"(Group "t"), Group#s))", "r rs rst", "r rs rst rs rst"},
    {"met again on the way down", R"(Group "r"(Group#s "s", Group "a"(Group#s, Group "b")))", "r rs ra rab",
     "r rs ra ras rab"},
};

TEST_P(kxIterateObjectTest, WalksInPreOrder)
{
    for (const WalkCase& row : kWalkCases)
    {
        const NamedScene scene(row.scene);
        m_walk->setVisitOnce(true);
        EXPECT_EQ(walk(scene.m_root), row.once) << row.what;
        EXPECT_EQ(m_walk->_traversedObject->getCount(), std::count(row.once, row.once + strlen(row.once), ' ') + 1);
        for (uint32_t i = 1; i < m_walk->_traversedObject->getCount(); ++i)
            EXPECT_LT(m_walk->_traversedObject->get(i - 1)->getSerial(), m_walk->_traversedObject->get(i)->getSerial());
        m_walk->setVisitOnce(false);
        EXPECT_EQ(walk(scene.m_root), row.paths) << row.what;
    }
}

// With _visitOnce every reachable node is returned once, whatever the graph; without it, once for each path.
TEST_P(kxIterateObjectTest, RandomGraphsAgainstRecursion)
{
    for (uint32_t seed = 1; seed <= 300; ++seed)
    {
        const auto nodes = makeRandomGraph(seed);
        std::string paths;
        std::set<kxObject*> reached;
        const std::function<void(kxNode*, std::string)> recurse = [&](kxNode* node, std::string path)
        {
            path += nameOf(node);
            if (!paths.empty())
                paths += ' ';
            paths += path;
            reached.insert(node);
            if (const auto* group = kxCast<kxGroup>(node))
                for (uint32_t i = 0; i < group->getChildCount(); ++i)
                    if (group->getChild(i))
                        recurse(group->getChild(i), path);
        };
        recurse(nodes[0], "");
        m_walk->setVisitOnce(false);
        if (paths.size() < 9000)
        {
            EXPECT_EQ(walk(nodes[0]), paths) << "seed " << seed;
        }
        m_walk->setVisitOnce(true);
        std::vector<kxObject*> met;
        for (kxObject* object = m_walk->begin(nodes[0]); object; object = m_walk->getNext())
            met.push_back(object);
        EXPECT_EQ(std::set<kxObject*>(met.begin(), met.end()), reached) << "seed " << seed;
        EXPECT_EQ(met.size(), reached.size()) << "seed " << seed;
    }
}

TEST_P(kxIterateObjectTest, ReplacesAndRemovesWhatItStandsAt)
{
    struct
    {
        const char* what;
        char at;          // where something is done
        const char* with; // name of the replacement, null removes
        const char* walked;
    } const rows[] = {
        {"a leaf removed", 'b', nullptr, "r ra rab rac rd rde"},
        {"the last of its parent removed", 'c', nullptr, "r ra rab rac rd rde"},
        {"a group removed with all below", 'a', nullptr, "r ra rd rde"},
        {"the root removed", 'r', nullptr, "r"},
        {"a leaf replaced by a group", 'b', "x", "r ra rab raxy rac rd rde"},
        {"a group replaced: the new one's children follow", 'a', "x", "r ra rxy rd rde"},
        {"the root replaced", 'r', "x", "r xy"},
    };
    for (const auto& row : rows)
    {
        const NamedScene scene(R"(Group "r"(Group "a"(Group "b", Group "c"), Group "d"(Group "e")))");
        const NamedScene other(R"(Group "x"(Group "y"))");
        const std::string before = scene.print();
        EXPECT_EQ(walk(scene.m_root,
                       [&](const std::string& name)
                       {
                           if (name[0] == row.at)
                           {
                               EXPECT_TRUE(m_walk->replaceCurrent(row.with ? other[row.with] : nullptr));
                           }
                       }),
                  row.walked)
            << row.what;
        EXPECT_EQ(scene.print(), before) << "the walk's lists are its own";
    }
    EXPECT_FALSE(m_walk->replaceCurrent(nullptr)) << "there is no current object";
    m_walk->removeLastObject();
}

TEST_P(kxIterateObjectTest, AReplacementIsCurrentAndKeepsThePlace)
{
    const NamedScene scene(R"(Group "r"(Group "a", Group "b"))");
    const NamedScene other(R"(Group "x")");
    m_walk->begin(scene.m_root);
    m_walk->getNext();
    EXPECT_TRUE(m_walk->replaceCurrent(other.m_root));
    EXPECT_EQ(nameOf(m_walk->getCurrent()), "x");
    EXPECT_EQ(m_walk->_currentIndices->getLast(), 0);
    EXPECT_EQ(m_walk->_cachedChildList->get(0)->get(0), other.m_root.get());
    EXPECT_FALSE(m_walk->_traversedObject->containsSorted(other.m_root)) << "replacements were not returned";
    EXPECT_EQ(nameOf(m_walk->getNext()), "b");
    EXPECT_EQ(m_walk->_currentIndices->getLast(), 1);
    EXPECT_EQ(nameOf(m_walk->getFirst()), "r");
    EXPECT_TRUE(m_walk->isNotFirst() && m_walk->isNotLast());
}

// What an object that is met again leads to is looked through for what was not returned yet.
TEST_P(kxIterateObjectTest, ReturnsWhatAppearedBelowAnObjectMetAgain)
{
    struct
    {
        const char* what;
        char at;
        void (*act)(kxIterateObject* walk, const NamedScene& scene);
        const char* walked;
    } const rows[] = {
        {"nothing happened", 'b', [](kxIterateObject*, const NamedScene&) {}, "r ra ras rast rastu rb rc"},
        {"taken out of the walk, but what is below it was not returned", 't',
         [](kxIterateObject* walk, const NamedScene&) { walk->replaceCurrent(nullptr); }, "r ra ras rast rb rbstu rc"},
        {"added while the walk was elsewhere", 'b',
         [](kxIterateObject*, const NamedScene& scene)
         {
             static const NamedScene other(R"(Group "n")");
             scene.group("t")->appendChild(other.m_root);
         },
         "r ra ras rast rastu rb rbstn rc"},
        {"children of the current object fetched anew", 'c',
         [](kxIterateObject* walk, const NamedScene& scene)
         {
             scene.group("c")->appendChild(scene["s"]);
             scene.group("c")->appendChild(kxNew<kxGroup>());
             EXPECT_EQ(walk->updateChildList(), kSuccess);
         },
         "r ra ras rast rastu rb rc rc"}, // the new one has no name
    };
    for (const auto& row : rows)
    {
        const NamedScene scene(
            R"(Group "r"(Group "a"(Group#s "s"(Group "t"(Group "u"))), Group "b"(Group#s), Group "c"))");
        bool done = false;
        EXPECT_EQ(walk(scene.m_root,
                       [&](const std::string& name)
                       {
                           if (name[0] != row.at || std::exchange(done, true))
                               return;
                           row.act(m_walk, scene);
                           edited();
                       }),
                  row.walked)
            << row.what;
    }
}

// The search among the children of an object that is met again starts behind the index at which the step last left a
// list.
TEST_P(kxIterateObjectTest, TheSearchStartsBehindTheLastPoppedIndex)
{
    struct
    {
        const char* what;
        const char* scene; // "n", "m" and "k" appear below "s" while the walk is at "b"
        const char* walked;
    } const rows[] = {
        {"reached downwards: from the first", R"(Group "r"(Group#s "s", Group "b"(Group#s)))",
         "r rs rb rbsn rbsm rbsk"},
        {"reached behind the second child: from the third", R"(Group "r"(Group#s "s", Group "b", Group#s))",
         "r rs rb rsk"},
    };
    for (const auto& row : rows)
    {
        const NamedScene scene(row.scene);
        const NamedScene others[] = {NamedScene(R"(Group "n")"), NamedScene(R"(Group "m")"),
                                     NamedScene(R"(Group "k")")};
        EXPECT_EQ(walk(scene.m_root,
                       [&](const std::string& name)
                       {
                           if (name != "b")
                               return;
                           for (const NamedScene& other : others)
                               scene.group("s")->appendChild(other.m_root);
                           edited();
                       }),
                  row.walked)
            << row.what;
    }
}

TEST_P(kxIterateObjectTest, SplicingIsFetchingAnew)
{
    struct
    {
        const char* what;
        const char* inPlace;
        bool appended;
        const char* walked;
    } const rows[] = {
        {"taken out", nullptr, false, "r ra rb rd"},
        {"a child in its place", "x", false, "r ra rb rx rd"},
        {"children behind the others", nullptr, true, "r ra rb rd rx ry"},
        {"both", "x", true, "r ra rb rx rd ry"},
    };
    for (const bool splice : {true, false})
        for (const auto& row : rows)
        {
            const NamedScene scene(R"(Group "r"(Group "a", Group "b", Group "d"))");
            const NamedScene x(R"(Group "x")"), y(R"(Group "y")");
            auto* root = scene.group("r");
            EXPECT_EQ(walk(scene.m_root,
                           [&](const std::string& name)
                           {
                               if (name != "b")
                                   return;
                               const auto appended = kxNew<kxObjectList>();
                               if (row.appended && !row.inPlace)
                                   appended->append(x.m_root);
                               if (row.appended)
                                   appended->append(y.m_root);
                               if (row.inPlace)
                                   root->insertChild(1, x.m_root);
                               root->removeChild(static_cast<const kxNode*>(scene["b"]));
                               for (kxObject* object : *appended)
                                   root->appendChild(static_cast<kxNode*>(object));
                               edited();
                               if (splice)
                               {
                                   EXPECT_TRUE(m_walk->spliceCurrent(row.inPlace ? x.m_root.get() : nullptr, appended));
                               }
                               else
                               {
                                   m_walk->removeLastObject();
                                   EXPECT_EQ(m_walk->updateChildList(), kSuccess);
                               }
                               EXPECT_EQ(nameOf(m_walk->getCurrent()), "r");
                           }),
                      row.walked)
                << row.what << (splice ? " spliced" : " fetched");
            const auto* fetched = root->getChildList();
            m_walk->begin(root);
            EXPECT_TRUE(m_walk->_cachedChildList->get(0)->isAlike(fetched));
            EXPECT_FALSE(m_walk->spliceCurrent(nullptr, nullptr)) << "the root has no parent";
        }
}

TEST_P(kxIterateObjectTest, StopsWhereNoItemListsTheChildren)
{
    const auto material = kxNew<Kel::Attrs::kxMaterialAttr>();
    EXPECT_EQ(m_walk->begin(material), nullptr);
    EXPECT_EQ(m_walk->_currentPath->getCount(), 1u) << "the root alone";
    EXPECT_EQ(m_walk->updateChildList(), kFailure);
    EXPECT_EQ(m_walk->begin(nullptr), nullptr);
    EXPECT_FALSE(m_walk->isNotLast());
    m_walk->setItemInterface(nullptr);
    const NamedScene scene(R"(Group "r"(Group "a"))");
    EXPECT_EQ(m_walk->begin(scene.m_root), nullptr);
    EXPECT_EQ(m_walk->getNext(), nullptr);
}

TEST_P(kxIterateObjectTest, FindsObjectsOfATypeAndGoesOnFromAPath)
{
    const NamedScene scene(R"(Group "r"(AttrSet "a"(Group "b"), Geometry "c", Group "d"(AttrSet "e")))");
    const auto follow = [&](kxObject* object, const kxMetaObject* type, bool exact)
    {
        std::string text;
        for (; object; object = exact ? m_walk->getNextOfExactType(type) : m_walk->getNextOfType(type))
            text += nameOf(object);
        return text;
    };
    const kxMetaObject* set = kxAttrSet::staticMetaObject();
    EXPECT_EQ(follow(m_walk->beginOfType(scene.m_root, set), set, false), "ace");
    EXPECT_EQ(follow(m_walk->beginOfExactType(scene.m_root, set), set, true), "ae");
    EXPECT_EQ(follow(m_walk->beginOfType(scene.m_root, kxNode::staticMetaObject()), set, false), "race");
    EXPECT_EQ(follow(m_walk->beginOfExactType(scene.m_root, kxCountingTraversal::staticMetaObject()), set, true), "");

    const auto path = kxNew<kxObjectList>();
    const auto indices = kxNew<kxIntList>();
    for (const char* name : {"r", "a"})
        path->append(scene[name]);
    indices->append(-1);
    indices->append(0);
    m_walk->begin(scene.m_root);
    m_walk->setCurrentPath(path);
    m_walk->setCurrentIndices(indices);
    EXPECT_EQ(follow(m_walk->getNext(), kxNode::staticMetaObject(), false), "bcde");
}

// A diamond at each level has 2^60 paths; what was searched is not searched again.
TEST_P(kxIterateObjectTest, NestedInstancesAreSearchedOnce)
{
    constexpr int kLevels = 60;
    auto root = kxNew<kxGroup>();
    kxGroup* top = root;
    for (int i = 0; i < kLevels; ++i)
    {
        const auto next = kxNew<kxGroup>();
        for (int side = 0; side < 2; ++side)
        {
            const auto middle = kxNew<kxGroup>();
            middle->appendChild(next);
            top->appendChild(middle);
        }
        top = next;
    }
    kxCountingTraversal::s_fetched = 0;
    int count = 0;
    for (kxObject* object = m_walk->begin(root); object; object = m_walk->getNext())
        ++count;
    EXPECT_EQ(count, 1 + 3 * kLevels);
    if (std::string(GetParam()) == "kxCountingTraversal")
    {
        EXPECT_EQ(kxCountingTraversal::s_fetched, 1u + 3 * kLevels) << "nothing was edited: each list once";
    }
}

TEST(kxIterateObject, CyclesEnd)
{
    TestRun run;
    const auto walk = kxNew<kxIterateObject>();
    walk->setItemInterface(run.m_manager->_itemInterface);
    EXPECT_EQ(walk->getTraversalName(), kxStringRef("kxObjectTraversal"));
    std::vector<kxSmartPointer<kxUserData>> objects;
    for (int i = 0; i < 30; ++i)
        objects.push_back(kxNew<kxUserData>());
    for (size_t i = 0; i < objects.size(); ++i)
        for (size_t step : {1, 7, 12})
            objects[i]->addReference(objects[(i + step) % objects.size()]);
    std::set<kxObject*> met;
    for (kxObject* object = walk->beginOfType(objects[0], kxUserData::staticMetaObject()); object;
         object = walk->getNextOfType(kxUserData::staticMetaObject()))
        EXPECT_TRUE(met.insert(object).second);
    EXPECT_EQ(met.size(), objects.size());
    for (const auto& object : objects)
        object->_references = nullptr;
}

// Many parents of one wide group: its children are not asked again for each of them when nobody else edits.
TEST_P(kxIterateObjectTest, WhatIsSharedIsSearchedOnceInAFixedStructure)
{
    const auto shared = kxNew<kxGroup>(), root = kxNew<kxGroup>();
    for (int i = 0; i < 50; ++i)
        shared->appendChild(kxNew<kxGroup>());
    for (int i = 0; i < 50; ++i)
    {
        const auto parent = kxNew<kxGroup>();
        parent->appendChild(shared);
        root->appendChild(parent);
    }
    m_walk->setStructureFixed(true);
    kxCountingTraversal::s_fetched = 0;
    int met = 0;
    for (kxObject* object = m_walk->begin(root); object; object = m_walk->getNext())
        ++met;
    EXPECT_EQ(met, 102);
    EXPECT_LE(kxCountingTraversal::s_fetched, 2 * 102u);
}

TEST(kxIterateObject, LetsGoOfEverything)
{
    const size_t before = kxObject::getLiveCount();
    {
        TestRun run;
        const NamedScene scene(R"(Group "r"(Group "a"(Group "b"), Group "c"))");
        const auto walk = kxNew<kxIterateObject>();
        walk->setItemInterface(run.m_manager->_itemInterface);
        walk->setTraversalName("kxNodeTraversal");
        walk->begin(scene.m_root);
        walk->getNext();
        walk->replaceCurrent(kxNew<kxGroup>());
        walk->getNext();
    }
    EXPECT_EQ(kxObject::getLiveCount(), before);
}

} // namespace
} // namespace Kel::Opt
