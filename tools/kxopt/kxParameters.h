// What a script can set in an object, told from the object's fields.
#pragma once

#include "platform/core/kxMetaField.h"

#include <string>
#include <vector>

namespace Kel::Tool
{

class kxJsonWriter;

/// One setting: a field that the script driver reads from a section.
struct kxParameter
{
    const Core::kxMetaField* field;
    std::string key;         ///< as scripts name it: the field's name without the underscore
    std::string type;        ///< "boolean", "integer", "unsigned", "number", "text", "enumeration" or "class name"
    std::string value;       ///< as reports give it: of an enumeration the number; empty for no class
    std::string scriptValue; ///< as scripts write it: of an enumeration the name
    const Core::kxMetaEnum* values; ///< of an enumeration, null for other types
};

/// The settings of an object in the order of its fields, with the values that it has now. Fields that `common` has as well
/// are left out: those are the business of the one who runs it.
std::vector<kxParameter> listParameters(const Core::kxObject& object, const Core::kxMetaObject* common);

/// The value with its JSON type: true or false, a number, text; null for a class that is not set.
void writeValue(kxJsonWriter& json, const kxParameter& parameter);

/// The concrete optimizations in order of registration.
std::vector<Core::kxMetaObject*> listOptimizations();
/// The concrete optimization of that name (exact); null, when there is none.
Core::kxMetaObject* findOptimization(const std::string& name);
/// Name of the optimization that is nearest to a name that is none; empty when none is near.
std::string findNearestOptimization(const std::string& name);

} // namespace Kel::Tool
