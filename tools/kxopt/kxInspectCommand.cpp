// kxopt inspect: what a scene holds.
#include "tools/kxopt/kxCommand.h"

#include "tools/kxopt/kxConsole.h"
#include "tools/kxopt/kxInventory.h"
#include "tools/kxopt/kxJsonWriter.h"
#include "tools/kxopt/kxTarget.h"
#include "tools/kxopt/kxText.h"

#include "platform/core/kxFileFormat.h"
#include "platform/core/kxResource.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxSceneInfo.h"
#include "platform/sg/kxTextScene.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

using namespace Kel::Core;

namespace Kel::Tool
{

namespace
{

// Grows with every change of the JSON that is not an added key.
constexpr int kSchemaVersion = 1;

struct Settings
{
    std::string input;
    bool json = false;
    bool tree = false;
    bool allowOutside = false;
};

struct File
{
    std::string path;
    std::string format;
    uint64_t bytes = 0;
};

void writeValues(kxJsonWriter& json, const char* key, const kxInventory::Values& values)
{
    json.key(key).beginObject();
    json.member("count", values.count);
    json.member("distinct", values.distinct);
    json.endObject();
}

void writeImages(kxJsonWriter& json, const kxInventory& inventory)
{
    json.key("images").beginObject();
    json.member("count", inventory.images.size());
    json.member("bytes", inventory.imageBytes);
    json.key("list").beginArray();
    for (const kxInventory::Image& image : inventory.images)
    {
        json.beginObject();
        json.member("name", image.name);
        json.member("format", image.format);
        json.member("width", image.width);
        json.member("height", image.height);
        json.member("bytes", image.bytes);
        json.member("embedded", image.file.empty());
        json.key("file");
        if (image.file.empty())
            json.null();
        else
            json.text(image.file);
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

std::string toJson(const File& file, const kxInventory& inventory)
{
    kxJsonWriter json;
    json.beginObject();
    json.member("schema", kSchemaVersion);
    json.key("file").beginObject();
    json.member("path", file.path);
    json.member("format", file.format);
    json.member("bytes", file.bytes);
    json.endObject();
    json.member("scenes", inventory.scenes);

    json.key("nodes").beginObject();
    json.member("count", inventory.nodes);
    json.member("depth", inventory.depth);
    json.member("shared", inventory.sharedNodes);
    json.member("instances", inventory.instances);
    json.key("types").beginObject();
    for (const auto& [type, count] : inventory.nodeTypes)
        json.member(type, count);
    json.endObject();
    json.endObject();

    json.key("geometry").beginObject();
    json.member("count", inventory.geometries);
    json.member("drawn", inventory.geometriesDrawn);
    json.member("triangles", inventory.triangles);
    json.member("trianglesDrawn", inventory.trianglesDrawn);
    json.member("vertices", inventory.vertices);
    json.member("bytes", inventory.vertexBytes);
    json.endObject();

    json.key("attributes").beginObject();
    json.member("count", inventory.attributes.count);
    json.member("distinct", inventory.attributes.distinct);
    json.key("types").beginObject();
    for (const auto& [type, values] : inventory.attributeTypes)
        writeValues(json, type.c_str(), values);
    json.endObject();
    json.endObject();
    writeValues(json, "materials", inventory.materials);
    writeValues(json, "textures", inventory.textures);
    writeImages(json, inventory);

    json.key("animations").beginObject();
    json.member("count", inventory.animations);
    json.endObject();
    json.key("skins").beginObject();
    json.member("count", inventory.skins);
    json.member("joints", inventory.joints);
    json.endObject();
    json.member("cameras", inventory.cameras);
    json.member("lights", inventory.lights);
    json.endObject();
    return json.getText();
}

std::string distinctOf(const kxInventory::Values& values)
{
    return groupDigits(values.distinct) + " distinct";
}

std::string toTable(const File& file, const kxInventory& inventory)
{
    kxTable summary("lrl");
    const auto add = [&](const char* what, uint64_t count, const std::string& remark = {}) {
        summary.addRow({what, groupDigits(count), remark});
    };
    add("bytes", file.bytes, file.format);
    add("scenes", inventory.scenes);
    add("nodes", inventory.nodes, "depth " + groupDigits(inventory.depth));
    add("instances", inventory.instances, groupDigits(inventory.sharedNodes) + " shared");
    add("geometries", inventory.geometries, groupDigits(inventory.geometriesDrawn) + " drawn");
    add("triangles", inventory.triangles, groupDigits(inventory.trianglesDrawn) + " drawn");
    add("vertices", inventory.vertices, groupDigits(inventory.vertexBytes) + " bytes");
    add("attributes", inventory.attributes.count, distinctOf(inventory.attributes));
    add("materials", inventory.materials.count, distinctOf(inventory.materials));
    add("textures", inventory.textures.count, distinctOf(inventory.textures));
    add("images", inventory.images.size(), groupDigits(inventory.imageBytes) + " bytes");
    add("animations", inventory.animations);
    add("skins", inventory.skins, groupDigits(inventory.joints) + " joints");
    add("cameras", inventory.cameras);
    add("lights", inventory.lights);

    kxTable nodes("lr");
    for (const auto& [type, count] : inventory.nodeTypes)
        nodes.addRow({type, groupDigits(count)});
    kxTable attributes("lrl");
    for (const auto& [type, values] : inventory.attributeTypes)
        attributes.addRow({type, groupDigits(values.count), distinctOf(values)});
    kxTable images("lrlrl");
    for (const kxInventory::Image& image : inventory.images)
        images.addRow({oneLine(image.name.empty() ? "(no name)" : image.name),
                       image.width ? std::to_string(image.width) + " x " + std::to_string(image.height) : "",
                       oneLine(image.format), groupDigits(image.bytes),
                       image.file.empty() ? "embedded" : "file " + oneLine(image.file)});

    std::string text = oneLine(file.path) + "\n" + summary.toText(2);
    const auto addPart = [&](const char* title, const kxTable& table)
    {
        if (!table.isEmpty())
            text += std::string("\n") + title + "\n" + table.toText(2);
    };
    addPart("nodes by type", nodes);
    addPart("attributes by type", attributes);
    addPart("images (size, format, bytes, place)", images);
    return text;
}

// The graph of every scene. Data pumps are shown by their marks in it; other infos only refer to what stands there.
std::string toTree(const kxDirectory& directory)
{
    std::vector<const Sg::kxSceneInfo*> scenes;
    const Sg::kxDataPumpInfo* pumps = nullptr;
    for (uint32_t i = 0; i < directory.getSharedEntryCount(); ++i)
    {
        const kxObject* object = directory.getSharedObject(i);
        if (const auto* pumpInfo = kxCast<Sg::kxDataPumpInfo>(object))
            pumps = pumpInfo;
        else if (const auto* scene = kxCast<Sg::kxSceneInfo>(object))
            scenes.push_back(scene);
    }
    std::string text;
    for (const Sg::kxSceneInfo* scene : scenes)
    {
        text += "; scene " + oneLine(scene->getName().view()) + "\n";
        text += Sg::kxTextScene::print(scene->getSceneGraph(), pumps, Sg::kxTextScene::TREE);
        if (!text.ends_with('\n'))
            text += '\n';
    }
    return text;
}

int inspect(const Settings& settings)
{
    kxInputScope input;
    const kxSmartPointer<kxFileOptions> options = kxNew<kxFileOptions>();
    options->_allowOutside = settings.allowOutside;
    const kxSmartPointer<kxDirectory> directory = kxResource::load(settings.input.c_str(), options);
    if (!directory->isLoaded())
        return kExitUnusable;
    input.accept();

    File file;
    file.path = settings.input;
    if (const kxSmartPointer<kxFileFormat> format = kxFileFormat::findReader(settings.input.c_str()))
        file.format = format->getName();
    file.bytes = getFileBytes(settings.input);

    std::string text;
    if (settings.tree)
        text = toTree(*directory);
    else if (const kxInventory inventory = kxInventory::collect(*directory); settings.json)
        text = toJson(file, inventory);
    else
        text = toTable(file, inventory);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kExitDone;
}

} // namespace

void addInspectCommand(CLI::App& program, kxAction& action)
{
    CLI::App* command = program.add_subcommand("inspect", "say what a scene holds");
    const auto settings = std::make_shared<Settings>();
    command->add_option("IN", settings->input, "scene to read")->required();
    CLI::Option* json = command->add_flag("--json", settings->json, "print JSON instead of a table");
    command->add_flag("--tree", settings->tree, "print the scene graphs as text instead of a table")->excludes(json);
    command->add_flag("--allow-outside", settings->allowOutside,
                      "follow references to files outside the scene's folder");
    command->callback([settings, &action] { action = [settings] { return inspect(*settings); }; });
}

} // namespace Kel::Tool
