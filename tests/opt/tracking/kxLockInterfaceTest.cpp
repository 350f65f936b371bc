#include "opt/tracking/kxLockInterface.h"

#include "opt/libKXOpt.h"
#include "opt/tracking/kxLockBase.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxSegment.h"
#include "tests/opt/testRun.h"

namespace Kel::Opt
{
namespace
{

class kxTestSegment : public kxSegment
{
    KX_OBJECT(kxTestSegment, kxSegment)
};
KX_IMPLEMENT(kxTestSegment)

TEST(kxLockInterface, AsksEveryRule)
{
    libKXOpt_arkRegister();
    kxRegisterClass<kxTestSegment>("kxTestSegment", "segment of the tests");
    struct
    {
        const char* what;
        const char* scene; // the root is asked about
        bool locked;
    } const rows[] = {
        {"a group", "Group", false},
        {"a segment", "Segment", true},
        {"a type derived from segments", "TestSegment", false},
        {"a dynamic node", "Camera~", true},
        {"an animated node", "Group^", false},
        {"driven by a data pump", "Transform!", true},
        {"below what is driven", "Group!(Group)", true},
        {"above what is driven", "Group(Group!)", false},
        {"beside a driven attribute", "AttrSet{Material!}", false},
    };
    for (const auto& row : rows)
    {
        TestRun run;
        const Kel::Test::TestScene scene = Kel::Test::parseScene(row.scene);
        run.getService()->_file = scene.asFile();
        EXPECT_EQ(run.m_manager->_lockInterface->isLocked(scene.root()), row.locked) << row.what;
    }
    TestRun run;
    EXPECT_FALSE(run.m_manager->_lockInterface->isLocked(nullptr));
    EXPECT_FALSE(run.m_manager->_lockInterface->isLocked(kxNew<Kel::Attrs::kxMaterialAttr>()));
    EXPECT_FALSE(kxNew<kxLockInterface>()->isLocked(kxNew<kxGroup>())) << "without a service there are no pumps";
    EXPECT_TRUE(kxNew<kxLockInterface>()->isLocked(kxNew<kxSegment>()));
}

TEST(kxDataPumpLock, LooksTheDrivenObjectsUpOnce)
{
    TestRun run;
    kxLockInterface* locks = run.m_manager->_lockInterface;
    const Kel::Test::TestScene scene = Kel::Test::parseScene("Group(Group#a!, Group#b, Group#a)");
    auto* root = kxCast<kxGroup>(scene.root());
    kxNode* driven = root->getChild(0u);
    kxNode* other = root->getChild(1u);
    scene.dataPumps->getList()->append(kxNew<Kel::Sg::kxDataPump>()); // drives nothing
    scene.dataPumps->getList()->append(scene.dataPumps->getList()->get(0));
    run.getService()->_file = scene.asFile();
    EXPECT_FALSE(locks->getObjectCacheValid("datapump"));
    EXPECT_TRUE(locks->isLocked(driven));
    EXPECT_TRUE(locks->getObjectCacheValid("datapump"));
    EXPECT_EQ(locks->getObjectCache("datapump")->getCount(), 1u) << "each driven object once, no null";

    const auto pump = kxNew<Kel::Sg::kxDataPump>();
    pump->_destObj = other;
    scene.dataPumps->getList()->append(pump);
    EXPECT_FALSE(locks->isLocked(other)) << "not looked up again";
    locks->setObjectCacheValid("datapump", false);
    EXPECT_TRUE(locks->isLocked(other));
    EXPECT_TRUE(locks->isLocked(driven));

    // What others write into the list counts.
    locks->getObjectCache("datapump")->append(root);
    EXPECT_TRUE(locks->isLocked(root));
    locks->getObjectCache("datapump")->remove(driven);
    EXPECT_FALSE(locks->isLocked(driven));
    locks->getObjectCache("datapump")->clear();
    EXPECT_FALSE(locks->isLocked(root));
}

TEST(kxLockInterface, KeepsNamedCaches)
{
    const auto locks = kxNew<kxLockInterface>();
    EXPECT_FALSE(locks->getObjectCacheValid("mine"));
    locks->setObjectCacheValid("mine", true);
    EXPECT_FALSE(locks->getObjectCacheValid("mine")) << "nobody has asked for it";
    EXPECT_EQ(locks->_objectCacheNames->getCount(), 0u);

    const kxSmartPointer<kxObjectList> cache = locks->getObjectCache("mine");
    EXPECT_FALSE(locks->getObjectCacheValid("mine"));
    EXPECT_NE(locks->getObjectCache("yours"), cache.get());
    EXPECT_EQ(locks->getObjectCache("mine"), cache.get());
    locks->setObjectCacheValid("mine", true);
    EXPECT_TRUE(locks->getObjectCacheValid("mine"));
    EXPECT_FALSE(locks->getObjectCacheValid("yours"));
    EXPECT_EQ(locks->_objectCacheNames->getCount(), 2u);
    EXPECT_EQ(locks->_objectCacheValids->getCount(), 2u);
    EXPECT_EQ(locks->_objectCacheLists->getCount(), 2u);
}

/// Locks nodes of one name.
class kxTestLock : public kxInstanceLock
{
    KX_OBJECT(kxTestLock, kxInstanceLock)

    bool isInstanceLocked(kxObject* object) override
    {
        EXPECT_TRUE(_lockInterface) << "wired";
        const auto* node = kxCast<kxNode>(object);
        return node && node->getName() == kxStringRef("locked by the test");
    }
};
KX_IMPLEMENT(kxTestLock)

TEST(kxLockInterface, RulesRegisteredLaterCount)
{
    TestRun run;
    const auto node = kxNew<kxGroup>();
    node->setName("locked by the test");
    EXPECT_FALSE(run.m_manager->_lockInterface->isLocked(node));
    kxRegisterClass<kxTestLock>("kxTestLock", "rule of the tests");
    EXPECT_TRUE(run.m_manager->_lockInterface->isLocked(node));
    EXPECT_FALSE(run.m_manager->_lockInterface->isLocked(kxNew<kxGroup>()));
}

} // namespace
} // namespace Kel::Opt
