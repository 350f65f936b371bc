// What the items for collapsing and flattening decide, and that no decision changes the picture.
#include "opt/items/kxCollapseNode.h"

#include "opt/items/kxFlattenNode.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxLod.h"
#include "platform/sg/kxTransform.h"
#include "tests/opt/items/itemTestClasses.h"
#include "tests/support/kxPlainDrawList.h"
#include "tests/support/kxRandomScene.h"

#include <set>

namespace Kel::Opt
{
namespace
{

struct DecisionCase
{
    const char* why;
    const char* scene;    // about the node that is called "n"
    const char* decision; // "stays", "pruned", "spliced" or what takes its place
};

/// Item that decides about a node; null when there is none.
kxSmartPointer<kxCollapseNode> findItem(TestRun& run, kxNode* node, bool flatten)
{
    const kxMetaObject* flattenItem =
        !flatten                                             ? nullptr
        : node->isOfExactType(kxGroup::staticMetaObject())   ? kxFlattenNodeForGroup::staticMetaObject()
        : node->isOfExactType(kxAttrSet::staticMetaObject()) ? kxFlattenNodeForAttrSet::staticMetaObject()
                                                             : nullptr;
    if (!flattenItem)
        return kxCast<kxCollapseNode>(
            run.m_manager->_itemInterface->createItemBase(kxItemNames::get().collapseNode, node->getMetaObject()));
    auto item = flattenItem->createInstanceRef<kxCollapseNode>();
    run.m_manager->setup(item);
    return item;
}

/// Decision about a node, with the results as the item's clients read them.
std::pair<int32_t, kxSmartPointer<kxNode>> decide(TestRun& run, kxNode* node, bool flatten)
{
    const auto item = findItem(run, node, flatten);
    if (!item)
        return {NO_CHANGE, nullptr};
    const auto input = kxNew<kxParameterSet>();
    input->setFieldValue("_node", node);
    const kxParameterSetWrapper result = item->apply("collapse", input).get();
    int32_t collapse = 0;
    kxSmartPointer<kxNode> replaceNode = kxNew<kxNode>();
    EXPECT_TRUE(result.hasSucceeded()) << result.getErrorMessage();
    EXPECT_EQ(result->getFieldValue("_collapse", collapse), kSuccess);
    EXPECT_EQ(result->getFieldValue("_replaceNode", replaceNode), kSuccess) << "there, also when null";
    return {collapse, replaceNode};
}

kxNode* findNode(kxNode* root, const char* name)
{
    std::pair<kxStringRef, kxNode*> found = {name, nullptr};
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            auto& wanted = *static_cast<std::pair<kxStringRef, kxNode*>*>(context);
            if (node->getName() == wanted.first)
                wanted.second = node;
        },
        &found);
    return found.second;
}

void expectDecision(const DecisionCase& row, bool flatten)
{
    TestRun run;
    const Kel::Test::TestScene scene = Kel::Test::parseScene(row.scene);
    run.getService()->_file = scene.asFile();
    kxNode* node = findNode(scene.root(), "n");
    ASSERT_TRUE(node) << row.why;
    const auto [collapse, replaceNode] = decide(run, node, flatten);
    const std::string decision = collapse == NO_CHANGE       ? "stays"
                                 : collapse == PRUNE_TREE    ? "pruned"
                                 : collapse == COLLAPSE_TREE ? "spliced"
                                                             : Kel::Test::printScene(replaceNode);
    const std::string expected = row.decision;
    const bool isWord = expected == "stays" || expected == "pruned" || expected == "spliced";
    EXPECT_EQ(decision, isWord ? expected : Kel::Test::normalizeScene(expected)) << row.why << ": " << row.scene;
}

