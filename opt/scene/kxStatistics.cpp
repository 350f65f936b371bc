#include "opt/scene/kxStatistics.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxOptManager.h"
#include "opt/iterate/kxIterateGraph.h"
#include "opt/scene/kxAttrFinder.h"
#include "opt/scene/kxMeetingTally.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/libKXSg.h"

#include <cstdio>

namespace Kel::Opt
{

KX_IMPLEMENT(kxGenericNodeStatistics)
KX_IMPLEMENT(kxGenericAttrStatistics)
KX_IMPLEMENT(kxGenericNodeStatisticsList)
KX_IMPLEMENT(kxGenericAttrStatisticsList)
KX_IMPLEMENT(kxAllNodeStatistics)
KX_IMPLEMENT(kxAllAttrStatistics)
KX_IMPLEMENT(kxStatistics)

namespace
{

// The instances may be gone when somebody walks over what the statistics hold.
constexpr uint32_t kInstances = kxMetaField::NOT_SAVED | kxMetaField::NOT_COMPARED | kxMetaField::LINK_BACK;

kxMeetingCounters g_nodeCounters;
kxMeetingCounters g_attrCounters;
bool g_enabled = false;

// Counts one meeting of an object in the entry of its type.
template <class Entry>
void countMeeting(const kxMeetingCounters& counters, Entry& entry, const kxObject* object, int depth)
{
    addToMeanDepth(entry._depth, entry._instance, depth);
    int32_t& number = counters.number(object);
    float& average = counters.average(object);
    if (entry._instanceList->insertSorted(const_cast<kxObject*>(object)))
    {
        number = 0;
        average = 0;
        counters.variance(object) = 0;
    }
    addToMeanDepth(average, number, depth);
}

// Entry of a type in a list sorted by the types' identity, made where it is missing. `last` is where the entry was found that
// was asked for before: neighbours in a graph are often of one type.
template <class Entry, class List>
Entry* entryOf(List& list, kxMetaObject* type, kxSmartPointer<kxMetaObject> Entry::*typeField, uint32_t& last)
{
    if (last < list.getCount() && (list[last]->*typeField).get() == type)
        return list[last];
    uint32_t low = 0, high = list.getCount();
    while (low < high)
    {
        const uint32_t middle = (low + high) / 2;
        if ((list[middle]->*typeField)->getIndex() < type->getIndex())
            low = middle + 1;
        else
            high = middle;
    }
    if (low == list.getCount() || (list[low]->*typeField).get() != type)
    {
        const auto entry = kxNew<Entry>();
        entry.get()->*typeField = type;
        list.insert(low, entry);
    }
    last = low;
    return list[low];
}

void reportEntry(kxOptInterface* service, const kxMetaObject* type, uint32_t instances, int32_t meetings, float depth)
{
    service->printf("\t%-20s: %5d (used %5d) (depth %3.1f)\n", type ? type->getName().c_str() : "",
                    static_cast<int>(instances), meetings, static_cast<double>(depth));
}

} // namespace

const kxMetaEnum& kxMetaEnumOf(STATISTICS_VERBOSE)
{
    static const kxMetaEnum names("STATISTICS_VERBOSE", {{"LEVEL1", LEVEL1}, {"LEVEL2", LEVEL2}});
    return names;
}

// --- one type ---

void kxGenericNodeStatistics::listFields(kxFields<kxGenericNodeStatistics>& fields)
{
    fields.add(&kxGenericNodeStatistics::_nodeType, "_nodeType", "exact type of the nodes");
    fields.add(&kxGenericNodeStatistics::_instanceList, "_instanceList", "the nodes, each once").setFlags(kInstances);
    fields.add(&kxGenericNodeStatistics::_instance, "_instance", "how often nodes of the type were met");
    fields.add(&kxGenericNodeStatistics::_depth, "_depth", "mean depth of these meetings");
}

void kxGenericNodeStatistics::appendNode(const kxNode* node, int depth)
{
    countMeeting(g_nodeCounters, *this, node, depth);
}

void kxGenericNodeStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    reportEntry(service, _nodeType, _instanceList->getCount(), _instance, _depth);
    if (level != LEVEL2)
        return;
    int index = 0;
    for (const kxNode* node : *_instanceList)
    {
        service->printf("\t\tnode %5d: (used %5d) (depth %3.1f) %s", index++, g_nodeCounters.number(node),
                        static_cast<double>(g_nodeCounters.average(node)), node->getName().c_str());
        if (const auto* geometry = kxCast<kxGeometry>(node))
            service->printf(" (tris %4d)", static_cast<int>(geometry->getTriangleCount()));
        service->printf("\n");
    }
    service->fflush(stdout);
}

void kxGenericAttrStatistics::listFields(kxFields<kxGenericAttrStatistics>& fields)
{
    fields.add(&kxGenericAttrStatistics::_attrType, "_attrType", "exact type of the attributes");
    fields.add(&kxGenericAttrStatistics::_instanceList, "_instanceList", "the attributes, each once")
        .setFlags(kInstances);
    fields.add(&kxGenericAttrStatistics::_instance, "_instance", "how often attributes of the type were met");
    fields.add(&kxGenericAttrStatistics::_depth, "_depth", "mean depth of these meetings");
}

void kxGenericAttrStatistics::appendAttr(const kxAttr* attr, const kxNode*, int depth)
{
    countMeeting(g_attrCounters, *this, attr, depth);
}

void kxGenericAttrStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    reportEntry(service, _attrType, _instanceList->getCount(), _instance, _depth);
    if (level != LEVEL2)
        return;
    int index = 0;
    for (const kxAttr* attr : *_instanceList)
        service->printf("\t\tattr %5d: (push %5d) (depth %3.1f)\n", index++, g_attrCounters.number(attr),
                        static_cast<double>(g_attrCounters.average(attr)));
    service->fflush(stdout);
}

// --- all types ---

void kxAllNodeStatistics::listFields(kxFields<kxAllNodeStatistics>& fields)
{
    fields.add(&kxAllNodeStatistics::_nodeStatisticsList, "_nodeStatisticsList", "one entry for each node type");
}

kxGenericNodeStatistics* kxAllNodeStatistics::getEntry(kxMetaObject* nodeType)
{
    return entryOf(*_nodeStatisticsList, nodeType, &kxGenericNodeStatistics::_nodeType, m_last);
}

void kxAllNodeStatistics::appendNode(const kxNode* node, int depth)
{
    getEntry(node->getMetaObject())->appendNode(node, depth);
}

void kxAllNodeStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    service->printf("NODE TYPE: %4d \n", static_cast<int>(_nodeStatisticsList->getCount()));
    for (const kxGenericNodeStatistics* entry : *_nodeStatisticsList)
        entry->reportStatistics(level, service);
}

void kxAllAttrStatistics::listFields(kxFields<kxAllAttrStatistics>& fields)
{
    fields.add(&kxAllAttrStatistics::_attrStatisticsList, "_attrStatisticsList", "one entry for each attribute type");
}

kxGenericAttrStatistics* kxAllAttrStatistics::getEntry(kxMetaObject* attrType)
{
    return entryOf(*_attrStatisticsList, attrType, &kxGenericAttrStatistics::_attrType, m_last);
}

void kxAllAttrStatistics::appendAttr(const kxAttr* attr, const kxNode* owner, int depth)
{
    getEntry(attr->getMetaObject())->appendAttr(attr, owner, depth);
}

void kxAllAttrStatistics::reset()
{
    _attrStatisticsList->clear();
}

void kxAllAttrStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    service->printf("ATTR TYPE: %4d \n", static_cast<int>(_attrStatisticsList->getCount()));
    for (const kxGenericAttrStatistics* entry : *_attrStatisticsList)
        entry->reportStatistics(level, service);
}

// --- the optimization ---

void kxStatistics::listFields(kxFields<kxStatistics>& fields)
{
    fields.add(&kxStatistics::_nodeStatistics, "_nodeStatistics", "statistics of the nodes");
    fields.add(&kxStatistics::_attrStatistics, "_attrStatistics", "statistics of the attributes");
    fields.add(&kxStatistics::_level, "_level", "1: a line for each type, 2: also one for each instance");
}

void kxStatistics::userRegister()
{
    // The registration of a class is no place for warnings about the script; whoever runs it gets them.
    const kxReportCollector unheard;
    const auto script = kxNew<kxRegistry>();
    bool stats = false;
    if (script->load(kxOptManager::defaultScript) &&
        script->getValue(script->findSection("OPTIMIZE"), "stats", stats) && stats)
        enableStatistics();
}

void kxStatistics::enableStatistics()
{
    if (g_enabled)
        return;
    g_enabled = true;
    libKXSg_arkRegister();
    g_nodeCounters.append(kxNode::staticMetaObject(), "nodeInstanceNumber", "nodeDepthAverage", "nodeDepthVariance");
    g_attrCounters.append(kxAttr::staticMetaObject(), "attrInstanceNumber", "attrDepthAverage", "attrDepthVariance");
}

bool kxStatistics::isEnabled()
{
    return g_enabled;
}

bool kxStatistics::configure(int)
{
    if (!g_enabled)
        printf("To use the statistics, you should have the following in you Veltrin.ini:\n[OPTIMIZE]\nstats = true\n");
    return g_enabled;
}

bool kxStatistics::apply(kxSmartPointer<kxNode>& root)
{
    if (!g_enabled)
        return false;
    if (!root)
        return true;
    _nodeStatistics->_nodeStatisticsList->clear();
    _attrStatistics->reset();
    createStatitics(root, 1);
    if (_optInterface)
        reportStatistics(_level, _optInterface);
    return true;
}

// Nested instances can have more paths than any run could follow.
constexpr size_t kMaxPaths = size_t(1) << 24;

void kxStatistics::createStatitics(const kxNode* node, int depth)
{
    const auto iterate = kxNew<kxIterateGraph>();
    iterate->begin(const_cast<kxNode*>(node));
    kxTMeetingTally nodes(g_nodeCounters, *_nodeStatistics);
    kxTMeetingTally attrs(g_attrCounters, *_attrStatistics);
    kxAttrFinder attrFinder([&](const kxAttr* attr, int attrDepth) { attrs.meet(attr, attrDepth); });
    size_t pathCount = 0;
    for (; iterate->isNotLast(); iterate->getNext())
    {
        if (++pathCount > kMaxPaths)
        {
            printf("The graph has more than %zu paths; the statistics leave out the rest\n", kMaxPaths);
            break;
        }
        const kxNode* current = iterate->getCurrent();
        if (!current)
            continue;
        const int currentDepth = depth - 1 + iterate->getCurrentDepth();
        nodes.meet(current, currentDepth);
        attrFinder.find(current, currentDepth);
    }
    nodes.finish();
    attrFinder.finish();
    attrs.finish();
}

void kxStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    _attrStatistics->reportStatistics(level, service);
    _nodeStatistics->reportStatistics(level, service);
}

} // namespace Kel::Opt
