#include "tests/opt/randomGraph.h"
#include "tests/opt/testRun.h"

#include "opt/iterate/kxIterateDerived.h"
#include "opt/iterate/kxIterateField.h"
#include "opt/iterate/kxIterateGraph.h"
#include "platform/sg/kxTimeTransform.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{

namespace
{

/// One stop of a walk: the path by names and the child indices.
std::string describe(const std::vector<kxNode*>& path, const std::vector<int>& indices)
{
    std::string text;
    for (size_t i = 0; i < path.size(); ++i)
        text += (i ? kxFormat("/%d", indices[i - 1]) : "") + (path[i] ? path[i]->getName().str() : "null");
    return text;
}

std::string describe(const kxIterateGraph& iterate)
{
    std::vector<kxNode*> path;
    std::vector<int> indices;
    for (kxNode* node : *iterate._currentPath)
        path.push_back(node);
    for (uint32_t i = 0; i < iterate._currentIndices->getCount(); ++i)
        indices.push_back(iterate._currentIndices->get(i));
    EXPECT_EQ(iterate.getCurrent(), path.empty() ? nullptr : path.back());
    EXPECT_EQ(iterate.getCurrentDepth(), static_cast<int>(path.size()));
    return describe(path, indices);
}

/// The stops of a plain recursive walk.
void walk(kxNode* node, std::vector<kxNode*>& path, std::vector<int>& indices, std::vector<std::string>& stops)
{
    path.push_back(node);
    stops.push_back(describe(path, indices));
    if (const auto* group = kxCast<kxGroup>(node))
        for (uint32_t i = 0; i < group->getChildCount(); ++i)
        {
            indices.push_back(static_cast<int>(i));
            walk(group->getChild(i), path, indices, stops);
            indices.pop_back();
        }
    path.pop_back();
}

std::vector<std::string> walk(kxNode* root)
{
    std::vector<kxNode*> path;
    std::vector<int> indices;
    std::vector<std::string> stops;
    walk(root, path, indices, stops);
    return stops;
}

} // namespace

TEST(kxIterateGraph, WalksLikeARecursionBothWays)
{
    for (uint32_t seed = 1; seed <= 300; ++seed)
    {
        SCOPED_TRACE(seed);
        const auto nodes = makeRandomGraph(seed);
        const std::vector<std::string> stops = walk(nodes[0]);
        const auto iterate = kxNew<kxIterateGraph>();
        EXPECT_EQ(iterate->begin(nodes[0]), nodes[0].get());
        for (size_t i = 0; i < stops.size(); ++i)
        {
            ASSERT_TRUE(iterate->isNotLast());
            EXPECT_EQ(iterate->isNotFirst(), i > 0);
            ASSERT_EQ(describe(*iterate), stops[i]);
            // Back by one from here is the stop before, and ahead again is this one.
            if (i > 0)
            {
                iterate->getPrevious();
                ASSERT_EQ(describe(*iterate), stops[i - 1]);
                iterate->getNext();
                ASSERT_EQ(describe(*iterate), stops[i]);
            }
            // What lies below the stop has the stop's path in front.
            auto beyond = kxNew<kxIterateGraph>();
            beyond->copyFieldsFrom(iterate);
            beyond->getNextSkippingChildren();
            size_t next = i + 1;
            while (next < stops.size() && stops[next].starts_with(stops[i] + "/"))
                ++next;
            ASSERT_EQ(describe(*beyond), next < stops.size() ? stops[next] : "");
            EXPECT_EQ(iterate->next(), i + 1 < stops.size());
        }
        EXPECT_FALSE(iterate->getNext());
        EXPECT_FALSE(iterate->previous());
        iterate->begin(nodes[0]);
        EXPECT_FALSE(iterate->previous()) << "in front of the root nothing stands";
    }
}

