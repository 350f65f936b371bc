// kxopt list: every optimization that a script can name.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxJsonWriter.h"
#include "tools/kxopt/kxParameters.h"
#include "tools/kxopt/kxText.h"

#include "platform/core/kxMetaObject.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace Kel::Core;

namespace Kel::Tool
{

namespace
{

int list(bool asJson)
{
    std::vector<kxMetaObject*> optimizations = listOptimizations();
    std::sort(optimizations.begin(), optimizations.end(),
              [](const kxMetaObject* a, const kxMetaObject* b) { return a->getName().view() < b->getName().view(); });

    std::string text;
    if (asJson)
    {
        kxJsonWriter json;
        json.beginArray();
        for (const kxMetaObject* type : optimizations)
        {
            json.beginObject();
            json.member("name", type->getName().view());
            json.member("help", type->getHelp());
            json.endObject();
        }
        json.endArray();
        text = json.getText();
    }
    else
    {
        kxTable table("ll");
        for (const kxMetaObject* type : optimizations)
            table.addRow({type->getName().str(), type->getHelp()});
        text = table.toText(0);
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kExitDone;
}

} // namespace

void addListCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("list", "name every optimization, those of plug-ins included");
    const auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "print JSON instead of a table");
    command->callback([json, &action] { action = [json] { return list(*json); }; });
}

} // namespace Kel::Tool
