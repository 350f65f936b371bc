// Counting how often and how deep a walk meets objects.
#pragma once

#include "platform/core/kxDelayLine.h"
#include "platform/core/kxFieldTypes.h"
#include "platform/core/kxMetaObject.h"
#include "platform/core/kxTSerialMap.h"

#include <type_traits>
#include <utility>

namespace Kel::Opt
{

using namespace Kel::Core;

/// The counters that one family of objects has when the statistics are enabled.
struct kxMeetingCounters
{
    const kxMetaField* instanceNumber = nullptr;
    const kxMetaField* depthAverage = nullptr;
    const kxMetaField* depthVariance = nullptr;

    /// Appends the three to a type.
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

/// Takes one more meeting into a mean depth of `number` meetings.
inline void addToMeanDepth(float& mean, int32_t& number, int depth)
{
    const auto count = static_cast<float>(number);
    mean = (count * mean + static_cast<float>(depth)) / (count + 1);
    ++number;
}

/// The meetings of one walk. The counters of objects lie all over the memory, and shared objects are met in any order: a walk
/// counts in records that lie side by side, asks for each some meetings ahead, and gives the objects their counters when it is
/// over. `Statistics` is `kxAllNodeStatistics` or `kxAllAttrStatistics`.
template <class Statistics>
class kxTMeetingTally
{
public:
    kxTMeetingTally(const kxMeetingCounters& counters, Statistics& statistics)
        : m_counters(counters), m_statistics(statistics)
    {
    }

    /// Counts the object at a depth, in the entry of its type; at the latest with `finish`.
    void meet(const kxObject* object, int depth)
    {
        Record& record = m_records[object];
        __builtin_prefetch(&record);
        auto* entry = m_statistics.getEntry(object->getMetaObject());
        m_meetings.push({&record, entry, object, depth}, [this](const Meeting& meeting) { countMeeting(meeting); });
    }

    /// Counts what waits, lists new instances and gives all objects met their counters.
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
        addToMeanDepth(meeting.entry->_depth, meeting.entry->_instance, meeting.depth);
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
        addToMeanDepth(record.average, record.number, meeting.depth);
    }

    const kxMeetingCounters& m_counters;
    Statistics& m_statistics;
    kxTSerialMap<Record> m_records;
    kxDelayLine<Meeting, 16> m_meetings;
};

} // namespace Kel::Opt
