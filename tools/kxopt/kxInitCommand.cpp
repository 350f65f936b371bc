// kxopt init: a script to start from, told from the fields of the driver and of every optimization.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxParameters.h"
#include "tools/kxopt/kxText.h"

#include "opt/framework/kxOptManager.h"
#include "opt/scene/kxRepairHierarchy.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

using namespace Kel::Core;
using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

constexpr size_t kCommentWidth = 100;

const char kIntroduction[] =
    "; Script for kxopt run. kxopt list names the optimizations, kxopt describe CLASS their parameters.\n"
    ";\n"
    "; The sections [OPTIMIZATION1], [OPTIMIZATION2] ... run in the order of their numbers; numbers without a section "
    "are\n"
    "; passed over. A section or key that stands behind a semicolon is off: take the semicolon away to switch it on. "
    "Keys\n"
    "; that are off show their defaults.\n";

std::string comment(const std::string& text)
{
    std::string lines;
    for (const std::string& line : wrapText(text, kCommentWidth))
        lines += "; " + line + "\n";
    return lines;
}

// The registry knows which values need quotes.
std::string assignment(const std::string& key, const std::string& value)
{
    const kxSmartPointer<kxRegistry> line = kxNew<kxRegistry>();
    line->setValue("", key, value);
    return line->toText();
}

std::string describeValues(const kxMetaEnum& values)
{
    std::string text;
    for (const kxMetaEnum::Value& value : values.getValues())
        text += (text.empty() ? "" : ", ") + std::to_string(value.value) + " " + value.name;
    return text;
}

// Every setting as a line that is off, what it means above it.
std::string settingLines(const std::vector<kxParameter>& parameters)
{
    std::string text;
    for (const kxParameter& parameter : parameters)
    {
        text += comment(std::string(parameter.field->getHelp()) + " (" + parameter.type +
                        (parameter.values ? ": " + describeValues(*parameter.values) : "") + ")");
        text += ";" + assignment(parameter.key, parameter.scriptValue);
    }
    return text;
}

std::string makeScript()
{
    std::vector<kxMetaObject*> optimizations = listOptimizations();
    // The one that is on by itself comes first: it is safe on every scene.
    std::stable_partition(optimizations.begin(), optimizations.end(),
                          [](const kxMetaObject* type) { return type == kxRepairHierarchy::staticMetaObject(); });

    std::string text = kIntroduction;
    text += "\n[OPTIMIZE]\n" + comment("highest number of a section that is looked at");
    text += assignment(kxOptManager::optCountToken, std::to_string(optimizations.size()));
    text += settingLines(listParameters(*kxNew<kxOptManager>(), kxBase::staticMetaObject()));
    for (size_t i = 0; i < optimizations.size(); ++i)
    {
        const kxMetaObject& type = *optimizations[i];
        const std::string off = &type == kxRepairHierarchy::staticMetaObject() ? "" : ";";
        text += "\n" + comment(type.getHelp());
        text += off + "[" + kxOptManager::optToken + std::to_string(i + 1) + "]\n";
        text += off + assignment(kxOptBase::nameToken, type.getName().str());
        text += settingLines(listParameters(*type.createInstance(), kxOptBase::staticMetaObject()));
    }
    return text;
}

int init(const std::string& path)
{
    const std::string text = makeScript();
    // "x": making the file and finding out that there is one already is a single act.
    std::FILE* file = std::fopen(path.c_str(), "wx");
    if (!file)
    {
        kxConsole::get().error(path + ": " +
                               (errno == EEXIST ? "is there already and is left as it is" : std::strerror(errno)));
        return kExitUnusable;
    }
    const bool complete = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !complete)
    {
        kxConsole::get().error(path + ": " + std::strerror(errno));
        std::remove(path.c_str());
        return kExitFailed;
    }
    return kExitDone;
}

} // namespace

void addInitCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("init", "write a commented script to start from");
    const auto path = std::make_shared<std::string>("Veltrin.ini");
    command->add_option("NAME", *path, "file to write; one that is there is left as it is")->capture_default_str();
    command->callback([path, &action] { action = [path] { return init(*path); }; });
}

} // namespace Kel::Tool
