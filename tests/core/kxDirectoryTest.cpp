#include "platform/core/kxFileInfo.h"
#include "platform/core/kxKXBFile.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxResource.h"
#include "tests/core/coreTestClasses.h"

#include <gtest/gtest.h>

namespace Kel::Core
{
namespace
{

std::string sharedText(const kxDirectory& directory)
{
    std::string text;
    for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
    {
        const kxDirEntry* entry = directory.getSharedEntry(i);
        EXPECT_EQ(entry->getObject(), directory.getSharedObject(i));
        text += i ? " " : "";
        text += entry->getName().isNull() ? entry->getObject()->getTypeName() : entry->getName().c_str();
    }
    return text;
}

TEST(kxDirectory, SharedEntriesAreWhatTheRootsReachInOrder)
{
    auto directory = kxNew<kxDirectory>();
    auto a = kxNew<kxTestNode>("a"), d = kxNew<kxTestNode>("d");
    kxTestNode* b = a->addChild(kxNew<kxTestNode>("b"));
    a->addChild(kxNew<kxTestNode>("c"));
    b->addChild(kxNew<kxTestNode>("e"))->_other = a; // a circle
    a->addChild(b);                                  // shared
    auto owner = kxNew<kxTestNode>("owner");
    owner->addChild(a);
    a->_owner = owner; // links back are not followed
    a->_bytes = kxMemoryBlock::copyOf("1", 1);
    auto lists = kxNew<kxObjectListList>();
    lists->append(kxNew<kxObjectList>());
    lists->append(lists->get(0));
    lists->get(0)->append(kxNew<kxStringObj>("in a list in a list"));
    lists->get(0)->append(kxTestNode::staticMetaObject());
    lists->get(0)->append(lists); // holds itself
    d->_other = lists;

    directory->addEntry(a, "first");
    directory->addEntry(d, kxStringRef());
    EXPECT_EQ(directory->addEntry(nullptr, "nothing"), nullptr);
    EXPECT_EQ(sharedText(*directory), "first kxTestNode b c kxStringObj e");
    EXPECT_EQ(directory->getSharedEntry(0), directory->getEntry(0));

    b->addChild(kxNew<kxTestNode>("late"));
    directory->addEntry(owner, "again");
    EXPECT_EQ(sharedText(*directory), "first kxTestNode again b c kxStringObj e late");
    EXPECT_EQ(directory->findEntry("again")->getObject(), owner.get());

    lists->get(0)->clear();
    a->_owner = nullptr;
    takeApart(*directory);
    EXPECT_EQ(directory->getSharedEntryCount(), 0u);
}

TEST(kxDirectory, AMillionObjectsInAnyShape)
{
    auto directory = kxNew<kxDirectory>();
    auto root = kxNew<kxTestNode>();
    directory->addEntry(root, "root");
    kxTestNode* last = root;
    for (int i = 0; i < 250000; ++i)
    {
        last = last->addChild(kxNew<kxTestNode>());
        root->addChild(kxNew<kxTestNode>());
    }
    EXPECT_EQ(directory->getSharedEntryCount(), 500001u);
}

TEST(kxResource, FindsObjectsByTypeAndName)
{
    auto directory = kxNew<kxDirectory>();
    auto node = kxNew<kxTestNode>("inner");
    auto values = kxNew<kxTestValues>();
    values->_object = node;
    values->_name = "own";
    directory->addEntry(values, "given");
    directory->addEntry(kxNew<kxStringObj>("x"), "inner");
    EXPECT_EQ(kxResource::getInfoByType(directory, "kxInfo"), values.get());
    EXPECT_EQ(kxResource::getInfoByType(directory, "kxTestNode"), node.get());
    EXPECT_EQ(kxResource::getInfoByType(directory, "kxStringObj"), nullptr);
    EXPECT_EQ(kxResource::getInfoByType(directory, "noSuchClass"), nullptr);
    EXPECT_EQ(kxResource::getByType(directory, "kxObject", "inner"), directory->getEntry(1)->getObject());
    EXPECT_EQ(kxResource::getByType(directory, "kxInfo", "inner"), node.get());
    EXPECT_EQ(kxResource::getByType(directory, "kxInfo", "own"), values.get());
    EXPECT_EQ(kxResource::getByType(directory, "kxTestNode", kxStringRef()), node.get());
    EXPECT_EQ(kxResource::getByType(directory, "kxTestNode", "given"), nullptr);
    kxResource::unload(directory);
    EXPECT_EQ(node->getRefCount(), 2u);
}

TEST(kxResource, FindsInfosBelowRootsOnceTheyAreHungThere)
{
    auto directory = kxNew<kxDirectory>();
    auto values = kxNew<kxTestValues>();
    directory->addEntry(values, "root");
    directory->setInfosAreRoots();
    EXPECT_EQ(kxResource::getInfoByType(directory, "kxTestNode"), nullptr);
    auto node = kxNew<kxTestNode>("below");
    values->_object = node;
    directory->dropSharedEntries();
    EXPECT_EQ(kxResource::getInfoByType(directory, "kxTestNode"), node.get());
    auto file = kxNew<kxFileInfo>();
    file->registerFile(directory);
    EXPECT_TRUE(file->_infoList->contains(node));
}

struct LoadCase
{
    const char* path;
    const char* error;
};
const LoadCase kLoadCases[] = {
    {"/no/such/file.kxb", "/no/such/file.kxb: cannot be read: No such file or directory\n"},
    {"/", "/: is a folder\n"},
    {"/dev/null", "/dev/null: is not a regular file\n"},
    {KXOPT_SOURCE_DIR "/LICENSE", KXOPT_SOURCE_DIR "/LICENSE: is in no format that can be read\n"},
};

TEST(kxResource, SaysOnceWhyAFileIsNotLoaded)
{
    for (const LoadCase& c : kLoadCases)
    {
        const kxReportCollector reports;
        const kxSmartPointer<kxDirectory> directory = kxResource::load(c.path);
        ASSERT_NE(directory, nullptr);
        EXPECT_FALSE(directory->waitUntilLoaded());
        EXPECT_EQ(reports.m_errors, c.error);
    }
}

TEST(kxFileInfo, WritesItsInfosAndKeepsWhatBelongsElsewhere)
{
    auto directory = kxNew<kxDirectory>();
    auto scene = kxNew<kxTestNode>("scene");
    kxTestNode* below = scene->addChild(kxNew<kxTestNode>("below"));
    auto outside = kxNew<kxTestNode>("outside");
    scene->_other = outside;
    directory->addEntry(scene, "main");
    directory->addExternalEntry("other.kxb", outside, "there");
    auto info = kxNew<kxFileInfo>();
    info->registerFile(directory);
    ASSERT_EQ(info->_infoList->getCount(), 3u);
    EXPECT_EQ(info->_infoList->get(0), scene.get());
    EXPECT_EQ(info->getExternalEntry(outside)->getPath(), kxStringRef("other.kxb"));
    info->addInfo(scene);
    EXPECT_EQ(info->_infoList->getCount(), 3u);

    auto namesOf = [](const kxKXBFile& file)
    {
        std::string names;
        for (const kxDirEntry* entry : *file._directory->_entries)
            names += entry->getName().str() + (kxCast<kxExternalDirEntry>(entry) ? "@ " : " ");
        return names;
    };
    auto one = kxNew<kxKXBFile>();
    EXPECT_FALSE(info->setupFile(below, one, false)) << "whoever writes it names what the file had no name for";
    EXPECT_TRUE(info->setupFile(scene, one, false));
    EXPECT_EQ(namesOf(*one), "main ");
    auto all = kxNew<kxKXBFile>();
    EXPECT_TRUE(info->setupFile(below, all, true));
    EXPECT_EQ(namesOf(*all), "main there@ ");
    EXPECT_TRUE(all->makeEntriesConcrete());
    EXPECT_EQ(namesOf(*all), "main there ");

    EXPECT_TRUE(info->removeExternalEntry(outside));
    EXPECT_FALSE(info->removeExternalEntry(outside));
    auto rest = kxNew<kxKXBFile>();
    EXPECT_TRUE(info->setupFile(nullptr, rest, false));
    EXPECT_EQ(namesOf(*rest), "main there below ");

    info->reset();
    EXPECT_FALSE(info->setupFile(nullptr, kxNew<kxKXBFile>(), false));
}

} // namespace
} // namespace Kel::Core
