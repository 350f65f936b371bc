#include "tests/opt/framework/testOptimizations.h"
#include "tests/opt/testRun.h"

#include "opt/tracking/kxLockInterface.h"
#include "platform/core/kxKXBFile.h"
#include "platform/core/kxResource.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace Kel::Opt
{

namespace
{

/// An empty folder that goes with the test.
class TestFolder
{
public:
    TestFolder() : m_path(testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name())
    {
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~TestFolder() { std::filesystem::remove_all(m_path); }
    std::string path(const char* name) const { return m_path + "/" + name; }
    void make(const char* name) const { std::ofstream(path(name)) << "x"; }

    std::string m_path;
};

} // namespace

TEST(kxOptInterface, MakesOptimizationsByName)
{
    registerTestOptimizations();
    TestRun run;
    kxOptInterface* service = run.getService();
    EXPECT_FALSE(service->createOptBase("kxTestStep")) << "nothing is listed yet";
    service->updateOptList();
    const uint32_t count = service->_optimizationList->getCount();
    service->updateOptList();
    EXPECT_EQ(service->_optimizationList->getCount(), 2 * count);

    const auto step = service->createOptBase("kxTestStep");
    ASSERT_TRUE(step);
    EXPECT_TRUE(step->isOfExactType(kxTestStep::staticMetaObject()));
    EXPECT_EQ(step->_logInterface.get(), run.getLog());
    EXPECT_EQ(step->getRefCount(), 1u);
    const auto name = kxNew<kxStringObj>("kxTestSettings");
    EXPECT_TRUE(kxCast<kxTestSettings>(service->createOptBase(name.get())));
    EXPECT_FALSE(service->createOptBase(static_cast<const kxStringObj*>(nullptr)));
    EXPECT_FALSE(service->createOptBase(static_cast<const kxMetaObject*>(nullptr)));
    for (const char* unknown : {"kxOptBase", "kxNode", "kxtestStep", ""})
        EXPECT_FALSE(service->createOptBase(kxStringRef(unknown))) << unknown;
}

TEST(kxOptInterface, MakesASceneForABareGraph)
{
    const TestFolder folder;
    const std::string path = folder.path("bare.kxb");
    {
        const NamedScene scene("Group\"g\"(Camera\"eye\")");
        const auto file = kxNew<kxKXBFile>();
        file->addObject(scene.m_root, "_sceneGraph");
        ASSERT_GT(file->write(path.c_str()), 0u);
    }
    TestRun run;
    const kxSmartPointer<kxSceneInfo> info = run.getService()->loadFile(path.c_str());
    ASSERT_TRUE(info);
    EXPECT_EQ(info->getSceneGraph()->getName(), kxStringRef("g"));
    EXPECT_EQ(info->_cameraList->getCount(), 1u);
    // It takes part in runs and is written again.
    EXPECT_EQ(run.getService()->getInfos()->getCount(), 1u);
    EXPECT_EQ(run.getService()->writeFile(static_cast<kxInfo*>(nullptr), folder.path("out.kxb").c_str(), true),
              kSuccess);
    EXPECT_TRUE(TestRun().getService()->loadFile(folder.path("out.kxb").c_str()));

    // What was loaded goes when the next file fails to load: the scene given back is null, one error is reported.
    const kxReportCollector reports;
    kxSmartPointer<kxSceneInfo> missing = info;
    EXPECT_FALSE(run.getService()->loadFile(folder.path("missing.kxb").c_str(), missing));
    EXPECT_FALSE(missing);
    EXPECT_EQ(std::count(reports.m_errors.begin(), reports.m_errors.end(), '\n'), 1);
    EXPECT_FALSE(run.getService()->loadFile(nullptr, missing));
    TestRun empty;
    EXPECT_EQ(empty.getService()->writeFile(static_cast<kxInfo*>(nullptr), path.c_str(), true), kFailure);
}

TEST(kxOptInterface, FindsFreeFileNames)
{
    const TestFolder folder;
    for (const char* name : {"scene.kxb", "scene0001.kxb", "plain", "two.dots.kxb"})
        folder.make(name);
    TestRun run;
    const std::pair<const char*, const char*> rows[] = {{"scene.kxb", "scene0002.kxb"},
                                                        {"new.kxb", "new.kxb"},
                                                        {"plain", "plain0001"},
                                                        {"two.dots.kxb", "two.dots0001.kxb"}};
    for (const auto& [name, unique] : rows)
    {
        const auto string = kxNew<kxStringObj>(name);
        run.getService()->makeNameUnique(folder.m_path.c_str(), string);
        EXPECT_EQ(string->str(), unique);
    }
    run.getService()->makeNameUnique(folder.m_path.c_str(), nullptr);

    EXPECT_TRUE(run.getService()->isFolderWritable(folder.m_path.c_str()));
    EXPECT_FALSE(run.getService()->isFolderWritable(folder.path("scene.kxb").c_str()));
    EXPECT_FALSE(run.getService()->isFolderWritable(folder.path("nowhere").c_str()));
    EXPECT_FALSE(run.getService()->isFolderWritable(nullptr));
}

TEST(kxOptInterface, KeepsDisabledInfosAndExternalEntries)
{
    TestRun run;
    kxOptInterface* service = run.getService();
    const auto info = kxNew<kxSceneInfo>();
    EXPECT_FALSE(service->infoIsDisabled(info));
    service->disableInfo(info);
    service->disableInfo(info);
    service->enableInfo(info);
    EXPECT_TRUE(service->infoIsDisabled(info)) << "disabled twice, enabled once";
    service->enableInfo(info);
    EXPECT_FALSE(service->infoIsDisabled(info));

    const NamedScene scene("Group\"g\"(Group\"h\")");
    const auto entry = kxNew<kxExternalDirEntry>();
    entry->_path = "other.kxb";
    entry->_object = scene["h"];
    service->addExternalReference(entry);
    EXPECT_EQ(service->getExternalEntry(scene["h"]), entry.get()) << "the entry itself, with its name";
    service->removeExternalEntry(scene["g"]);
    EXPECT_TRUE(service->getExternalEntry(scene["h"]));
    service->removeAllExternalEntry();
    EXPECT_FALSE(service->getExternalEntry(scene["h"]));
}

TEST(kxOptInterface, NamesAnObjectWithoutANameInTheFileRoot)
{
    TestRun run;
    const TestFolder folder;
    const std::string path = folder.path("house.kxb");
    const NamedScene scene(R"(Group "house")");
    EXPECT_EQ(run.getService()->writeFile(static_cast<kxObject*>(scene.m_root), path.c_str(), false), kSuccess);
    const kxSmartPointer<kxDirectory> directory = kxResource::load(path.c_str());
    ASSERT_EQ(directory->getEntryCount(), 1u);
    EXPECT_EQ(directory->getEntry(0)->getName(), kxStringRef("root"));
}

TEST(kxOptInterface, LocksOfOneFileGoWithIt)
{
    TestRun run;
    kxOptInterface* service = run.getService();
    const TestFolder folder;
    for (const char* name : {"still", "driven"})
    {
        const Kel::Test::TestScene scene =
            Kel::Test::parseScene(name[0] == 's' ? R"(Group(Transform "boat"))" : R"(Group(Transform! "boat"))");
        service->_file = scene.asFile();
        ASSERT_EQ(service->writeFile(static_cast<kxInfo*>(nullptr),
                                     folder.path((std::string(name) + ".kxb").c_str()).c_str(), true),
                  kSuccess);
    }
    for (const char* name : {"still", "driven", "still"})
    {
        const kxSmartPointer<kxSceneInfo> scene =
            service->loadFile(folder.path((std::string(name) + ".kxb").c_str()).c_str());
        ASSERT_TRUE(scene) << run.takeText();
        auto* root = kxCast<kxGroup>(scene->getSceneGraph());
        EXPECT_EQ(run.m_manager->_lockInterface->isLocked(root->getChild(0u)), name[0] == 'd') << name;
    }
}

} // namespace Kel::Opt
