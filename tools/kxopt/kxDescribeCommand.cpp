// kxopt describe: what a script can set in one optimization.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxJsonWriter.h"
#include "tools/kxopt/kxParameters.h"
#include "tools/kxopt/kxText.h"

#include "opt/framework/kxOptBase.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

using namespace Kel::Core;

namespace Kel::Tool
{

namespace
{

struct Settings
{
    std::string className;
    bool json = false;
};

std::string toJson(const kxMetaObject& type, const std::vector<kxParameter>& parameters)
{
    kxJsonWriter json;
    json.beginObject();
    json.member("name", type.getName().view());
    json.member("help", type.getHelp());
    json.key("parameters").beginArray();
    for (const kxParameter& parameter : parameters)
    {
        json.beginObject();
        json.member("name", parameter.key);
        json.member("type", parameter.type);
        json.key("default");
        writeValue(json, parameter);
        json.member("help", parameter.field->getHelp());
        if (parameter.values)
        {
            json.key("values").beginArray();
            for (const kxMetaEnum::Value& value : parameter.values->getValues())
            {
                json.beginObject();
                json.member("name", value.name);
                json.member("value", value.value);
                json.endObject();
            }
            json.endArray();
        }
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.getText();
}

std::string toText(const kxMetaObject& type, const std::vector<kxParameter>& parameters)
{
    std::string text = type.getName().str() + ": " + type.getHelp() + "\n";
    if (parameters.empty())
        return text + "\nNo parameters.\n";
    text += "\n";
    kxTable table("llll");
    table.addRow({"parameter", "type", "default", "help"});
    for (const kxParameter& parameter : parameters)
        table.addRow({parameter.key, parameter.type, parameter.scriptValue.empty() ? "(none)" : parameter.scriptValue,
                      parameter.field->getHelp()});
    text += table.toText(2);
    for (const kxParameter& parameter : parameters)
    {
        if (!parameter.values)
            continue;
        kxTable values("rl");
        for (const kxMetaEnum::Value& value : parameter.values->getValues())
            values.addRow({std::to_string(value.value), value.name});
        text += "\nvalues of " + parameter.key + " (scripts give the name, or " + parameter.field->getName().str() +
                " the number)\n" + values.toText(2);
    }
    return text;
}

int describe(const Settings& settings)
{
    const kxMetaObject* type = findOptimization(settings.className);
    if (!type)
    {
        const std::string nearest = findNearestOptimization(settings.className);
        kxConsole::get().error(settings.className + ": is no optimization" +
                               (nearest.empty() ? " (kxopt list names them)" : "; did you mean " + nearest + "?"));
        return kExitUnusable;
    }
    const kxSmartPointer<kxObject> fresh = type->createInstance();
    const std::vector<kxParameter> parameters = listParameters(*fresh, Opt::kxOptBase::staticMetaObject());
    const std::string text = settings.json ? toJson(*type, parameters) : toText(*type, parameters);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kExitDone;
}

} // namespace

void addDescribeCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("describe", "list the parameters of an optimization");
    const auto settings = std::make_shared<Settings>();
    command->add_option("CLASS", settings->className, "class name of the optimization")->required();
    command->add_flag("--json", settings->json, "print JSON instead of a table");
    command->callback([settings, &action] { action = [settings] { return describe(*settings); }; });
}

} // namespace Kel::Tool
