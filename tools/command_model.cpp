#include "command_model.h"

#include "common/file_names.h"
#include "json.h"
#include "model_builder.h"
#include "opensuite/mesh_file.h"
#include "text_format.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace tav3d::tools
{

namespace
{

using namespace opensuite;

struct ModelArguments
{
    std::string part;
    std::vector<std::string> inserts;
    std::string output;
    std::string gate;
    std::vector<std::string> vents;
    ModelOptions options;
    bool json = false;
};

constexpr const char* kindNames[] = {"tetrahedra", "pyramids", "prisms", "hexahedra"};
constexpr const char* facetNames[] = {"part skin", "gate", "outer faces", "insert interface", "vent"};

struct Counts
{
    std::array<std::int64_t, 4> plastic{}, moldBase{};
    std::array<std::int64_t, 5> facets{};
    std::int64_t insertFacets = 0, interfaceFacets = 0;
};

Counts count(const MeshZone& zone)
{
    Counts counts;
    for (const CellKind kind : zone.plastic.kind)
    {
        ++counts.plastic[static_cast<std::size_t>(kind)];
    }
    for (const CellKind kind : zone.moldBase.kind)
    {
        ++counts.moldBase[static_cast<std::size_t>(kind)];
    }
    for (const SurfaceFacet& facet : zone.surface)
    {
        ++counts.facets[facet.kind];
    }
    for (const PartInsertFacet& facet : zone.partInsert)
    {
        ++counts.insertFacets;
        counts.interfaceFacets += facet.isInterface;
    }
    return counts;
}

std::string textReport(const ModelArguments& arguments, const NamedSurface& part, const BuiltModel& built, double seconds)
{
    std::ostringstream out;
    const auto row = [&](const std::string& name, const auto& voxel, const auto& cutCell)
    { out << "  " << std::left << std::setw(24) << name << std::right << std::setw(22) << voxel << std::setw(22) << cutCell << '\n'; };
    const Counts voxel = count(built.model.voxel);
    const Counts cutCell = count(built.model.cutCell);

    out << arguments.part << ": " << part.surface.mesh.triangle.size() << " triangles, volume " << general(part.surface.volume, 8) << '\n';
    out << arguments.output << ": " << built.cells[0] << " x " << built.cells[1] << " x " << built.cells[2] << " cells of "
        << general(arguments.options.cellSize) << ", scale factor " << general(arguments.options.scaleFactor) << ", gate at "
        << placeText(built.gate) << '\n';
    row("", "voxel", "cut-cell");
    row("nodes", built.model.voxel.nodeTotal(), built.model.cutCell.nodeTotal());
    for (std::size_t k = 4; k-- > 0;)
    {
        row(std::string("part ") + kindNames[k], voxel.plastic[k], cutCell.plastic[k]);
    }
    for (std::size_t k = 4; k-- > 0;)
    {
        row(std::string("mould base ") + kindNames[k], voxel.moldBase[k], cutCell.moldBase[k]);
    }
    for (std::size_t k = 0; k < 5; ++k)
    {
        row(std::string("facets, ") + facetNames[k], voxel.facets[k], cutCell.facets[k]);
    }
    row("part-insert facets", voxel.insertFacets, cutCell.insertFacets);
    row("  on the interface", voxel.interfaceFacets, cutCell.interfaceFacets);
    row("part volume", general(built.voxel.partVolume, 8), general(built.cutCell.partVolume, 8));
    row("  against the STL file", signedPercent(built.voxel.partVolume / built.partVolume - 1),
        signedPercent(built.cutCell.partVolume / built.partVolume - 1));
    out << "built and written in " << general(seconds, 3) << " s\n";
    return out.str();
}

void jsonZone(JsonWriter& json, const std::string& name, const MeshZone& zone, const ZoneFigures& figures, double partVolume)
{
    const Counts counts = count(zone);
    json.key(name).beginObject().member("nodes", zone.nodeTotal());
    const auto kinds = [&](const char* block, const std::array<std::int64_t, 4>& n)
    {
        json.key(block).beginObject();
        for (std::size_t k = 0; k < 4; ++k)
        {
            json.member(kindNames[k], n[k]);
        }
        json.endObject();
    };
    kinds("part", counts.plastic);
    kinds("mouldBase", counts.moldBase);
    json.key("facetsOfKind").beginArray();
    for (const std::int64_t n : counts.facets)
    {
        json.value(n);
    }
    json.endArray().member("partInsertFacets", counts.insertFacets).member("interfaceFacets", counts.interfaceFacets);
    json.member("partVolume", figures.partVolume).member("partVolumeError", figures.partVolume / partVolume - 1).endObject();
}

std::string jsonReport(const ModelArguments& arguments, const NamedSurface& part, const BuiltModel& built, double seconds)
{
    JsonWriter json;
    json.beginObject().member("part", arguments.part).member("triangles", part.surface.mesh.triangle.size());
    json.member("volume", part.surface.volume).member("output", arguments.output).member("cellSize", arguments.options.cellSize);
    json.member("scaleFactor", arguments.options.scaleFactor).key("cells").beginArray();
    for (const std::int32_t n : built.cells)
    {
        json.value(n);
    }
    json.endArray().key("gate").beginArray().value(built.gate.x).value(built.gate.y).value(built.gate.z).endArray();
    jsonZone(json, "voxel", built.model.voxel, built.voxel, built.partVolume);
    jsonZone(json, "cutCell", built.model.cutCell, built.cutCell, built.partVolume);
    json.key("warnings").beginArray();
    for (const std::string& warning : built.warnings)
    {
        json.value(warning);
    }
    json.endArray().member("seconds", seconds).endObject();
    return json.text();
}

void runModel(ModelArguments arguments)
{
    const auto start = std::chrono::steady_clock::now();
    const std::string partName = common::nameOf(common::pathOf(arguments.part).stem());
    if (arguments.output.empty())
    {
        arguments.output = partName + ".krn";
    }
    arguments.options.title = partName;
    if (!arguments.gate.empty())
    {
        arguments.options.gate = parsePlace(arguments.gate);
    }
    for (const std::string& vent : arguments.vents)
    {
        arguments.options.vents.push_back(parsePlace(vent));
    }

    std::vector<std::string> warnings;
    const auto read = [&](const std::string& path)
    {
        NamedSurface named{path, readStl(path)};
        for (const std::string& warning : named.surface.warnings)
        {
            warnings.push_back(path + ": " + warning);
        }
        return named;
    };
    const NamedSurface part = read(arguments.part);
    std::vector<NamedSurface> inserts;
    for (const std::string& insert : arguments.inserts)
    {
        inserts.push_back(read(insert));
    }
    for (const std::string& warning : warnings)
    {
        std::cerr << "tav3d: warning: " << warning << '\n';
    }
    BuiltModel built = buildModel(part, inserts, arguments.options);
    for (const std::string& warning : built.warnings)
    {
        std::cerr << "tav3d: warning: " << warning << '\n';
    }
    built.warnings.insert(built.warnings.begin(), warnings.begin(), warnings.end());
    writeMeshFile(arguments.output, built.model);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cout << (arguments.json ? jsonReport(arguments, part, built, seconds) : textReport(arguments, part, built, seconds)) << std::flush;
}

} // namespace

void addModelCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<ModelArguments>();
    CLI::App* command = app.add_subcommand("model", "Makes the voxel mesh and the cut-cell mesh of a part in its mould block");
    command->footer("Example:\n  tav3d model data/housing.stl --insert data/insert.stl --cell-size 1.0 -o housing.krn\n"
                    "Lengths are in the unit of the STL files. What was repaired in them, and what got lost, is told on standard error.");
    const CLI::Validator isPlace(
        [](std::string& text) -> std::string
        {
            try
            {
                parsePlace(text);
                return {};
            }
            catch (const std::invalid_argument& error)
            {
                return error.what();
            }
        },
        "x,y,z");
    const CLI::Validator positive(
        [](std::string& text) -> std::string
        {
            double value = 0;
            const bool isNumber = CLI::detail::lexical_cast(text, value);
            return isNumber && value > 0 && std::isfinite(value) ? std::string{} : "'" + text + "' is no positive number";
        },
        "POSITIVE");

    command->add_option("part", arguments->part, "STL file of the part, ASCII or binary")->required();
    command->add_option("--cell-size", arguments->options.cellSize, "Edge of a grid cell; three cells through the wall are a good start")
        ->required()
        ->check(positive);
    command->add_option("--insert", arguments->inserts, "STL file of a part insert; may be given several times")->allow_extra_args(false);
    command->add_option("--gate", arguments->gate, "Place of the gate; default: middle of the part's largest flat outside")->check(isPlace);
    command->add_option("--vent", arguments->vents, "Place of a vent; may be given several times")->allow_extra_args(false)->check(isPlace);
    command->add_option("--gate-radius", arguments->options.gateRadius, "Radius of gate and vents; default: 1.5 cells")->check(positive);
    command->add_option("--margin", arguments->options.margin, "Cells of mould base around the part; default: 3")
        ->check(CLI::Range(1, 1000));
    command->add_option("--scale", arguments->options.scaleFactor, "Scale factor of the model; coordinates are stored unscaled; default: 1")
        ->check(positive);
    command->add_option("-o,--output", arguments->output,
                        "Mesh file to write; default: the part's name with .krn, in the working directory");
    command->add_flag("--json", arguments->json, "Print the summary as JSON");
    command->callback([arguments] { runModel(*arguments); });
}

} // namespace tav3d::tools
