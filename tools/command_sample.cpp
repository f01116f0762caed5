#include "command_sample.h"

#include "common/file_names.h"
#include "json.h"
#include "opensuite/mesh_file_reader.h"
#include "sample_results.h"
#include "text_format.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

namespace tav3d::tools
{

namespace
{

namespace fs = std::filesystem;
using namespace opensuite;

struct SampleArguments
{
    std::string meshFile;
    std::string folder = ".";
    std::vector<std::string> kinds{std::begin(sampleKinds), std::end(sampleKinds)};
    FlowConditions flow;
    HeatConditions heat;
    double unit = 1.0; // mm
    bool json = false;
};

void printText(const std::string& file, const std::vector<SampleItem>& items)
{
    std::cout << file << '\n';
    for (const SampleItem& item : items)
    {
        std::cout << "    item " << std::setw(3) << item.number << ", type " << item.type << ": " << std::setw(10)
                  << general(item.lowest, 5) << " to " << std::setw(10) << general(item.highest, 5) << "  " << item.name
                  << (item.unit.empty() ? "" : " [" + item.unit + "]") << '\n';
    }
}

void addJson(JsonWriter& json, const std::string& file, const std::string& kind, const std::vector<SampleItem>& items)
{
    json.beginObject().member("file", file).member("kind", kind).key("items").beginArray();
    for (const SampleItem& item : items)
    {
        json.beginObject().member("item", item.number).member("type", item.type).member("name", item.name).member("unit", item.unit);
        json.member("minimum", double{item.lowest}).member("maximum", double{item.highest}).endObject();
    }
    json.endArray().endObject();
}

void runSample(const SampleArguments& arguments)
{
    const MeshSummary header = readMeshHeader(arguments.meshFile);
    const MeshZone voxel = readMeshZone(arguments.meshFile, ZoneId::Voxel);
    const SampleFields fields =
        computeSampleFields(makeSampleGrid(voxel, header.scaleFactor * arguments.unit, arguments.meshFile), arguments.flow, arguments.heat);
    if (fields.flow.unreachedNodes > 0)
    {
        std::cerr << "tav3d: warning: " << arguments.meshFile << ": no way leads from the gate to " << fields.flow.unreachedNodes
                  << " nodes of the part; they are taken to fill last\n";
    }

    const fs::path folder = common::pathOf(arguments.folder);
    fs::create_directories(folder);
    const SampleModel model{arguments.meshFile, header.title, static_cast<int>(header.cutCell.nodes)};
    JsonWriter json;
    json.beginArray();
    for (const std::string& kind : arguments.kinds)
    {
        const std::string file = common::nameOf(common::inFolder(folder, common::pathOf(arguments.meshFile).stem())) + kind;
        const std::vector<SampleItem> items = sampleItems(fields, kind);
        writeSampleResult(fields, items, model, file);
        arguments.json ? addJson(json, file, kind, items) : printText(file, items);
    }
    json.endArray();
    if (arguments.json)
    {
        std::cout << json.text();
    }
}

} // namespace

void addSampleCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<SampleArguments>();
    CLI::App* command = app.add_subcommand("sample", "Makes sample results on the voxel mesh of a model");
    command->footer("Example:\n  tav3d sample housing.krn -o results --kinds .q7f .q7c\nThe fields have the shape of filling, packing and "
                    "cooling results, but "
                    "nothing is simulated: use them to try out\nmappings and viewers.");
    command->add_option("mesh", arguments->meshFile, "Mesh file of the model; its voxel mesh needs a gate")->required();
    command->add_option("-o,--output", arguments->folder, "Folder for the result files; default: the working directory");
    command->add_option("--kinds", arguments->kinds, "Kinds of result files; default: all")
        ->check(CLI::IsMember(std::vector<std::string>{std::begin(sampleKinds), std::end(sampleKinds)}));
    command->add_option("--filling-time", arguments->flow.fillingTime, "Seconds from the gate to the last corner")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_option("--pressure", arguments->flow.injectionPressure, "Pressure at the gate, MPa")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_option("--melt", arguments->heat.meltTemperature, "Melt temperature, degC")->capture_default_str();
    command->add_option("--coolant", arguments->heat.coolantTemperature, "Coolant temperature, degC")->capture_default_str();
    command->add_option("--unit", arguments->unit, "Length unit of the model's coordinates (file times scale factor), in mm")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_flag("--json", arguments->json, "Print JSON: an array with one object per file");
    command->callback([arguments] { runSample(*arguments); });
}

} // namespace tav3d::tools
