#include "opt/items/kxItemCall.h"
#include "opt/tracking/kxListenerInterface.h"
#include "opt/tracking/kxReplacedEvents.h"
#include "tests/opt/testRun.h"

namespace Kel::Opt
{
namespace
{

/// Notes what it hears.
class kxTestListener : public kxListener
{
    KX_OBJECT(kxTestListener, kxListener)

    std::string m_heard;
    void (*m_react)(kxTestListener* listener, kxEvent* event) = nullptr;
    TestRun* m_run = nullptr;

    void onEvent(kxEvent* event) override
    {
        m_heard += event->getTypeName() + std::string(" ");
        if (m_react)
            m_react(this, event);
    }
};
KX_IMPLEMENT(kxTestListener)

kxSmartPointer<kxTestListener> addListener(TestRun& run)
{
    kxRegisterClass<kxTestListener>("kxTestListener", "listener of the tests");
    auto listener = kxNew<kxTestListener>();
    listener->m_run = &run;
    run.m_manager->_listenerInterface->addListener(listener);
    return listener;
}

void replace(TestRun& run, kxNode* parent, kxNode* child)
{
    const kxItemNames& names = kxItemNames::get();
    kxItemCall call(run.m_manager, names.replaceChildItem, parent);
    call.set(names.containerField, parent).set(names.oldChildField, child).set(names.newChildField, child);
    EXPECT_TRUE(call.run(names.replaceChild));
}

TEST(kxMessageInterface, ListenersHearOfEventsAtTheEndOfARun)
{
    TestRun run;
    const auto listener = addListener(run);
    run.m_manager->_listenerInterface->addListener(listener);
    const NamedScene scene(R"(Group "root"(Group "a"))");
    replace(run, scene["root"], scene["a"]);
    run.m_manager->_messageInterface->getMessageList()->append(kxNew<kxReplacedObjectEvent>());
    run.m_manager->_messageInterface->getMessageList()->append(kxNew<kxGroup>()); // no event
    EXPECT_EQ(listener->m_heard, "");

    const auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 0\n");
    kxSmartPointer<kxNode> root = scene.m_root;
    EXPECT_TRUE(driver->apply(root));
    EXPECT_EQ(listener->m_heard, "kxReplacedChildEvent kxReplacedObjectEvent ") << "in order, each once";
    EXPECT_TRUE(run.m_manager->_messageInterface->getMessageList()->isEmpty());
    EXPECT_TRUE(driver->apply(root));
    EXPECT_EQ(listener->m_heard, "kxReplacedChildEvent kxReplacedObjectEvent ");
}

TEST(kxMessageInterface, ListenersMayQueueAddAndRemove)
{
    TestRun run;
    kxMessageInterface* messages = run.m_manager->_messageInterface;
    const auto first = addListener(run);
    const auto second = addListener(run);
    first->m_react = [](kxTestListener* listener, kxEvent*)
    {
        TestRun& run = *listener->m_run;
        run.m_manager->_messageInterface->getMessageList()->append(kxNew<kxReplacedObjectEvent>());
        run.m_manager->_listenerInterface->removeListener(run.m_manager->_listenerInterface->_listenerList->getLast());
        listener->m_react = nullptr;
    };
    messages->getMessageList()->append(kxNew<kxReplacedChildEvent>());
    messages->clearMessageList();
    EXPECT_EQ(first->m_heard, "kxReplacedChildEvent ");
    EXPECT_EQ(second->m_heard, "") << "removed before its turn";
    EXPECT_EQ(messages->getMessageList()->getCount(), 1u) << "waits for the next time";
    messages->clearMessageList();
    EXPECT_EQ(first->m_heard, "kxReplacedChildEvent kxReplacedObjectEvent ");
    EXPECT_TRUE(run.m_manager->_listenerInterface->removeListener(first));
    EXPECT_FALSE(run.m_manager->_listenerInterface->removeListener(first));
}

} // namespace
} // namespace Kel::Opt
