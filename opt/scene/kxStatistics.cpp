#include "opt/scene/kxStatistics.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxOptManager.h"
#include "opt/iterate/kxIterateGraph.h"
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

/// The counters that one family of objects has when the statistics are enabled.
struct Counters
{
    const kxMetaField* instanceNumber = nullptr;
    const kxMetaField* depthAverage = nullptr;
    const kxMetaField* depthVariance = nullptr;

    void append(kxMetaObject* type, const char* number, const char* average, const char* variance)
    {
        instanceNumber =
            type->appendField(kxIntField::staticMetaObject(), number, "how often statistics met the object");
        depthAverage = type->appendField(kxFloatField::staticMetaObject(), average, "mean depth of these meetings");
        depthVariance = type->appendField(kxFloatField::staticMetaObject(), variance, "0: readers expect the field");
    }

    template <class T>
    static T& valueOf(const kxMetaField* field, const kxObject* object)
    {
        return *static_cast<T*>(object->getSideValue(field, true));
    }
    int32_t& number(const kxObject* object) const { return valueOf<int32_t>(instanceNumber, object); }
    float& average(const kxObject* object) const { return valueOf<float>(depthAverage, object); }
    float& variance(const kxObject* object) const { return valueOf<float>(depthVariance, object); }
};

Counters g_nodeCounters;
Counters g_attrCounters;
bool g_enabled = false;

void addToMean(float& mean, int32_t& number, int depth)
{
    const auto count = static_cast<float>(number);
    mean = (count * mean + static_cast<float>(depth)) / (count + 1);
    ++number;
}

// True for an object that was not among the instances before; it is now.
bool addInstance(kxObjectList& instances, kxInstanceMarks& marks, const kxObject* object)
{
    if (instances.getCount() != marks.count)
    {
        marks.isListed.clear();
        for (const kxObject* listed : instances)
            marks.isListed[listed] = true;
        marks.count = instances.getCount();
    }
    bool& isListed = marks.isListed[object];
    if (isListed)
        return false;
    isListed = true;
    ++marks.count;
    instances.insertSortedNew(const_cast<kxObject*>(object));
    return true;
}

// Counts one meeting of an object in the entry of its type.
void countMeeting(const Counters& counters, const kxObject* object, int depth, int32_t& meetings, float& meanDepth,
                  kxObjectList& instances, kxInstanceMarks& marks)
{
    addToMean(meanDepth, meetings, depth);
    int32_t& number = counters.number(object);
    float& average = counters.average(object);
    if (addInstance(instances, marks, object))
    {
        number = 0;
        average = 0;
        counters.variance(object) = 0;
    }
    addToMean(average, number, depth);
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
    countMeeting(g_nodeCounters, node, depth, _instance, _depth, *_instanceList, m_marks);
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
    countMeeting(g_attrCounters, attr, depth, _instance, _depth, *_instanceList, m_marks);
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

void kxAllNodeStatistics::appendNode(const kxNode* node, int depth)
{
    entryOf(*_nodeStatisticsList, node->getMetaObject(), &kxGenericNodeStatistics::_nodeType, m_last)
        ->appendNode(node, depth);
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

void kxAllAttrStatistics::appendAttr(const kxAttr* attr, const kxNode* owner, int depth)
{
    entryOf(*_attrStatisticsList, attr->getMetaObject(), &kxGenericAttrStatistics::_attrType, m_last)
        ->appendAttr(attr, owner, depth);
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

namespace
{

void appendAttrs(kxAllAttrStatistics& statistics, const kxObjectList& list, const kxNode* node, int depth)
{
    const kxMetaObject* elementType = list.getElementType();
    if (elementType->isDerivedFrom(kxAttr::staticMetaObject()))
    {
        for (kxObject* element : list)
            if (element)
                statistics.appendAttr(static_cast<kxAttr*>(element), node, depth);
    }
    else if (elementType->isDerivedFrom(kxObjectList::staticMetaObject()))
    {
        for (kxObject* element : list)
            if (element)
                appendAttrs(statistics, static_cast<kxObjectList&>(*element), node, depth);
    }
}

} // namespace

// Nested instances can have more paths than any run could follow.
constexpr size_t kMaxPaths = size_t(1) << 24;

void kxStatistics::createStatitics(const kxNode* node, int depth)
{
    const auto iterate = kxNew<kxIterateGraph>();
    iterate->begin(const_cast<kxNode*>(node));
    size_t pathCount = 0;
    for (; iterate->isNotLast(); iterate->getNext())
    {
        if (++pathCount > kMaxPaths)
        {
            printf("The graph has more than %zu paths; the statistics leave out the rest\n", kMaxPaths);
            return;
        }
        const kxNode* current = iterate->getCurrent();
        if (!current)
            continue;
        const int currentDepth = depth - 1 + iterate->getCurrentDepth();
        _nodeStatistics->appendNode(current, currentDepth);
        for (const kxMetaField* field : current->getMetaObject()->getFields())
        {
            if (field->getKind() != kxFieldKind::OBJECT)
                continue;
            const void* address = field->getAddress(current);
            kxObject* value = address ? static_cast<const kxObjectField*>(field)->getObject(address) : nullptr;
            if (const auto* attr = kxCast<kxAttr>(value))
                _attrStatistics->appendAttr(attr, current, currentDepth);
            else if (const auto* list = kxCast<kxObjectList>(value))
                appendAttrs(*_attrStatistics, *list, current, currentDepth);
        }
    }
}

void kxStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    _attrStatistics->reportStatistics(level, service);
    _nodeStatistics->reportStatistics(level, service);
}

} // namespace Kel::Opt