TEST(kxIterateGraph, FindsNodesByType)
{
    const NamedScene scene("Group\"a\"(null, Transform\"b\"(Group\"c\", Joint\"d\"), Group\"e\"(Transform\"f\"))");
    const kxMetaObject* transform = kxTransform::staticMetaObject();
    const auto iterate = kxNew<kxIterateGraph>();
    auto collect = [&](kxNode* node, kxNode* (kxIterateGraph::*step)(const kxMetaObject*))
    {
        std::string names;
        for (; node; node = (iterate.get()->*step)(transform))
            names += node->getName().str();
        EXPECT_FALSE(iterate->isNotLast());
        return names;
    };
    EXPECT_EQ(collect(iterate->beginOfType(scene.m_root, transform), &kxIterateGraph::getNextOfType), "bdf");
    EXPECT_EQ(collect(iterate->beginOfExactType(scene.m_root, transform), &kxIterateGraph::getNextOfExactType), "bf");
    EXPECT_EQ(collect(iterate->beginOfType(scene["b"], transform), &kxIterateGraph::getNextOfType), "bd");
    auto startAtEnd = [&]
    {
        iterate->begin(scene.m_root);
        while (iterate->getCurrent() != scene["f"])
            iterate->getNext();
        return scene["f"];
    };
    EXPECT_EQ(collect(startAtEnd(), &kxIterateGraph::getPreviousOfType), "fdb");
    EXPECT_EQ(collect(startAtEnd(), &kxIterateGraph::getPreviousOfExactType), "fb");
}

TEST(kxIterateGraph, ReplacesTheCurrentNode)
{
    const NamedScene scene("Group\"a\"(Group#1\"b\"(Group\"c\"), Group#1, Group\"d\")");
    const NamedScene other("Group\"x\"(Group\"y\")");
    const auto iterate = kxNew<kxIterateGraph>();
    EXPECT_FALSE(iterate->replaceCurrentNode(other.m_root));
    iterate->begin(scene.m_root);
    iterate->getNext();
    iterate->getNextSkippingChildren(); // the second of both
    EXPECT_TRUE(iterate->replaceCurrentNode(other.m_root));
    EXPECT_EQ(iterate->getCurrent(), other.m_root.get());
    EXPECT_EQ(scene.print(), "Group \"a\"(Group \"b\"(Group \"c\"), Group \"x\"(Group \"y\"), Group \"d\")");
    EXPECT_EQ(scene["b"]->getParentCount(), 1u);
    EXPECT_EQ(other["x"]->getParent(0), scene.m_root.get());
    EXPECT_EQ(iterate->getNext(), other["y"]) << "the walk goes on below the new node";
    EXPECT_EQ(iterate->getNext(), scene["d"]);

    iterate->begin(scene.m_root);
    EXPECT_TRUE(iterate->replaceCurrentNode(other.m_root));
    EXPECT_EQ(iterate->getNext(), other["y"]);
    EXPECT_EQ(scene.group("a")->getChildCount(), 3u) << "the root's place is its holder's";
}

TEST(kxIterateGraph, AnswersAboutThePath)
{
    const NamedScene scene(
        "Transform\"a\"<1 0 0>(Transform\"b\"<scale 2>(Group#1\"s\"(Transform^\"c\"<0 1 0>(Group\"d\"))), "
        "Group\"e\"(Group#1), TimeTransform\"t\")");
    const auto iterate = kxNew<kxIterateGraph>();
    auto goTo = [&](const char* name)
    {
        iterate->begin(scene.m_root);
        while (iterate->getCurrent() != scene[name])
            iterate->getNext();
    };
    EXPECT_EQ(iterate->evaluateModelViewMatrix(), kxMatrix44f());
    struct Row
    {
        const char* node;
        bool shared;
        bool animated;
        kxVec3f origin; // where the node's own origin lies
    };
    for (const Row& row :
         {Row{"a", false, false, {1, 0, 0}}, Row{"b", false, false, {1, 0, 0}}, Row{"s", true, false, {1, 0, 0}},
          Row{"c", true, true, {1, 2, 0}}, Row{"d", true, true, {1, 2, 0}}, Row{"e", false, false, {1, 0, 0}},
          Row{"t", false, true, {1, 0, 0}}})
    {
        SCOPED_TRACE(row.node);
        goTo(row.node);
        EXPECT_EQ(iterate->hasInstanciatedNode(), row.shared);
        EXPECT_EQ(iterate->hasAnimatedTransform(), row.animated);
        EXPECT_EQ(kxVec3f(0, 0, 0) * iterate->evaluateModelViewMatrix(), row.origin);
    }

    goTo("c"); // a/b/s/c
    kxNonRefCountedNodeList* path = iterate->_currentPath;
    EXPECT_TRUE(iterate->validateHierarchy(path));
    scene.group("s")->removeChild(scene["c"]);
    EXPECT_TRUE(iterate->validateHierarchy(path)) << "the last link is not looked at";
    scene.group("b")->removeChild(scene["s"]);
    EXPECT_FALSE(iterate->validateHierarchy(path));
    const auto shortPath = kxNew<kxNonRefCountedNodeList>();
    EXPECT_TRUE(iterate->validateHierarchy(shortPath));
    shortPath->append(scene["t"]);
    shortPath->append(scene["a"]);
    EXPECT_TRUE(iterate->validateHierarchy(shortPath));
    shortPath->append(scene["b"]);
    EXPECT_FALSE(iterate->validateHierarchy(shortPath));
}

