// The judges are judged: each fault that a row of a table is checked for is made once, and must be found.
#include "opt/framework/kxOptBase.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxTransform.h"
#include "tests/support/kxExpectOptimized.h"
#include "tests/support/kxPlainDrawList.h"
#include "tests/support/kxRandomScene.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace Kel::Test
{

// Does to the root what its setting says.
class kxTestMischief : public Opt::kxOptBase
{
    KX_OBJECT(kxTestMischief, kxOptBase)
    static void listFields(kxFields<kxTestMischief>& fields)
    {
        fields.add(&kxTestMischief::_deed, "_deed", "what to do");
    }

    kxStringRef _deed{""};
    static std::vector<kxSmartPointer<kxGroup>> s_leaked; // found again, so that leak checkers have nothing to say

    bool configure(int) override { return _deed != kxStringRef("refuse"); }
    bool apply(kxSmartPointer<kxNode>& root) override
    {
        const std::string deed = _deed.str();
        auto* group = static_cast<kxGroup*>(root.get());
        if (deed == "rename once")
            root->setName("b");
        if (deed == "rename always")
            root->setName(root->getName().str() + "b");
        if (deed == "move")
            static_cast<kxTransform*>(group->getChild(0u))->setMatrix(kxMatrix44f().setTranslation(kxVec3f(1, 0, 0)));
        if (deed == "unlink")
            group->getChild(0u)->_parentList->clear();
        if (deed == "leak")
            s_leaked.push_back(kxNew<kxGroup>());
        if (deed == "hide")
            root->_parentList = kxNew<kxNonRefCountedNodeList>(); // what no file holds changes nothing
        count("deeds");
        refuse("locked", root);
        return deed != "fail";
    }
};
KX_IMPLEMENT(kxTestMischief)
std::vector<kxSmartPointer<kxGroup>> kxTestMischief::s_leaked;

namespace
{

const char kScene[] = "Group \"a\"(Transform(Geometry{tri}))";

RunResult expectDeed(const char* deed, const char* after, unsigned flags = 0)
{
    return expectOptimized("kxTestMischief", {{"deed", deed}}, {deed, kScene, after, flags});
}

TEST(expectOptimized, FindsWhatEveryRowPromises)
{
    kxRegisterClass<kxTestMischief>("kxTestMischief", "does what its setting says");
    const char renamed[] = "Group \"b\"(Transform(Geometry{tri}))";

    const RunResult result = expectDeed("none", kUnchanged);
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.counters.at("deeds"), 1);
    EXPECT_EQ(result.refusals.at("locked"), 1);
    EXPECT_NE(result.report.find("kxTestMischief"), std::string::npos) << result.report;
    expectDeed("rename once", renamed);
    expectDeed("hide", kUnchanged);
    expectDeed("fail", kUnchanged, STEP_FAILS);
    expectDeed("refuse", kUnchanged, NOT_CONFIGURED);
    expectDeed("rename always", "Group \"ab\"(Transform(Geometry{tri}))", SECOND_RUN_CHANGES);
    expectDeed("move", "Group \"a\"(Transform<1 0 0>(Geometry{tri}))", PICTURE_CHANGES);

    EXPECT_NONFATAL_FAILURE(expectDeed("rename once", kUnchanged), "from Group");
    EXPECT_NONFATAL_FAILURE(expectDeed("fail", kUnchanged), "failed");
    EXPECT_NONFATAL_FAILURE(expectDeed("refuse", kUnchanged), "not configured");
    EXPECT_NONFATAL_FAILURE(expectDeed("rename always", "Group \"ab\"(Transform(Geometry{tri}))"), "a second run");
    EXPECT_NONFATAL_FAILURE(expectDeed("move", "Group \"a\"(Transform<1 0 0>(Geometry{tri}))"),
                            "the picture has changed");
    EXPECT_NONFATAL_FAILURE(expectDeed("leak", kUnchanged), "left alive");
    kxTestMischief::s_leaked.clear();
    EXPECT_NONFATAL_FAILURE(expectDeed("unlink", kUnchanged), "rarely among its parents");
}

TEST(drawList, KnowsWhatIsDrawn)
{
    const struct
    {
        const char* one;
        const char* other;
        bool same;
    } cases[] = {
        {"Group(Transform<1 0 0>(Transform<scale 2>(Geometry{tri})))", "Transform<1 0 0 scale 2>(Geometry \"g\"{tri})",
         true},
        {"Transform<scale 2>(Transform<1 0 0>(Geometry{tri}))", "Transform<1 0 0 scale 2>(Geometry{tri})", false},
        {"Transform<1000 0 0>(Geometry{tri})", "Transform<1000.001 0 0>(Geometry{tri})", true},
        {"Transform<1 0 0>(Geometry{tri})", "Transform<1.001 0 0>(Geometry{tri})", false},
        {"Group(Geometry{tri}, Geometry{quad})", "Group(Geometry{quad}, Geometry{tri})", true},
        {"Group(Geometry#1{tri}, Geometry#1)", "Group(Geometry{tri}, Group(Geometry{tri#2}))", true},
        {"Group(Geometry#1{tri}, Geometry#1)", "Geometry{tri}", false},
        {"Geometry{tri, quad}", "Group(Geometry{tri}, Geometry{quad})", true},
        {"Group(Group, null, Geometry{Material red})", "null", true}, // nothing is drawn
        {"AttrSet{Material red}(Geometry{tri})", "Geometry{tri, Material \"m\" red}", true},
        {"AttrSet{Material red}(AttrSet{Material blue}(Geometry{tri}))", "AttrSet{Material blue}(Geometry{tri})", true},
        {"OverrideAttrSet{Material red}(AttrSet{Material blue}(Geometry{tri}))", "AttrSet{Material red}(Geometry{tri})",
         true},
        {"OverrideAttrSet{Material red}(OverrideAttrSet{Material blue}(Geometry{tri}))", "Geometry{tri, Material red}",
         true},
        {"AttrSet{TextureBind<\"a\">[unit=1]}(Geometry{tri, TextureBind<\"b\">})",
         "AttrSet{TextureBind<\"b\">}(Geometry{tri, TextureBind<\"b\">})", false}, // units are apart
        {"Switch(Geometry{tri}, Geometry{tri})", "Switch(Geometry{tri}, null, Geometry{tri})", false},
        {"Switch<1>(Geometry{tri})", "Switch(Geometry{tri})", false},
        {"Lod<0 10>(Geometry{tri})", "Lod<0 20>(Geometry{tri})", false},
        {"Transform<1 0 0>(Lod<0 9>[center=1,0,0](Geometry{tri}))",
         "Lod<0 9>[center=2,0,0](Transform<1 0 0>(Geometry{tri}))", true},
        {"Mesh(Geometry{tri})", "Group(Geometry{tri})", true},
        {"Transform<1 0 0>(Camera)", "Camera", false},
        {"LightSet{Light red}(Geometry{tri})", "Group(LightSet{Light red}, Geometry{tri})", true},
        {"Billboard(Geometry{tri})", "Geometry{tri}", false},
    };
    for (const auto& c : cases)
    {
        const std::string differences =
            compareDrawLists(drawList(parseScene(c.one).root()), drawList(parseScene(c.other).root()));
        EXPECT_EQ(differences.empty(), c.same) << c.one << "\n" << c.other << "\n" << differences;
    }
}

TEST(shrinkScene, FindsTheSmallestSceneThatFails)
{
    // The fault: a red material below a transform that stands below a switch.
    const auto fails = [](const std::string& text)
    {
        const size_t place = text.find("Switch");
        return place != std::string::npos &&
               text.find("Material red", text.find("Transform", place)) != std::string::npos;
    };
    EXPECT_EQ(shrinkScene(normalizeScene(
                              "Group(Transform!<1 2 3>(Geometry#1{tri}), Switch<2>(null, AttrSet{State}(Group(Group(),"
                              "Transform \"x\"<1 0 0>(Geometry#1, AttrSet{Material red, Material blue})))))"),
                          fails),
              "Switch(Transform(AttrSet{Material red}))");

    RandomSceneOptions options;
    EXPECT_NONFATAL_FAILURE(forRandomScenes(50, options,
                                            [](TestScene& scene) {
                                                return printScene(scene).find("Lod") == std::string::npos ? ""
                                                                                                          : "a lod";
                                            }),
                            "a lod\nsmallest scene: Lod");
    EXPECT_EQ(printScene(makeRandomScene(3, options)), printScene(makeRandomScene(3, options)));
    EXPECT_NE(printScene(makeRandomScene(3, options)), printScene(makeRandomScene(4, options)));
}

} // namespace
} // namespace Kel::Test
