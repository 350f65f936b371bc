// Random scenes through scripts of the scene optimizations: what is drawn stays the same.
#include "tests/support/kxExpectOptimized.h"
#include "tests/support/kxPlainDrawList.h"
#include "tests/support/kxRandomScene.h"

#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxGeometry.h"

#include <gtest/gtest.h>

namespace Kel::Test
{

namespace
{

/// One section for each step, a verification in front, behind, and between all.
std::string makeScript(const std::vector<std::string>& steps)
{
    std::string sections;
    int number = 0;
    auto add = [&](const std::string& step)
    { sections += "[OPTIMIZATION" + std::to_string(++number) + "]\nname = " + step + "\n"; };
    add("kxVerifyPicture");
    for (const std::string& step : steps)
    {
        add(step);
        add("kxVerifyPicture");
    }
    return "[OPTIMIZE]\noptimizationCount = " + std::to_string(number) + "\n" + sections;
}

const std::string kShare = "kxShareAttrs\nattributeType = kxAttr";
const std::string kGroups = "kxCollapseHierarchy\nnodeType = kxGroup";
const std::string kSets = "kxCollapseHierarchy\nnodeType = kxAttrSet";
const std::string kTransforms = "kxCollapseHierarchy\nnodeType = kxTransform";
const std::string kFlatten = "kxFlattenHierarchy";
const std::string kPartition = "kxSpatialPartition\nloose = 0.6";
const std::string kBoxes = "kxCreateBoundingBoxes";
const std::string kPalettes = "kxLimitActorBlendPalettes\nmaxBlendMatrixCount = 1";

const std::vector<std::string> kScripts[] = {
    {kShare, kGroups, kSets, kTransforms, kFlatten},
    {kFlatten, kTransforms, kShare, kFlatten},
    {kTransforms, kSets, kGroups, kTransforms},
    {kSets, kFlatten, kSets, kGroups, kShare},
    {kFlatten, kPartition, kBoxes, kGroups, kPartition},
    {kPartition, kTransforms, kPalettes, kPartition, "kxCompileGraph", kBoxes, kShare},
};

std::string runAndJudge(TestScene& scene, const std::string& script)
{
    const std::vector<PlainDraw> before = drawList(scene.root());
    const RunResult result = runScript(scene, script);
    if (!result.completed || result.report.find("\" changed:\n") != std::string::npos)
        return result.report;
    if (const std::string links = findLinkFaults(scene.root()); !links.empty())
        return links;
    // The library's own proof and the plain one must say the same.
    return compareDrawLists(before, drawList(scene.root()));
}

// What the promotion is known to get wrong: sets that hold two values, and geometries with children, which it takes for
// plain attribute sets.
bool canPromote(kxNode* root)
{
    bool can = true;
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            const auto* set = kxCast<kxAttrSet>(node);
            if (!set)
                return;
            int materialCount = 0;
            for (const Attrs::kxAttr* attr : *set->getAttrs())
                materialCount += attr && attr->isOfType(Attrs::kxMaterialAttr::staticMetaObject());
            const bool isLeaf = set->getChildCount() == 0;
            if (materialCount > 1 || (set->isOfType(kxGeometry::staticMetaObject()) && !isLeaf))
                *static_cast<bool*>(context) = false;
        },
        &can);
    return can;
}

} // namespace

TEST(RandomScripts, KeepThePicture)
{
    for (const std::vector<std::string>& steps : kScripts)
    {
        const std::string script = makeScript(steps);
        SCOPED_TRACE(script);
        forRandomScenes(150, {}, [&](TestScene& scene) { return runAndJudge(scene, script); });
        RandomSceneOptions plain;
        plain.allNodeTypes = plain.allAttrTypes = false;
        forRandomScenes(150, plain, [&](TestScene& scene) { return runAndJudge(scene, script); });
    }
}

// Promotion too, where nothing stands in its way.
TEST(RandomScripts, PromotionKeepsThePictureOfPlainScenes)
{
    const std::string script =
        makeScript({kShare, "kxPromoteAttrs\nattributeType = kxMaterialAttr", kSets, kGroups, kFlatten});
    RandomSceneOptions plain;
    plain.allNodeTypes = plain.allAttrTypes = false;
    forRandomScenes(400, plain,
                    [&](TestScene& scene) { return canPromote(scene.root()) ? runAndJudge(scene, script) : ""; });
}

} // namespace Kel::Test
