#include "opt/scene/kxStatistics.h"

#include "opt/framework/kxOptInterface.h"
#include "opt/framework/kxOptManager.h"
#include "opt/iterate/kxIterateGraph.h"
#include "platform/core/kxDelayLine.h"
#include "platform/core/kxPrefetch.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTSerialMap.h"
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

// Counts one meeting of an object in the entry of its type.
template <class Entry>
void countMeeting(const Counters& counters, Entry& entry, const kxObject* object, int depth)
{
    addToMean(entry._depth, entry._instance, depth);
    int32_t& number = counters.number(object);
    float& average = counters.average(object);
    if (entry._instanceList->insertSorted(const_cast<kxObject*>(object)))
    {
        number = 0;
        average = 0;
        counters.variance(object) = 0;
    }
    addToMean(average, number, depth);
}

/// The meetings of one walk. The counters of objects lie all over the memory, and shared objects are met in any order: a walk
/// counts in records that lie side by side, asks for each some meetings ahead, and gives the objects their counters when it is
/// over.
template <class Statistics>
class Tally
{
public:
    Tally(const Counters& counters, Statistics& statistics) : m_counters(counters), m_statistics(statistics) {}

    void meet(const kxObject* object, int depth)
    {
        Record& record = m_records[object];
        __builtin_prefetch(&record);
        auto* entry = m_statistics.getEntry(object->getMetaObject());
        m_meetings.push({&record, entry, object, depth}, [this](const Meeting& meeting) { countMeeting(meeting); });
    }

    void finish()
    {
        m_meetings.flush([this](const Meeting& meeting) { countMeeting(meeting); });
        m_records.forEach(
            [&](const Record& record)
            {
                if (!record.object)
                    return;
                auto* entry = m_statistics.getEntry(record.object->getMetaObject());
                if (!isInstance(*entry, record.object))
                {
                    entry->_instanceList->insertSortedNew(const_cast<kxObject*>(record.object));
                    m_counters.variance(record.object) = 0;
                }
                m_counters.number(record.object) = record.number;
                m_counters.average(record.object) = record.average;
            });
    }

private:
    using Entry = std::remove_pointer_t<decltype(std::declval<Statistics>().getEntry(nullptr))>;

    struct Record
    {
        const kxObject* object = nullptr;
        int32_t number = 0;
        float average = 0;
    };
    struct Meeting
    {
        Record* record;
        Entry* entry;
        const kxObject* object;
        int depth;
    };

    // Objects come in the order of the list, so that those of the walk itself are not looked for.
    static bool isInstance(const Entry& entry, const kxObject* object)
    {
        const auto& list = *entry._instanceList;
        return !list.isEmpty() && list.getLast()->getSerial() >= object->getSerial() && list.containsSorted(object);
    }

    void countMeeting(const Meeting& meeting)
    {
        addToMean(meeting.entry->_depth, meeting.entry->_instance, meeting.depth);
        Record& record = *meeting.record;
        if (!record.object)
        {
            record.object = meeting.object;
            if (isInstance(*meeting.entry, meeting.object)) // of an earlier walk: its counters go on
            {
                record.number = m_counters.number(meeting.object);
                record.average = m_counters.average(meeting.object);
            }
        }
        addToMean(record.average, record.number, meeting.depth);
    }

    const Counters& m_counters;
    Statistics& m_statistics;
    kxTSerialMap<Record> m_records;
    kxDelayLine<Meeting, 16> m_meetings;
};

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

namespace
{

/// Attributes on the way from the nodes to the tally: those of shared nodes are far from one another, and so are the lists that
/// hold them.
class AttrRoad
{
public:
    explicit AttrRoad(Tally<kxAllAttrStatistics>& tally) : m_tally(tally) {}

    /// Takes the value of a field, not null: an attribute, a list that may lead to some, or something else.
    void add(const kxObject* value, int depth)
    {
        prefetchObject(value);
        m_values.push({value, depth}, [this](const Stop& stop) { open(stop.object, stop.depth); });
    }
    void finish()
    {
        m_values.flush([this](const Stop& stop) { open(stop.object, stop.depth); });
        m_attrs.flush([this](const Stop& stop) { m_tally.meet(stop.object, stop.depth); });
    }

private:
    struct Stop
    {
        const kxObject* object;
        int depth;
    };

