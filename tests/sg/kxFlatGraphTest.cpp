#include "platform/sg/kxFlatGraph.h"
#include "tests/support/kxTestScene.h"

#include <gtest/gtest.h>

namespace Kel::Test
{
namespace
{

// Each node with its children and its first parent, in the order of the numbers.
std::string textOf(const kxFlatGraph& graph)
{
    std::string text;
    for (uint32_t i = 0; i < graph.getCount(); ++i)
    {
        text.append(graph.getNode(i)->getName().str()).append("(");
        for (const uint32_t child : graph.getChildren(i))
            text.append(graph.getNode(child)->getName().str());
        const uint32_t parent = graph.getFirstParent(i);
        text.append(")")
            .append(parent == kxFlatGraph::kNone ? "-" : graph.getNode(parent)->getName().str())
            .append(" ");
    }
    return text;
}

} // namespace

TEST(kxFlatGraph, NumbersChildrenBeforeParents)
{
    EXPECT_EQ(textOf(kxFlatGraph(nullptr)), "");
    // What a deeper node shares with a higher one still comes before both, and a child that is there twice counts twice.
    const TestScene scene =
        parseScene("Group \"r\"(null, Group#s \"s\", Group \"a\"(Group \"b\"(Group#d \"d\"(Camera \"c\"), Group#s)), "
                   "Group#d, Group#d)");
    EXPECT_EQ(textOf(kxFlatGraph(scene.root())), "s()r c()d d(c)b b(ds)a a(b)r r(sadd)- ");
    // Below a node that lies below itself.
    const TestScene cycle = parseScene("Group#r \"r\"(Group#a \"a\"(Group \"b\"))");
    auto* a = static_cast<kxGroup*>(static_cast<kxGroup*>(cycle.root())->getChild(0u));
    a->appendChild(cycle.root());
    a->appendChild(a);
    EXPECT_EQ(textOf(kxFlatGraph(cycle.root())), "b()a a(bra)r r(a)- ");
    a->removeChild(2);
    a->removeChild(1);
}

} // namespace Kel::Test