const DecisionCase kCollapseCases[] = {
    // Any type.
    {"a switch has no item", R"(Group(Switch "n"(Group)))", "stays"},
    {"a bare node is a place", R"(Group(Node "n"))", "stays"},
    {"driven by a track", R"(Group(Group^ "n"))", "stays"},
    {"changed while the scene runs", R"(Group(Group~ "n"))", "stays"},
    {"bound by a data pump", R"(Group(Group! "n"))", "stays"},
    {"extras are the user's", R"(Group(Group "n"[userData=UserData[extras="{\"a\":1}"]]))", "stays"},
    {"extensions are the user's", R"(Group(Group "n"[userData=UserData[extensions="{}"]]))", "stays"},
    {"user data without data", R"(Group(Group "n"[userData=UserData]))", "pruned"},
    // Groups.
    {"nothing below", R"(Group(Group "n"))", "pruned"},
    {"says nothing about what is below", R"(Group(Group "n"(Camera, Camera)))", "spliced"},
    {"the root has no parent to take its children", R"(Group "n"(Camera))", "stays"},
    {"children of a switch are counted", R"(Switch(Group "n"(Camera, Camera)))", "stays"},
    {"so are those of a level of detail", R"(Lod<0 10>(Group "n"))", "stays"},
    {"one of its parents is a switch", R"(Group(Group#g "n"(Camera, Camera), Switch(Group#g)))", "stays"},
    {"an only child takes its place there", R"(Group(Group#g "n"(Camera), Switch(Group#g)))", "spliced"},
    {"a null child has no place to go", R"(Group(Group "n"(null, Camera)))", "stays"},
    {"shared, with one child", R"(Group(Group#g "n"(Camera), Group(Group#g), Group(Group#g)))", "spliced"},
    {"shared by two, two children", R"(Group(Group#g "n"(Camera, Camera), Group(Group#g)))", "spliced"},
    {"shared: more links than before", R"(Group(Group#g "n"(Camera, Camera, Camera), Group(Group#g)))", "stays"},
    // Transforms.
    {"the identity moves nothing", R"(Group(Transform "n"(Camera)))", "spliced"},
    {"an identity that a track replaces", R"(Group(Transform^ "n"(Camera)))", "stays"},
    {"alone it moves what is below", R"(Group(Transform "n"<1 0 0>(Camera)))", "stays"},
    {"a place with nothing in it", R"(Group(Transform "n"<1 0 0>))", "stays"},
    {"two in a row", R"(Group(Transform "n"<1 0 0>(Transform "m"<scale 2>(Camera, Camera))))",
     R"(Transform "n"<1 0 0 scale 2>(Camera, Camera))"},
    {"a name is kept", R"(Transform "n"<1 0 0>(Transform<0 2 0>(Camera)))", R"(Transform "n"<1 2 0>(Camera))"},
    {"a root too, it is replaced", R"(Transform "n"<1 0 0>(Transform<0 2 0>))", R"(Transform "n"<1 2 0>)"},
    {"an inner identity leaves the parts", R"(Group(Transform "n"[translation=1,2,3](Transform(Camera))))",
     R"(Transform "n"[translation=1,2,3](Camera))"},
    {"mirrored and turned", R"(Group(Transform "n"<scale -1>(Transform<5 0 0>(Camera))))",
     R"(Transform "n"<-5 0 0 scale -1>(Camera))"},
    {"the inner one is driven", R"(Group(Transform "n"<1 0 0>(Transform^<1 0 0>(Camera))))", "stays"},
    {"the inner one is locked", R"(Group(Transform "n"<1 0 0>(Transform!<1 0 0>(Camera))))", "stays"},
    {"the inner one has extras",
     R"(Group(Transform "n"<1 0 0>(Transform<1 0 0>[userData=UserData[extras="1"]](Camera))))", "stays"},
    {"skins follow the inner one", R"(Group(Transform "n"<1 0 0>(Joint<1 0 0>(Camera))))", "stays"},
    {"the inner one is shared", R"(Group(Transform "n"<1 0 0>(Transform#t<1 0 0>(Camera)), Group(Transform#t)))",
     "stays"},
    {"two inner ones", R"(Group(Transform "n"<1 0 0>(Transform<1 0 0>, Transform<2 0 0>)))", "stays"},
    // Attribute sets.
    {"sets nothing", R"(Group(AttrSet "n"(Camera)))", "spliced"},
    {"sets for nothing", R"(Group(AttrSet "n"{Material}))", "pruned"},
    {"sets for what is below", R"(Group(AttrSet "n"{Material}(Camera)))", "stays"},
    {"over another: the inner attribute counts",
     R"(Group(AttrSet "n"{Material#m red, State#s[stateUnit=1]}(AttrSet{Material#k blue}(Camera))))",
     R"(AttrSet "n"{Material blue, State[stateUnit=1]}(Camera))"},
    {"over another: units are apart",
     R"(Group(AttrSet "n"{State[stateUnit=1 value=1]}(AttrSet{State[stateUnit=2 value=2]}(Camera))))",
     R"(AttrSet "n"{State[value=2 stateUnit=2], State[value=1 stateUnit=1]}(Camera))"},
    {"over one that overrides", R"(Group(AttrSet "n"{Material}(OverrideAttrSet{Material}(Camera))))", "stays"},
    {"over a shared one", R"(Group(AttrSet "n"{Material}(AttrSet#a{Material}(Camera)), Group(AttrSet#a)))", "stays"},
    // The rest.
    {"no vertices", R"(Group(Geometry "n"))", "pruned"},
    {"draws", R"(Group(Geometry "n"{tri}))", "stays"},
    {"no vertices, but a place in a mesh", R"(Mesh(Geometry "n"))", "stays"},
    {"no lights", R"(Group(LightSet "n"(Camera)))", "spliced"},
    {"lights", R"(Group(LightSet "n"{Light}(Camera)))", "stays"},
    {"lights, nothing below", R"(Group(LightSet "n"{Light}))", "stays"},
    {"no states", R"(Group(LightStateSet "n"(Camera)))", "spliced"},
    {"states", R"(Group(LightStateSet "n"{LightState}(Camera)))", "stays"},
    {"states for nothing", R"(Group(LightStateSet "n"{LightState}))", "pruned"},
    {"one child, all distances", R"(Group(Lod "n"<0 3.4028235e38>(Camera)))", "spliced"},
    {"one child, from a start on", R"(Group(Lod "n"<0>(Camera)))", "spliced"},
    {"one child, no ranges", R"(Group(Lod "n"(Camera)))", "spliced"},
    {"one child, up to a distance", R"(Group(Lod "n"<0 100>(Camera)))", "stays"},
    {"one child, from a distance on", R"(Group(Lod "n"<1 3.4028235e38>(Camera)))", "stays"},
    {"a choice", R"(Group(Lod "n"<0 10 3.4028235e38>(Camera, Camera)))", "stays"},
    {"nothing to choose from", R"(Group(Lod "n"<0 10>))", "pruned"},
    {"in the space of a bone", R"(Group(ModelViewMatrixBoneSelect "n"(Camera)))", "stays"},
    {"no one in it", R"(Group(ModelViewMatrixBoneSelect "n"[boneIndex=2]))", "pruned"},
    {"no weights", R"(Group(MorphInstance "n"(Camera)))", "spliced"},
    {"weights of zero are weights", R"(Group(MorphInstance "n"<0 0>(Camera)))", "stays"},
    {"a shader draws in its way", R"(Group(MultiTextureShader "n"(Camera)))", "stays"},
    {"when there is something to draw", R"(Group(MultiTextureShader "n"))", "pruned"},
    {"no information", R"(Group(UserInfo "n"(Camera)))", "spliced"},
    {"information", R"(Group(UserInfo "n"[keys=("a") values=("b")](Camera)))", "stays"},
    {"information, nothing below", R"(Group(UserInfo "n"[keys=("a") values=("b")]))", "stays"},
};

