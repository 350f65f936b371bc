#include "tests/support/kxTestScene.h"

#include "platform/core/kxKXBFormat.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxGroup.h"

#include <gtest/gtest.h>

#include <map>

namespace Kel::Test
{

kxSmartPointer<kxFileInfo> TestScene::asFile() const
{
    auto file = kxNew<kxFileInfo>();
    file->addInfo(info);
    file->addInfo(dataPumps);
    return file;
}

TestScene parseScene(std::string_view text)
{
    TestScene scene;
    kxSmartPointer<kxNode> root;
    std::string fault;
    if (kxTextScene::parse(text, root, scene.dataPumps, fault))
        scene.info->setSceneGraph(root);
    else
        ADD_FAILURE() << fault << "\nin " << text;
    return scene;
}

kxSmartPointer<kxObject> parseTestObject(std::string_view text)
{
    kxSmartPointer<kxObject> object;
    std::string fault;
    if (!kxTextScene::parseObject(text, object, nullptr, fault))
        ADD_FAILURE() << fault << "\nin " << text;
    return object;
}

std::string printScene(const kxNode* root, const kxDataPumpInfo* dataPumps)
{
    return kxTextScene::print(root, dataPumps);
}

std::string printScene(const TestScene& scene)
{
    return printScene(scene.root(), scene.dataPumps);
}

std::string normalizeScene(std::string_view text)
{
    return printScene(parseScene(text));
}

std::string findLinkFaults(kxNode* root)
{
    struct Walk
    {
        std::map<std::pair<uint32_t, uint32_t>, int>
            links; // child, parent: found among children less found among parents
        std::map<uint32_t, kxNode*> nodes;
    } walk;
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            auto& walk = *static_cast<Walk*>(context);
            walk.nodes[node->getSerial()] = node;
            for (uint32_t i = 0; i < node->getParentCount(); ++i)
                --walk.links[{node->getSerial(), node->getParent(i)->getSerial()}];
            if (const auto* group = kxCast<kxGroup>(node))
                for (uint32_t i = 0; i < group->getChildCount(); ++i)
                    if (const kxNode* child = group->getChild(i))
                        ++walk.links[{child->getSerial(), group->getSerial()}];
        },
        &walk);
    std::string faults;
    for (const auto& [link, balance] : walk.links)
    {
        if (balance == 0)
            continue;
        const kxNode* child = walk.nodes[link.first];
        const kxNode* parent = walk.nodes[link.second];
        if (!parent)
            faults += kxFormat("%s \"%s\" has a parent outside of the graph\n", child->getTypeName(),
                               child->getName().c_str());
        else
            faults += kxFormat("%s \"%s\" lists %s \"%s\" %d times too %s among its parents\n", child->getTypeName(),
                               child->getName().c_str(), parent->getTypeName(), parent->getName().c_str(),
                               std::abs(balance), balance > 0 ? "rarely" : "often");
    }
    return faults;
}

namespace
{

kxSmartPointer<kxMemoryBlock> writeToMemory(const TestScene& scene)
{
    auto directory = kxNew<kxDirectory>();
    directory->addEntry(scene.info, "scene");
    directory->addEntry(scene.dataPumps, "pumps");
    return kxKXBFormat::writeMemory(*directory);
}

} // namespace

TestScene reloadScene(const TestScene& scene)
{
    const kxReportCollector reports;
    TestScene reloaded;
    auto directory = kxNew<kxDirectory>();
    const kxSmartPointer<kxMemoryBlock> bytes = writeToMemory(scene);
    if (!bytes || kxKXBFormat::readMemory(bytes, "test.kxb", *directory) != kSuccess)
    {
        ADD_FAILURE() << "the native file cannot be read back: " << reports.m_errors;
        return reloaded;
    }
    EXPECT_EQ(reports.m_warnings, "");
    const auto objectOf = [&](const char* name) -> kxObject*
    {
        kxDirEntry* entry = directory->findEntry(name);
        return entry ? entry->getObject() : nullptr;
    };
    if (auto* info = kxCast<kxSceneInfo>(objectOf("scene")))
        reloaded.info = info;
    if (auto* pumps = kxCast<kxDataPumpInfo>(objectOf("pumps")))
        reloaded.dataPumps = pumps;
    return reloaded;
}

std::string sceneBytes(const TestScene& scene)
{
    const kxSmartPointer<kxMemoryBlock> bytes = writeToMemory(scene);
    return bytes ? std::string(reinterpret_cast<const char*>(bytes->getData()), bytes->getSize()) : std::string();
}

} // namespace Kel::Test
