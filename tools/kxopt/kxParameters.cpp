#include "tools/kxopt/kxParameters.h"

#include "tools/kxopt/kxJsonWriter.h"

#include "opt/framework/kxOptBase.h"
#include "platform/core/kxNearestName.h"

#include <cstdlib>
#include <cstring>

using namespace Kel::Core;

namespace Kel::Tool
{

namespace
{

// The word for what a script gives for such a field, null for fields that the driver does not read.
const char* typeWord(const kxMetaField& field)
{
    switch (field.getKind())
    {
    case kxFieldKind::BOOL: return "boolean";
    case kxFieldKind::INT:
    case kxFieldKind::LONG:
        return "integer"; // of 64 bits: the classes that have them read them when they are configured
    case kxFieldKind::UNSIGNED: return "unsigned";
    case kxFieldKind::FLOAT: return "number";
    case kxFieldKind::STRING: return "text";
    case kxFieldKind::ENUM: return "enumeration";
    case kxFieldKind::OBJECT:
        return field.getReferencedType() == kxMetaObject::staticMetaObject() ? "class name" : nullptr;
    default: return nullptr;
    }
}

// A fresh object has an appended field without having a value for it yet: that is zero.
std::string valueText(const kxMetaField& field, const void* value)
{
    if (!value)
        return field.getKind() == kxFieldKind::BOOL ? "false" : field.getKind() == kxFieldKind::STRING ? "" : "0";
    if (field.getKind() == kxFieldKind::ENUM)
    {
        int32_t number;
        std::memcpy(&number, value, sizeof number);
        return std::to_string(number);
    }
    const bool unset = field.getKind() == kxFieldKind::OBJECT && field.valueToText(value) == "null";
    return unset ? std::string() : field.valueToText(value);
}

} // namespace

std::vector<kxParameter> listParameters(const kxObject& object, const kxMetaObject* common)
{
    std::vector<kxParameter> parameters;
    for (const kxMetaField* field : object.getMetaObject()->getFields())
    {
        const char* type = typeWord(*field);
        if (!type || (common && common->isDerivedFrom(field->getOwner())))
            continue;
        kxParameter parameter;
        parameter.field = field;
        parameter.key = field->getName().str();
        if (parameter.key.starts_with('_'))
            parameter.key.erase(0, 1);
        parameter.type = type;
        const void* value = field->getAddress(&object);
        parameter.value = valueText(*field, value);
        parameter.values = field->getMetaEnum();
        // By their names: a few optimizations take nothing else.
        parameter.scriptValue = parameter.values && value ? field->valueToText(value) : parameter.value;
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

void writeValue(kxJsonWriter& json, const kxParameter& parameter)
{
    const std::string& value = parameter.value;
    if (parameter.type == "boolean")
        json.boolean(value == "true");
    else if (parameter.type == "number")
        json.number(std::strtof(value.c_str(), nullptr));
    else if (parameter.type == "text" || (parameter.type == "class name" && !value.empty()))
        json.text(value);
    else if (parameter.type == "class name")
        json.null();
    else
        json.integer(std::strtoll(value.c_str(), nullptr, 10));
}

std::vector<kxMetaObject*> listOptimizations()
{
    std::vector<kxMetaObject*> optimizations;
    for (kxMetaObject* type : Opt::kxOptBase::staticMetaObject()->getDerived())
        if (!type->isAbstract())
            optimizations.push_back(type);
    return optimizations;
}

kxMetaObject* findOptimization(const std::string& name)
{
    for (kxMetaObject* type : listOptimizations())
        if (type->getName().view() == name)
            return type;
    return nullptr;
}

std::string findNearestOptimization(const std::string& name)
{
    std::vector<std::string> names;
    for (const kxMetaObject* type : listOptimizations())
        names.push_back(type->getName().str());
    return findNearestName(name, names);
}

} // namespace Kel::Tool
