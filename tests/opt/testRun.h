// The services of a run for a test: what is printed is kept as text.
#pragma once

#include "opt/framework/kxLogInterface.h"
#include "opt/framework/kxManager.h"
#include "opt/framework/kxOptManager.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTimer.h"
#include "platform/sg/kxGroup.h"
#include "tests/support/kxTestScene.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace Kel::Opt
{

class TestRun
{
public:
    explicit TestRun(kxSmartPointer<kxOptInterface> service = nullptr)
    {
        kxTimer::setFrozen(true);
        m_manager = service ? kxNew<kxDefaultManager>(service.get()) : kxNew<kxDefaultManager>();
        m_manager->_optInterface->_file = kxNew<kxFileInfo>();
        m_manager->_logInterface->_verbose = true;
        m_manager->_logInterface->setSink([](const char* text, size_t length, void* context)
                                          { static_cast<std::string*>(context)->append(text, length); },
                                          &m_text);
    }

    /// A new object with the services of the run.
    template <class T>
    kxSmartPointer<T> create()
    {
        auto object = kxNew<T>();
        m_manager->setup(object);
        return object;
    }
    /// A driver with a script.
    kxSmartPointer<kxOptManager> createDriver(const char* script)
    {
        auto driver = create<kxOptManager>();
        driver->setRegistry(parseScript(script));
        return driver;
    }
    static kxSmartPointer<kxRegistry> parseScript(const char* text)
    {
        auto registry = kxNew<kxRegistry>();
        registry->loadText(text, "script.ini");
        return registry;
    }

    kxOptInterface* getService() const { return m_manager->_optInterface; }
    kxLogInterface* getLog() const { return m_manager->_logInterface; }
    /// What was printed since the last call.
    std::string takeText() { return std::exchange(m_text, std::string()); }

    kxSmartPointer<kxDefaultManager> m_manager;

private:
    std::string m_text;
};

/// A graph from its text, and its nodes by name.
class NamedScene
{
public:
    explicit NamedScene(const char* text) : m_root(Test::parseScene(text).root())
    {
        forEachNodeOnce(
            m_root,
            [](kxNode* node, void* context)
            { static_cast<NamedScene*>(context)->m_nodes[node->getName().str()] = node; },
            this);
    }

    kxNode* operator[](const char* name) const
    {
        const auto at = m_nodes.find(name);
        EXPECT_TRUE(at != m_nodes.end()) << "no node is called " << name;
        return at == m_nodes.end() ? nullptr : at->second.get();
    }
    kxGroup* group(const char* name) const { return kxCast<kxGroup>((*this)[name]); }
    std::string print() const { return Test::printScene(m_root); }

    kxSmartPointer<kxNode> m_root;

private:
    std::map<std::string, kxSmartPointer<kxNode>> m_nodes;
};

} // namespace Kel::Opt