TEST(kxIterateGraph, WalksADeepChain)
{
    libKXOpt_arkRegister();
    kxSmartPointer<kxGroup> root = kxNew<kxGroup>();
    kxGroup* deepest = root;
    for (int i = 1; i < 1000000; ++i)
    {
        const auto group = kxNew<kxGroup>();
        deepest->appendChild(group);
        deepest = group;
    }
    const auto iterate = kxNew<kxIterateGraph>();
    int count = 0;
    for (iterate->begin(root); iterate->isNotLast(); iterate->getNext())
        ++count;
    EXPECT_EQ(count, 1000000);
}

TEST(kxIterateField, StepsThroughTheFieldsOfAClass)
{
    libKXOpt_arkRegister();
    const auto iterate = kxNew<kxIterateField>();
    EXPECT_FALSE(iterate->getCurrent());
    EXPECT_FALSE(iterate->getNext()) << "there is no class yet";
    auto collect = [&](kxMetaField* field, auto step)
    {
        std::string names;
        for (; field; field = step())
            names += field->getName().str() + " ";
        EXPECT_FALSE(iterate->isNotLast());
        return names;
    };
    const kxMetaObject* type = kxTransform::staticMetaObject();
    const std::string all =
        "_name _flags _parentList _boundingVolume _userData _childList _matrix _hasParts _translation "
        "_rotation _scale ";
    EXPECT_EQ(collect(iterate->begin(type), [&] { return iterate->getNext(); }), all);
    EXPECT_EQ(iterate->getPrevious()->getName(), kxStringRef("_scale")) << "back from behind the last one";
    EXPECT_EQ(
        collect(iterate->getPrevious(), [&] { return iterate->getPrevious(); }),
        "_rotation _translation _hasParts _matrix _childList _userData _boundingVolume _parentList _flags _name ");
    EXPECT_EQ(iterate->getNext()->getName(), kxStringRef("_name")) << "ahead from in front of the first one";
    EXPECT_FALSE(iterate->isNotFirst());

    const kxMetaObject* object = kxObjectField::staticMetaObject();
    EXPECT_EQ(collect(iterate->beginOfType(type, object), [&] { return iterate->getNextOfType(object); }),
              "_parentList _boundingVolume _userData _childList ");
    EXPECT_EQ(iterate->getPreviousOfType(object)->getName(), kxStringRef("_childList"));
    EXPECT_EQ(collect(iterate->beginOfExactType(type, kxMetaField::staticMetaObject()),
                      [&] { return iterate->getNextOfExactType(kxMetaField::staticMetaObject()); }),
              "");
}

TEST(kxIterateDerived, StepsThroughTheClassItselfAndItsDerivedOnes)
{
    libKXOpt_arkRegister();
    const auto iterate = kxNew<kxIterateDerived>();
    EXPECT_FALSE(iterate->getNext());
    std::vector<kxMetaObject*> met;
    for (kxMetaObject* type = iterate->begin(kxNode::staticMetaObject()); type; type = iterate->getNext())
    {
        EXPECT_TRUE(met.empty() || type->getBase() == met[0] ||
                    std::find(met.begin(), met.end(), type->getBase()) != met.end())
            << type->getName().c_str() << " stands before its base";
        met.push_back(type);
    }
    EXPECT_EQ(met.size(), kxNode::staticMetaObject()->getDerivedCount());
    EXPECT_EQ(met[0], kxNode::staticMetaObject());
    EXPECT_EQ(iterate->getPrevious(), met.back());
    while (iterate->getPrevious())
    {
    }
    EXPECT_FALSE(iterate->getPrevious());
    EXPECT_TRUE(iterate->next());
    EXPECT_EQ(iterate->getCurrent(), met[0]);
}

} // namespace Kel::Opt
