// Links between parents and children, walks, and what scene infos collect.
#include "platform/sg/kxActor.h"
#include "platform/sg/kxCamera.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSkin.h"
#include "platform/sg/kxTransform.h"
#include "tests/support/kxRandomScene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Kel::Test
{
namespace
{

// Groups with their children as plain lists of indices, -1 for null.
class GraphModel
{
public:
    GraphModel(uint32_t groupCount, uint32_t leafCount) : children(groupCount)
    {
        for (uint32_t i = 0; i < groupCount; ++i)
            nodes.push_back(kxNew<kxGroup>());
        for (uint32_t i = 0; i < leafCount; ++i)
            nodes.push_back(kxNew<kxCamera>());
    }

    std::vector<kxSmartPointer<kxNode>> nodes;
    std::vector<std::vector<int>> children;

    kxGroup* group(uint32_t index) const { return static_cast<kxGroup*>(nodes[index].get()); }
    kxNode* node(int index) const { return index < 0 ? nullptr : nodes[static_cast<size_t>(index)].get(); }

    void edit(TestRandom& random)
    {
        const uint32_t parent = random.below(static_cast<uint32_t>(children.size()));
        std::vector<int>& list = children[parent];
        kxGroup* edited = group(parent);
        const auto later = static_cast<uint32_t>(nodes.size()) - parent - 1;
        const int child = random.oneIn(8) || later == 0 ? -1 : static_cast<int>(parent + 1 + random.below(later));
        const uint32_t place = list.empty() ? 0 : random.below(static_cast<uint32_t>(list.size()));
        switch (random.below(8))
        {
        case 0:
        case 1:
            edited->appendChild(node(child));
            list.push_back(child);
            break;
        case 2:
            edited->insertChild(place, node(child));
            list.insert(list.begin() + place, child);
            break;
        case 3:
        {
            const auto at = std::find(list.begin(), list.end(), child);
            EXPECT_EQ(edited->removeChild(node(child)), at != list.end());
            if (at != list.end())
                list.erase(at);
            break;
        }
        case 4:
            if (random.oneIn(10))
            {
                edited->removeAllChildren();
                list.clear();
            }
            break;
        case 5:
            if (!list.empty())
            {
                edited->setChild(place, node(child));
                list[place] = child;
            }
            break;
        default:
            if (!list.empty())
            {
                edited->removeChild(place);
                list.erase(list.begin() + place);
            }
        }
    }

    // True when the graph says what the lists say, from both ends.
    bool agrees() const
    {
        std::vector<std::vector<const kxNode*>> parents(nodes.size());
        for (uint32_t i = 0; i < children.size(); ++i)
        {
            if (group(i)->getChildCount() != children[i].size())
                return false;
            for (uint32_t place = 0; place < children[i].size(); ++place)
            {
                const int child = children[i][place];
                if (group(i)->getChild(place) != node(child))
                    return false;
                if (child >= 0)
                    parents[static_cast<size_t>(child)].push_back(group(i));
            }
        }
        for (size_t i = 0; i < nodes.size(); ++i)
        {
            std::vector<const kxNode*> found;
            for (uint32_t place = 0; place < nodes[i]->getParentCount(); ++place)
                found.push_back(nodes[i]->getParent(place));
            std::sort(found.begin(), found.end());
            std::sort(parents[i].begin(), parents[i].end());
            if (found != parents[i])
                return false;
        }
        return true;
    }
};

TEST(kxGroup, KeepsLinksUnderRandomEdits)
{
    for (uint32_t seed = 1; seed <= 20; ++seed)
    {
        TestRandom random(seed);
        GraphModel model(6, 3);
        for (int i = 0; i < 300; ++i)
        {
            model.edit(random);
            ASSERT_TRUE(model.agrees()) << "seed " << seed << ", edit " << i;
        }
    }
}

TEST(kxGroup, KeepsLinksOfANodeUnderManyParents)
{
    // One leaf below hundreds of groups, several times below some: parents come and go in any order.
    TestRandom random(7);
    GraphModel model(300, 1);
    const int leaf = 300;
    for (int i = 0; i < 4000; ++i)
    {
        const uint32_t parent = random.below(300);
        std::vector<int>& list = model.children[parent];
        if (i < 600 || random.oneIn(3))
        {
            model.group(parent)->appendChild(model.node(leaf));
            list.push_back(leaf);
        }
        else if (!list.empty())
        {
            model.group(parent)->removeChild(0u);
            list.pop_back();
        }
        ASSERT_TRUE(i % 97 || model.agrees()) << "edit " << i;
    }
    // Somebody else may edit the list of parents, as a repair does.
    kxNodeList* parents = model.node(leaf)->_parentList;
    kxNode* first = parents->get(0);
    parents->removeAt(0);
    parents->append(first);
    for (uint32_t parent = 0; parent < 300; ++parent)
        model.group(parent)->removeAllChildren();
    EXPECT_EQ(model.node(leaf)->getParentCount(), 0u);
}

TEST(kxGroup, ReleasesALongChainAndANodeUnderManyParents)
{
    const size_t alive = kxObject::getLiveCount();
    {
        auto root = kxNew<kxGroup>();
        kxGroup* last = root;
        for (int i = 0; i < 1000000; ++i)
        {
            auto next = kxNew<kxTransform>();
            last->appendChild(next);
            last = next;
        }
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
    TestRandom random(1);
    for (const int order : {0, 1, 2})
    {
        constexpr uint32_t kCount = 100000;
        auto shared = kxNew<kxGeometry>();
        std::vector<kxSmartPointer<kxGroup>> parents;
        for (uint32_t i = 0; i < kCount; ++i)
        {
            parents.push_back(kxNew<kxGroup>());
            parents.back()->appendChild(shared);
        }
        if (order == 1)
            std::reverse(parents.begin(), parents.end());
        if (order == 2)
            for (uint32_t i = kCount - 1; i > 0; --i)
                std::swap(parents[i], parents[random.below(i + 1)]);
        for (kxSmartPointer<kxGroup>& parent : parents)
            parent = nullptr;
        EXPECT_EQ(shared->getParentCount(), 0u);
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxGroup, AsksForNoListOfALeaf)
{
    auto group = kxNew<kxGroup>();
    EXPECT_EQ(group->getChildCount(), 0u);
    EXPECT_EQ(group->getChild(static_cast<kxNode*>(nullptr)), -1);
    EXPECT_FALSE(group->removeChild(group.get()));
    EXPECT_FALSE(group->_childList) << "a leaf has no list";
    ASSERT_TRUE(group->getChildList()) << "until it is asked for";
    EXPECT_TRUE(group->getChildList()->isEmpty());
}

TEST(kxNode, IsCopiedWithItsLinks)
{
    const TestScene scene = parseScene("Group \"root\"(Transform<1 2 3>(Geometry#1 \"g\"{tri, Material#1 red}),"
                                       " AttrSet{Material#1}(Geometry#1, null, Geometry#1))");
    const kxSmartPointer<kxObject> deep = scene.root()->copyDeep();
    auto* copy = kxCast<kxNode>(deep);
    ASSERT_TRUE(copy);
    EXPECT_EQ(printScene(copy), printScene(scene)) << "what is shared is shared in the copy";
    EXPECT_EQ(findLinkFaults(copy), "");
    EXPECT_EQ(findLinkFaults(scene.root()), "") << "the copy has no part in the original";

    // A skin does not hold its bones: its copy names the copied bones, or the same ones where they are not copied.
    const TestScene skinned = parseScene("Group(Actor[skin=Skin[joints=(Joint#1, Joint#2)]], Joint#1(Joint#2))");
    const kxSmartPointer<kxObject> whole = skinned.root()->copyDeep();
    EXPECT_EQ(kxTextScene::print(whole), printScene(skinned));
    auto* actor = static_cast<kxActor*>(static_cast<kxGroup*>(skinned.root())->getChild(0u));
    const kxSmartPointer<kxObject> skin = actor->_skin->copyDeep();
    EXPECT_EQ(kxCast<kxSkin>(skin)->_joints->get(1), actor->_skin->_joints->get(1));

    const kxSmartPointer<kxObject> shallow = scene.root()->copyShallow();
    auto* second = kxCast<kxGroup>(shallow);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->getChild(0u), static_cast<kxGroup*>(scene.root())->getChild(0u)) << "children are shared";
    EXPECT_EQ(second->getChild(0u)->getParentCount(), 2u);
}

// --- walks ---

std::string namesInOrder(kxNode* root)
{
    std::string names;
    forEachNodeOnce(
        root, [](kxNode* node, void* names) { static_cast<std::string*>(names)->append(node->getName().view()); },
        &names);
    return names;
}

TEST(forEachNodeOnce, WalksInPreOrderAndMeetsSharedNodesOnce)
{
    const struct
    {
        const char* scene;
        const char* names;
    } cases[] = {
        {"null", ""},
        {"Group \"a\"(Group \"b\"(Group \"c\"), null, Group \"d\")", "abcd"},
        {"Group \"a\"(Group \"b\"(Group#1 \"c\"(Group \"d\")), Group \"e\"(Group#1, Group#1), Group \"f\")", "abcdef"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(namesInOrder(parseScene(c.scene).root()), c.names) << c.scene;
}

TEST(findCycle, FindsANodeBelowItself)
{
    const TestScene scene = parseScene("Group \"a\"(Group#1 \"b\"(Group#2 \"c\"(Group \"d\")), Group#2, Group#1)");
    EXPECT_EQ(findCycle(scene.root()), nullptr) << "sharing is no cycle";
    EXPECT_EQ(findCycle(nullptr), nullptr);
    std::string fault;
    EXPECT_TRUE(scene.info->userCheckLoaded(fault));

    auto* b = static_cast<kxGroup*>(static_cast<kxGroup*>(scene.root())->getChild(0u));
    auto* c = static_cast<kxGroup*>(b->getChild(0u));
    c->appendChild(b);
    EXPECT_EQ(findCycle(scene.root()), b);
    EXPECT_FALSE(scene.info->userCheckLoaded(fault));
    EXPECT_EQ(fault, "node \"b\" lies below itself");
    auto skin = kxNew<kxSkin>();
    skin->setSkinnedGraph(c);
    EXPECT_FALSE(skin->userCheckLoaded(fault)) << "graphs of skins are checked as well";
    c->removeChild(b);
}

// --- what scenes collect ---

TEST(kxSceneInfo, CollectsCamerasTexturesAndTimes)
{
    const TestScene scene = parseScene(R"(
        Group(Camera#1 "near",
              AttrSet{TextureBind[texture=Texture#1 "t1"<"a.png">], Texture "t2"}(Camera#1),
              Geometry[variants=(null, MaterialVariant{TextureBind[texture=Texture "t3"]})]{tri, TextureBind[texture=Texture#1]},
              Shader[passes=(null, ShaderPass{Texture "t4", null})],
              TimeSwitch[times=5,7](Camera "far"),
              TimeTransform[sequence=TransformSequence1_5[times=-3,2]]))");
    scene.info->updateCameraList();
    scene.info->updateTextureList();
    scene.info->updateAnimationTime();
    std::string cameras, textures;
    for (const kxCamera* camera : *scene.info->_cameraList)
        cameras += camera->getName().str() + " ";
    for (const kxTextureAttr* texture : *scene.info->_textureList)
        textures += texture->getName().str() + " ";
    EXPECT_EQ(cameras, "near far ");
    EXPECT_EQ(textures, "t1 t2 t3 t4 ");
    EXPECT_EQ(scene.info->_animationStart, -3);
    EXPECT_EQ(scene.info->_animationEnd, 7);

    scene.info->setSceneGraph(nullptr);
    scene.info->updateCameraList();
    scene.info->updateTextureList();
    scene.info->updateAnimationTime();
    EXPECT_TRUE(scene.info->_cameraList->isEmpty());
    EXPECT_TRUE(scene.info->_textureList->isEmpty());
    EXPECT_FALSE(scene.info->hasAnimationTime());
}

} // namespace
} // namespace Kel::Test