    void open(const kxObject* value, int depth)
    {
        if (value->isOfType(kxAttr::staticMetaObject()))
            addAttr(value, depth);
        else if (const auto* list = kxCast<kxObjectList>(value))
            addList(*list, depth);
    }
    void addList(const kxObjectList& list, int depth)
    {
        const kxMetaObject* elementType = list.getElementType();
        const bool isOfAttrs = elementType->isDerivedFrom(kxAttr::staticMetaObject());
        if (!isOfAttrs && !elementType->isDerivedFrom(kxObjectList::staticMetaObject()))
            return;
        for (const kxObject* element : list)
            if (element && isOfAttrs)
                addAttr(element, depth);
            else if (element)
                addList(static_cast<const kxObjectList&>(*element), depth);
    }
    void addAttr(const kxObject* attr, int depth)
    {
        prefetchObject(attr);
        m_attrs.push({attr, depth}, [this](const Stop& stop) { m_tally.meet(stop.object, stop.depth); });
    }

    Tally<kxAllAttrStatistics>& m_tally;
    kxDelayLine<Stop, 8> m_values;
    kxDelayLine<Stop, 8> m_attrs;
};

// True for the declared type of a field whose values may be attributes or lists that lead to some.
bool mayHoldAttrs(const kxMetaObject* type)
{
    const auto isRelated = [type](const kxMetaObject* other)
    { return type->isDerivedFrom(other) || other->isDerivedFrom(type); };
    if (!type || isRelated(kxAttr::staticMetaObject()))
        return true;
    if (!isRelated(kxObjectList::staticMetaObject()))
        return false;
    for (const kxMetaObject* derived : type->getDerived())
    {
        const auto list = derived->createInstanceRef<kxObjectList>();
        if (list && (list->getElementType()->isDerivedFrom(kxAttr::staticMetaObject()) ||
                     list->getElementType()->isDerivedFrom(kxObjectList::staticMetaObject())))
            return true;
    }
    return false;
}

/// The fields of each type that may lead to attributes, looked for once: most refer to parents, children, volumes.
class AttrFields
{
public:
    const std::vector<const kxObjectField*>& of(const kxMetaObject* type)
    {
        if (type->getIndex() >= m_types.size())
            m_types.resize(type->getIndex() + 1);
        Type& known = m_types[type->getIndex()];
        if (!known.isKnown)
        {
            known.isKnown = true;
            for (const kxMetaField* field : type->getFields())
                if (field->getKind() == kxFieldKind::OBJECT && mayHoldAttrs(field->getReferencedType()))
                    known.fields.push_back(static_cast<const kxObjectField*>(field));
        }
        return known.fields;
    }

private:
    struct Type
    {
        bool isKnown = false;
        std::vector<const kxObjectField*> fields;
    };
    std::vector<Type> m_types; // by index
};

} // namespace

// Nested instances can have more paths than any run could follow.
constexpr size_t kMaxPaths = size_t(1) << 24;

void kxStatistics::createStatitics(const kxNode* node, int depth)
{
    const auto iterate = kxNew<kxIterateGraph>();
    iterate->begin(const_cast<kxNode*>(node));
    Tally nodes(g_nodeCounters, *_nodeStatistics);
    Tally attrs(g_attrCounters, *_attrStatistics);
    AttrRoad attrRoad(attrs);
    AttrFields attrFields;
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
        for (const kxObjectField* field : attrFields.of(current->getMetaObject()))
        {
            const void* address = field->getAddress(current);
            if (const kxObject* value = address ? field->getObject(address) : nullptr)
                attrRoad.add(value, currentDepth);
        }
    }
    nodes.finish();
    attrRoad.finish();
    attrs.finish();
}

void kxStatistics::reportStatistics(STATISTICS_VERBOSE level, kxOptInterface* service) const
{
    _attrStatistics->reportStatistics(level, service);
    _nodeStatistics->reportStatistics(level, service);
}

} // namespace Kel::Opt
