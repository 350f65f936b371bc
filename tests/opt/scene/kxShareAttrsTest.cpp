#include "opt/scene/kxShareAttrs.h"

#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include "opt/items/kxCompareAttr.h"
#include "opt/items/kxItemInterface.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxAttrSet.h"
#include "platform/sg/kxSceneInfo.h"

namespace Kel::Opt
{

using Kel::Test::expectOptimized;
using Kel::Test::kUnchanged;
using Kel::Test::OptimizationCase;

namespace
{

const OptimizationCase kMaterialCases[] = {
    {"the first of equal attributes stays", "Group(AttrSet{Material#1 red}, AttrSet{Material#2 red})",
     "Group(AttrSet{Material#1 red}, AttrSet{Material#1})"},
    {"different values stay apart", "Group(AttrSet{Material#1 red}, AttrSet{Material#2 blue})", kUnchanged},
    {"names keep nothing apart", "Group(AttrSet{Material \"a\" red}, AttrSet{Material \"b\" red})",
     "Group(AttrSet{Material#1 \"a\" red}, AttrSet{Material#1})"},
    {"a locked set keeps its own", "Group(AttrSet{Material red}, AttrSet!{Material red})", kUnchanged},
    {"the walk decides, not the depth", "Group(Group(AttrSet{Material \"deep\" red}), AttrSet{Material \"flat\" red})",
     "Group(Group(AttrSet{Material#1 \"deep\" red}), AttrSet{Material#1})"},
    {"other types are left alone", "Group(AttrSet{State[state=\"fog\"]}, AttrSet{State[state=\"fog\"]})", kUnchanged},
    {"twice in one set", "AttrSet{Material red, Material red}", "AttrSet{Material#1 red, Material#1}"},
    {"what a geometry draws itself with", "Group(AttrSet{Material red}(Geometry{tri, Material red}))",
     "Group(AttrSet{Material#1 red}(Geometry{tri, Material#1}))"},
    {"a shared node once", "Group(AttrSet#s{Material red}, Group(AttrSet#s), AttrSet{Material red})",
     "Group(AttrSet#1{Material#1 red}, Group(AttrSet#1), AttrSet{Material#1})"},
    {"sets of other types", "Group(OverrideAttrSet{Material red}, AttrSet{Material red})",
     "Group(OverrideAttrSet{Material#1 red}, AttrSet{Material#1})"},
    {"extras keep apart", "Group(AttrSet{Material red}, AttrSet{Material red[userData=UserData[extras=\"1\"]]})",
     kUnchanged},
};

const OptimizationCase kAnyTypeCases[] = {
    {"derived types among themselves",
     "Group(AttrSet{Material red, State[state=\"fog\"]}, AttrSet{State[state=\"fog\"], Material red})",
     "Group(AttrSet{Material#1 red, State#1[state=\"fog\"]}, AttrSet{State#1, Material#1})"},
    {"material variants with the paths, so that a material that both use stays one",
     R"(Group(AttrSet{Material red, TextureBind}, AttrSet{Material#m blue, TextureBind#b}(
         Geometry[variants=(null, MaterialVariant{Material#m, TextureBind#b}, MaterialVariant{Material red})]{tri})))",
     R"(Group(AttrSet{Material#1 red, TextureBind#2}, AttrSet{Material#3 blue, TextureBind#2}(
         Geometry[variants=(null, MaterialVariant{Material#3, TextureBind#2}, MaterialVariant{Material#1})]{tri})))"},
    {"variants of a locked geometry keep their own",
     R"(Group(AttrSet{Material red}, Geometry![variants=(MaterialVariant{Material red})]{tri}))", kUnchanged},
    {"units", "Group(AttrSet{State[stateUnit=1]}, AttrSet{State[stateUnit=2]})", kUnchanged},
};

/// A comparison of a host's own: materials are alike when they are red to the same degree.
class RedComparison : public kxCompareAttr
{
    KX_OBJECT(RedComparison, kxCompareAttr)

    bool getRegisterInterface() override { return false; }
    kxSmartPointer<kxParameterSet> compare(kxParameterSet*) override
    {
        const auto *a = kxCast<kxMaterialAttr>(_attributeOne), *b = kxCast<kxMaterialAttr>(_attributeTwo);
        _compare = a && b && a->_baseColorFactor.x == b->_baseColorFactor.x;
        kxParameterSetWrapper result;
        result.success();
        return result;
    }
};
KX_IMPLEMENT(RedComparison)

} // namespace

TEST(kxShareAttrs, SharesEqualAttributes)
{
    for (const OptimizationCase& c : kMaterialCases)
        expectOptimized("kxShareAttrs", {{"attributeType", "kxMaterialAttr"}}, c);
    for (const OptimizationCase& c : kAnyTypeCases)
        expectOptimized("kxShareAttrs", {{"attributeType", "kxAttr"}}, c);
}

TEST(kxShareAttrs, RefusesTypesThatBelongToTheirNode)
{
    TestRun run;
    auto share = run.create<kxShareAttrs>();
    EXPECT_FALSE(share->configure(0));
    EXPECT_EQ(run.takeText(), "ERROR: There is no registered attr type for the promotion\n");
    for (const char* name :
         {"kxLightStateAttr", "kxLightAttr", "kxGeometryAttr", "kxGeometrySetAttr", "kxParticleAttr"})
    {
        share->setAttrMeta(kxMetaObject::find(kxStringRef(name)));
        EXPECT_FALSE(share->configure(0));
        EXPECT_EQ(run.takeText(), std::string("ERROR: The attribute ") + name +
                                      " can't be shared since it is not defined in kxAttrSet\n");
    }
    share->setAttrMeta(kxMetaObject::find(kxStringRef("kxAttr")));
    EXPECT_TRUE(share->configure(0));
}

// The pool lives as long as the optimization: later scenes share with earlier ones, and count in the report.
TEST(kxShareAttrs, SharesBetweenScenes)
{
    TestRun run;
    auto share = run.create<kxShareAttrs>();
    share->setAttrMeta(kxMaterialAttr::staticMetaObject());
    NamedScene first("AttrSet \"a\"{Material red}"), second("AttrSet \"b\"{Material red, Material blue}");
    EXPECT_TRUE(share->apply(first.m_root));
    EXPECT_TRUE(share->apply(second.m_root));
    EXPECT_EQ(kxCast<kxAttrSet>(first["a"])->getAttrs()->get(0), kxCast<kxAttrSet>(second["b"])->getAttrs()->get(0));
    EXPECT_EQ(share->_attributeList->getCount(), 2u);
    ASSERT_EQ(share->getCounters().size(), 1u);
    EXPECT_EQ(share->getCounters()[0].name, "attributes shared");
    EXPECT_EQ(share->getCounters()[0].value, 1);
}

// With a comparison that knows nothing of hashes every attribute that was kept is asked, the first that agrees is
// taken.
TEST(kxShareAttrs, AsksAComparisonOfAHostsOwn)
{
    TestRun run;
    kxRegisterClass<RedComparison>("RedComparison", "test");
    auto share = run.create<kxShareAttrs>();
    share->setAttrMeta(kxMaterialAttr::staticMetaObject());
    kxItemInterface* items = run.m_manager->_itemInterface;
    items->getRegisteredItemBase(kxStringRef("kxCompareAttr"), kxMaterialAttr::staticMetaObject());
    items->setRegisteredItemBase(kxStringRef("kxCompareAttr"), kxMaterialAttr::staticMetaObject(),
                                 RedComparison::staticMetaObject());
    NamedScene scene("Group(AttrSet{Material[baseColorFactor=1,0,0,1]}, AttrSet{Material[baseColorFactor=1,1,1,1]},"
                     " AttrSet{Material[baseColorFactor=0,0,0,1]}, AttrSet{Material[baseColorFactor=0,1,0,1]})");
    EXPECT_TRUE(share->apply(scene.m_root));
    EXPECT_EQ(share->_attributeList->getCount(), 2u);
    EXPECT_FALSE(share->isAttrAlike(share->_attributeList->get(0), nullptr));
    EXPECT_FALSE(share->isAttrAlike(share->_attributeList->get(0), share->_attributeList->get(1)));
}

TEST(kxShareAttrs, RefusesWhatIsNotThere)
{
    TestRun run;
    auto share = run.create<kxShareAttrs>();
    kxSmartPointer<kxNode> none;
    EXPECT_FALSE(share->apply(none));
    kxSmartPointer<kxNode> root = kxNew<kxGroup>();
    EXPECT_FALSE(share->apply(root));
    share->setAttrMeta(kxMaterialAttr::staticMetaObject());
    EXPECT_FALSE(share->apply(none));
    EXPECT_TRUE(share->applyInfo(kxNew<kxAnimationDatabase>()));
}

TEST(kxShareAttrs, SharesBetweenScenesAndTheGraphsOfSkins)
{
    TestRun run;
    auto share = run.create<kxShareAttrs>();
    share->setAttrMeta(kxMaterialAttr::staticMetaObject());
    const NamedScene scene("Group(AttrSet \"shown\"{Material red})");
    const auto info = kxNew<kxSceneInfo>();
    info->setSceneGraph(scene.m_root);
    const auto database = kxNew<kxAnimationDatabase>();
    std::vector<NamedScene> graphs;
    for (const char* text : {"AttrSet \"a\"{Material red}", "Group(Segment, AttrSet \"b\"{Material red})",
                             "Group(AttrSet \"c\"{Material red}, AttrSet \"d\"{Material blue})"})
    {
        graphs.emplace_back(text);
        auto skin = kxNew<kxSkin>();
        skin->setSkinnedGraph(graphs.back().m_root);
        database->getSkinList()->append(skin);
    }
    database->getSkinList()->append(kxNew<kxSkin>()); // draws nothing alone
    run.getService()->_file->addInfo(info);
    run.getService()->_file->addInfo(database);
    EXPECT_TRUE(share->canOptimize(database.get()));
    EXPECT_TRUE(share->applyToInfos());
    const auto materialOf = [](kxNode* node) { return kxCast<kxAttrSet>(node)->getAttrs()->get(0); };
    EXPECT_EQ(materialOf(graphs[0]["a"]), materialOf(scene["shown"]));
    EXPECT_NE(materialOf(graphs[1]["b"]), materialOf(scene["shown"])) << "graphs with segments are left alone";
    EXPECT_EQ(materialOf(graphs[2]["c"]), materialOf(scene["shown"]));
    EXPECT_EQ(database->getSkinList()->get(3)->getSkinnedGraph(), nullptr);
}

} // namespace Kel::Opt