TEST(kxCollapseNode, Decides)
{
    for (const DecisionCase& row : kCollapseCases)
        expectDecision(row, false);
}

const DecisionCase kFlattenCases[] = {
    {"a shared group", R"(Group(Group#g "n"(Camera, Camera, Camera), Group(Group#g)))", "spliced"},
    {"a driven group", R"(Group(Group^ "n"(Camera)))", "stays"},
    {"children of a switch are counted", R"(Switch(Group "n"(Camera, Camera)))", "stays"},
    {"taken by geometries and sets", R"(Group(AttrSet "n"{Material}(Geometry{tri}, AttrSet(Geometry{quad}))))",
     "spliced"},
    {"a transform cannot take it", R"(Group(AttrSet "n"{Material}(Geometry{tri}, Transform(Geometry{quad}))))",
     "stays"},
    {"a shared child is elsewhere too", R"(Group(AttrSet "n"{Material}(Geometry#g{tri}), Geometry#g))", "stays"},
    {"a locked child", R"(Group(AttrSet "n"{Material}(Geometry!{tri})))", "stays"},
    {"a set that overrides", R"(Group(AttrSet "n"{Material}(OverrideAttrSet(Geometry{tri}))))", "stays"},
    {"variants replace what the path sets",
     R"(Group(AttrSet "n"{Material}(Geometry[variants=(MaterialVariant)]{tri})))", "stays"},
    {"vertices are not pushed down", R"(Group(AttrSet "n"{tri}(Geometry{quad})))", "stays"},
    {"a locked set", R"(Group(AttrSet! "n"{Material}(Geometry{tri})))", "stays"},
    {"the root", R"(AttrSet "n"{Material}(Geometry{tri}))", "stays"},
};

