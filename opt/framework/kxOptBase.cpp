#include "opt/framework/kxOptBase.h"

#include "opt/framework/kxOptInterface.h"
#include "platform/core/kxDirectory.h"
#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxSegment.h"

namespace Kel::Opt
{

KX_IMPLEMENT(kxOptBase)

const char kxOptBase::nameToken[] = "name";
const char kxOptBase::configurationToken[] = "conf";

namespace
{

bool isSegment(kxNode* node, void*)
{
    return node->isOfType(kxSegment::staticMetaObject());
}

bool isDynamic(kxNode* node, void*)
{
    return node->isDynamic();
}

std::string describe(const kxObject* object)
{
    const kxStringRef name = getObjectName(object);
    std::string text = object->getTypeName();
    if (!name.isEmpty())
        text += " \"" + name.str() + "\"";
    return text;
}

} // namespace

void kxOptBase::listFields(kxFields<kxOptBase>& fields)
{
    constexpr uint32_t kShared = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK;
    fields.add(&kxOptBase::_registry, "_registry", "script with the optimization's section").setFlags(kShared);
    fields.add(&kxOptBase::_configuration, "_configuration", "policy of the run").setFlags(kShared);
}

kxOptBase::kxOptBase() = default;
kxOptBase::~kxOptBase() = default;

void kxOptBase::setInterface(kxOptInterface* service)
{
    _optInterface = service;
}

kxMemoryPool& kxOptBase::getCreationMemoryPool() const
{
    return _configuration ? _configuration->getCreationMemoryPool(this) : kxMemoryPool::getDefault();
}

bool kxOptBase::applyInfo(kxInfo* info)
{
    if (auto* scene = kxCast<kxSceneInfo>(info))
        return defaultApplySceneInfo(scene, this);
    if (auto* database = kxCast<kxAnimationDatabase>(info))
        return defaultApplyAnimationDatabase(database, this);
    return false;
}

bool kxOptBase::canOptimize(kxNode* root)
{
    return hasSegmentOrDynamic(root);
}

bool kxOptBase::canOptimize(kxInfo* info)
{
    if (const auto* scene = kxCast<kxSceneInfo>(info))
        return canOptimize(scene->getSceneGraph());
    return kxCast<kxAnimationDatabase>(info) != nullptr;
}

bool kxOptBase::applyToInfos()
{
    bool result = true;
    if (!_optInterface || !_optInterface->getInfos())
        return result;
    // The list itself may change while an optimization works on one of its infos.
    const kxSmartPointer<kxFileInfo> file = _optInterface->_file;
    for (uint32_t i = 0; i < file->_infoList->getCount(); ++i)
    {
        const kxSmartPointer<kxInfo> info = file->_infoList->get(i);
        m_checkedGraph = nullptr;
        if (_optInterface->infoIsDisabled(info) || !canOptimize(info.get()))
            continue;
        // The default way of applying asks the same about the graph once more.
        const auto* scene = kxCast<kxSceneInfo>(info.get());
        m_acceptedGraph = scene && scene->getSceneGraph() == m_checkedGraph ? m_checkedGraph : nullptr;
        if (!applyInfo(info))
            result = false;
        m_acceptedGraph = nullptr;
    }
    return result;
}

bool kxOptBase::autoConfigure(int section)
{
    configureFields(this, _registry, section, _optInterface);
    return true;
}

bool kxOptBase::readsItself(kxStringRef, std::string_view) const
{
    return false;
}

bool kxOptBase::hasSegmentNode(kxNode* root) const
{
    return findNode(root, isSegment, nullptr) != nullptr;
}

bool kxOptBase::hasDynamicNode(kxNode* root) const
{
    return findNode(root, isDynamic, nullptr) != nullptr;
}

// True when the graph holds neither; the driver and derived classes rely on this sense, not on the name.
bool kxOptBase::hasSegmentOrDynamic(kxNode* root)
{
    if (root && root == m_acceptedGraph)
    {
        m_acceptedGraph = nullptr; // from here on it is edited
        return true;
    }
    kxNode* offender = findNode(
        root, [](kxNode* node, void*) { return isDynamic(node, nullptr) || isSegment(node, nullptr); }, nullptr);
    if (!offender)
    {
        m_checkedGraph = root;
        return true;
    }
    if (isSegment(offender, nullptr))
        printf("The optimization doesn't support kxSegment\n");
    else
        printf("The optimization doesn't support the IS_DYNAMIC flag\n");
    return false;
}

void kxOptBase::count(const char* what, int64_t number)
{
    for (Counter& counter : m_counters)
        if (counter.name == what)
        {
            counter.value += number;
            return;
        }
    m_counters.push_back({what, number});
}

kxOptBase::Refusal& kxOptBase::refusalOf(const std::string& reason)
{
    for (Refusal& known : m_refusals)
        if (known.reason == reason)
            return known;
    return m_refusals.emplace_back(Refusal{reason, 0, {}});
}

void kxOptBase::refuse(const char* reason, const kxObject* object)
{
    Refusal& refusal = refusalOf(reason);
    ++refusal.count;
    if (object && refusal.examples.size() < kMaxExamples)
        refusal.examples.push_back(describe(object));
}

void kxOptBase::addReport(const kxOptBase& other)
{
    for (const Counter& counter : other.m_counters)
        count(counter.name.c_str(), counter.value);
    for (const Refusal& part : other.m_refusals)
    {
        Refusal& refusal = refusalOf(part.reason);
        refusal.count += part.count;
        for (const std::string& example : part.examples)
            if (refusal.examples.size() < kMaxExamples)
                refusal.examples.push_back(example);
    }
}

bool defaultApplySceneInfo(kxSceneInfo* info, kxOptBase* optimization)
{
    kxSmartPointer<kxNode> root = info->getSceneGraph();
    if (!optimization->canOptimize(root.get()))
        return false;
    const bool result = optimization->apply(root);
    info->setSceneGraph(root);
    return result;
}

bool defaultApplyAnimationDatabase(kxAnimationDatabase* database, kxOptBase* optimization)
{
    bool result = true;
    for (uint32_t i = 0; i < database->getSkinList()->getCount(); ++i)
    {
        const kxSmartPointer<kxSkin> skin = database->getSkinList()->get(i);
        if (!skin) // of a class that the program which loaded the file does not have
            continue;
        kxSmartPointer<kxNode> graph = skin->getSkinnedGraph();
        if (!optimization->canOptimize(graph.get()))
            continue;
        const bool succeeded = optimization->apply(graph);
        skin->setSkinnedGraph(graph);
        // One failed skin does not fail its database, which the driver would report as failed.
        result = result || succeeded;
    }
    return result;
}

} // namespace Kel::Opt
