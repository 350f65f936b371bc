#include "opt/verify/kxVerifyPicture.h"

#include "tests/opt/testRun.h"

#include "opt/verify/kxComparePictures.h"
#include "opt/verify/kxVerifyObserver.h"
#include "platform/sg/kxSceneInfo.h"

#include <gmock/gmock.h>

namespace Kel::Opt
{

namespace
{

const char* const kScript = "[OPTIMIZE]\noptimizationCount = 3\nhierarchyCheck = false\n"
                            "[OPTIMIZATION1]\nname = kxVerifyPicture\n"
                            "[OPTIMIZATION2]\nname = kxRemoveAttrs\nattributeType = kxMaterialAttr\n"
                            "[OPTIMIZATION3]\nname = kxVerifyPicture\n";

kxSmartPointer<kxSceneInfo> makeScene(const char* name, const char* text)
{
    NamedScene scene(text);
    auto info = kxNew<kxSceneInfo>();
    info->setName(name);
    info->setSceneGraph(scene.m_root);
    return info;
}

} // namespace

TEST(kxVerifyPicture, FailsWhereTheSecondPictureIsAnother)
{
    TestRun run;
    run.getService()->_file->addInfo(makeScene("plain", "Geometry{tri}"));
    run.getService()->_file->addInfo(makeScene("red", "AttrSet{Material red}(Geometry \"box\"{tri})"));
    auto driver = run.createDriver(kScript);
    EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
    const std::string text = run.takeText();
    EXPECT_THAT(text, testing::HasSubstr("picture of \"plain\" remembered (1 draws)\n"));
    EXPECT_THAT(text, testing::HasSubstr("picture of \"plain\" unchanged (1 draws)\n"));
    EXPECT_THAT(text, testing::HasSubstr("\t\tpicture of \"red\" changed:\n"
                                         "\t\tgeometry /red/kxAttrSet/box: kxMaterialAttr is gone\n"
                                         "\t\tfailed\n"));
    // A new run remembers anew.
    EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
    EXPECT_THAT(run.takeText(), testing::Not(testing::HasSubstr("\" changed")));
}

TEST(kxVerifyObserver, NamesTheStepThatChangedThePicture)
{
    for (const auto mode : {kxVerifyObserver::AT_END, kxVerifyObserver::EACH_STEP})
    {
        TestRun run;
        run.getService()->_file->addInfo(makeScene("red", "AttrSet{Material red}(Geometry \"box\"{tri})"));
        auto driver = run.createDriver(kScript);
        kxVerifyObserver observer(mode);
        driver->addObserver(&observer);
        EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
        EXPECT_FALSE(observer.isSame());
        ASSERT_EQ(observer.getChanges().size(), 1u);
        EXPECT_EQ(observer.getChanges()[0].step, mode == kxVerifyObserver::EACH_STEP ? 2 : 0);
        EXPECT_THAT(observer.getChanges()[0].lines,
                    testing::ElementsAre("geometry /red/kxAttrSet/box: kxMaterialAttr is gone"));
        // Nothing is left to remove: the next run is the same at its end as at its beginning.
        EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
        EXPECT_TRUE(observer.isSame());
    }
}

TEST(kxComparePictures, ComparesFiles)
{
    TestRun run;
    const std::string folder = testing::TempDir();
    const std::string a = folder + "kxComparePicturesA.kxb", b = folder + "kxComparePicturesB.kxb";
    const auto scene = makeScene("scene", "Group(AttrSet{Material red}(Geometry{tri}), Geometry{quad})");
    ASSERT_EQ(run.getService()->writeFile(scene.get(), a.c_str(), false), kSuccess);
    kxCast<kxGroup>(scene->getSceneGraph())->removeChild(1u);
    ASSERT_EQ(run.getService()->writeFile(scene.get(), b.c_str(), false), kSuccess);

    EXPECT_EQ(comparePictures(a.c_str(), a.c_str(), {}).answer, kxPictureAnswer::SAME);
    const kxPictureResult result = comparePictures(a.c_str(), b.c_str(), {});
    EXPECT_EQ(result.answer, kxPictureAnswer::DIFFERENT);
    EXPECT_EQ(result.onlyInA, 1u);
    EXPECT_EQ(result.onlyInB, 0u);
    EXPECT_THAT(result.lines, testing::ElementsAre("geometry /scene/kxGroup/kxGeometry is only in the first"));

    kxReportCollector reports;
    const std::string missing = folder + "kxComparePicturesNone.kxb";
    EXPECT_EQ(comparePictures(a.c_str(), missing.c_str(), {}).answer, kxPictureAnswer::TROUBLE);
    EXPECT_NE(reports.m_errors, "");
    std::remove(a.c_str());
    std::remove(b.c_str());
}

} // namespace Kel::Opt