TEST(kxFlattenNode, Decides)
{
    for (const DecisionCase& row : kFlattenCases)
        expectDecision(row, true);
}

TEST(kxFlattenNode, PushesAttributesDown)
{
    TestRun run;
    const Kel::Test::TestScene scene = Kel::Test::parseScene(
        R"(Group(AttrSet "n"{Material#m red, State#s[stateUnit=1], State#t[stateUnit=1 value=2]}(
               Geometry{tri}, Geometry{quad, Material#k blue}, AttrSet{State#u[stateUnit=2]})))");
    for (int i = 0; i < 2; ++i) // the second time there is nothing left to push
    {
        EXPECT_EQ(decide(run, findNode(scene.root(), "n"), true).first, COLLAPSE_TREE);
        EXPECT_EQ(Kel::Test::printScene(scene),
                  Kel::Test::normalizeScene(
                      R"(Group(AttrSet "n"{Material#m red, State#s[stateUnit=1], State#t[value=2 stateUnit=1]}(
                             Geometry{tri, Material#m, State#s, State#t},
                             Geometry{quad, Material#k blue, State#s, State#t},
                             AttrSet{State#u[stateUnit=2], Material#m, State#s, State#t})))"));
    }
}

TEST(kxFlattenNode, TheFlattenRootStays)
{
    TestRun run;
    const Kel::Test::TestScene scene = Kel::Test::parseScene(R"(Group(Group "n"(Camera)))");
    kxNode* node = findNode(scene.root(), "n");
    kxFlattenNode::setFlattenRoot(node);
    EXPECT_EQ(decide(run, node, true).first, NO_CHANGE);
    EXPECT_EQ(decide(run, node, false).first, COLLAPSE_TREE) << "collapsing does not ask";
    kxFlattenNode::setFlattenRoot(nullptr);
    EXPECT_EQ(decide(run, node, true).first, COLLAPSE_TREE);
}

TEST(kxFlattenNode, NestedInstancesDoNotDoubleForEver)
{
    std::string text = "Geometry{tri}";
    for (int level = 0; level < 24; ++level)
        text = "Group(Group#g" + std::to_string(level) + "(" + text + "), Group#g" + std::to_string(level) + ")";
    TestRun run;
    const Kel::Test::TestScene scene = Kel::Test::parseScene(text);
    std::vector<kxSmartPointer<kxNode>> nodes; // held: what is taken out is still counted
    forEachNodeOnce(
        scene.root(),
        [](kxNode* node, void* context)
        { static_cast<std::vector<kxSmartPointer<kxNode>>*>(context)->emplace_back(node); },
        &nodes);
    size_t links = 0;
    for (const auto& node : nodes)
    {
        auto* group = kxCast<kxGroup>(node);
        if (!group || decide(run, node, true).first != COLLAPSE_TREE)
            continue;
        while (group->getParentCount() > 0)
        {
            const kxSmartPointer<kxGroup> parent = group->getParent(0);
            for (kxNode* child : *group->getChildList())
                parent->appendChild(child);
            parent->removeChild(static_cast<const kxNode*>(group));
        }
        group->removeAllChildren();
    }
    for (const auto& node : nodes)
        links += node->getParentCount();
    EXPECT_LT(links, 24u * 64u);
}

TEST(kxCollapseNode, TheRootOfAnotherSceneStays)
{
    TestRun run;
    Kel::Test::TestScene scene = Kel::Test::parseScene(R"(Group(Group "n"(Camera)))");
    run.getService()->_file = scene.asFile();
    EXPECT_EQ(decide(run, findNode(scene.root(), "n"), false).first, COLLAPSE_TREE);
    const Kel::Test::TestScene other(findNode(scene.root(), "n"));
    run.getService()->_file->addInfo(other.info);
    EXPECT_EQ(decide(run, findNode(scene.root(), "n"), false).first, NO_CHANGE);
}

/// Carries a decision out as its clients do.
void carryOut(kxGroup* group, int32_t decision, kxNode* replaceNode)
{
    const kxSmartPointer<kxGroup> kept = group;
    for (uint32_t i = group->getParentCount(); i-- > 0;)
    {
        const kxSmartPointer<kxGroup> parent = group->getParent(i);
        if (decision == REPLACE_TREE)
            parent->setChild(static_cast<uint32_t>(parent->getChild(group)), replaceNode);
        else if (decision == COLLAPSE_TREE && group->getChildCount() == 1)
            parent->setChild(static_cast<uint32_t>(parent->getChild(group)), group->getChild(0u));
        else
        {
            if (decision == COLLAPSE_TREE)
                for (kxNode* child : *group->getChildList())
                    parent->appendChild(child);
            parent->removeChild(static_cast<const kxNode*>(group));
        }
    }
    group->removeAllChildren();
}

/// First group of a graph that is not among those asked about; null when all are.
kxGroup* findOther(kxNode* root, const std::set<uint32_t>& asked)
{
    std::pair<const std::set<uint32_t>&, kxGroup*> found = {asked, nullptr};
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            auto& [asked, group] = *static_cast<std::pair<const std::set<uint32_t>&, kxGroup*>*>(context);
            if (!group && !asked.contains(node->getSerial()))
                group = kxCast<kxGroup>(node);
        },
        &found);
    return found.second;
}

// The rule of all decisions, on scenes of every kind. The judge knows levels of detail, states and weights by their
// types alone, so those that say nothing are left out here.
void expectSamePicture(bool flatten)
{
    Kel::Test::forRandomScenes(
        150, {},
        [flatten](Kel::Test::TestScene& scene) -> std::string
        {
            TestRun run;
            run.getService()->_file = scene.asFile();
            const auto root = kxNew<kxGroup>(); // so that the scene's own root has a parent
            root->appendChild(scene.root());
            scene.info->setSceneGraph(root);
            const auto before = Kel::Test::drawList(root);
            std::set<uint32_t> asked; // nothing is held: what is merged has to go
            while (kxSmartPointer<kxGroup> group = findOther(root, asked))
            {
                asked.insert(group->getSerial());
                const bool isLeftOut = kxCast<kxLod>(group) || group == root ||
                                       group->isOfExactType(kxMetaObject::find("kxMorphInstance")) ||
                                       group->isOfExactType(kxMetaObject::find("kxLightStateSet"));
                if (isLeftOut)
                    continue;
                const std::string type = group->getTypeName();
                const auto [decision, replaceNode] = decide(run, group, flatten);
                if (decision == NO_CHANGE)
                    continue;
                carryOut(group, decision, replaceNode);
                group = nullptr;
                const std::string difference = Kel::Test::compareDrawLists(before, Kel::Test::drawList(root));
                if (!difference.empty())
                    return "decision " + std::to_string(decision) + " about a " + type + "\n" + difference;
                const std::string faults = Kel::Test::findLinkFaults(root);
                if (!faults.empty())
                    return faults;
            }
            return "";
        });
}

TEST(kxCollapseNode, NoDecisionChangesThePicture)
{
    expectSamePicture(false);
}

TEST(kxFlattenNode, NoDecisionChangesThePicture)
{
    expectSamePicture(true);
}

} // namespace
} // namespace Kel::Opt
