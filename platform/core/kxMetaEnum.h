// Names of the values of an enumeration.
#pragma once

#include "platform/core/kxCoreFwd.h"

#include <initializer_list>
#include <string_view>
#include <vector>

namespace Kel::Core
{

/// Names and values of an enumeration, in the order in which they were declared. An enum `E` is reflected by a function
/// `const kxMetaEnum& kxMetaEnumOf(E)` beside it.
class kxMetaEnum
{
public:
    struct Value
    {
        const char* name;
        int32_t value;
    };

    kxMetaEnum(const char* name, std::initializer_list<Value> values) : m_name(name), m_values(values) {}

    const char* getName() const { return m_name; }
    const std::vector<Value>& getValues() const { return m_values; }

    /// Name of a value, null when the enumeration has no such value.
    const char* getValueName(int32_t value) const
    {
        for (const Value& v : m_values)
            if (v.value == value)
                return v.name;
        return nullptr;
    }
    /// Finds a value by its name (exact); false when there is none.
    bool findValue(std::string_view name, int32_t& value) const
    {
        for (const Value& v : m_values)
            if (name == v.name)
            {
                value = v.value;
                return true;
            }
        return false;
    }

private:
    const char* m_name;
    std::vector<Value> m_values;
};

} // namespace Kel::Core
