#include "command_info.h"

#include "json.h"
#include "opensuite/file_error.h"
#include "opensuite/mesh_file_reader.h"
#include "opensuite/result_file_reader.h"
#include "text_format.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <variant>

namespace tav3d::tools
{

namespace
{

using namespace opensuite;

struct ResultSummary
{
    CBinaryInform description;
};

using Summary = std::variant<MeshSummary, ResultSummary>;

struct InfoArguments
{
    std::vector<std::string> files;
    bool json = false;
};

const char* kindName(CellKind kind)
{
    constexpr const char* names[] = {"tetrahedra", "pyramids", "prisms", "hexahedra"};
    return names[static_cast<std::size_t>(kind)];
}

std::string facetKindName(std::int32_t kind)
{
    constexpr const char* names[] = {"part skin", "gate", "outer faces", "insert interface", "vent"};
    return kind >= 0 && kind < 5 ? names[kind] : "kind " + std::to_string(kind);
}

std::string bodyName(std::int32_t number)
{
    return number == body::part ? "part" : number == body::mold ? "mould base" : "insert " + std::to_string(number - body::firstInsert + 1);
}

Summary summariseFile(const std::string& file)
{
    try
    {
        return readMeshSummary(file);
    }
    catch (const FileError& error)
    {
        if (error.failure() != FileFailure::WrongKind)
        {
            throw;
        }
    }
    try
    {
        return ResultSummary{OpenResultFile(file).description()};
    }
    catch (const FileError& error)
    {
        if (error.failure() != FileFailure::WrongKind)
        {
            throw;
        }
    }
    throw FileError(FileFailure::WrongKind, file, "", "is neither a mesh file nor a result file");
}

void printRow(std::ostream& out, const std::string& name, const std::string& value)
{
    out << "    " << std::left << std::setw(28) << name << std::right << std::setw(14) << value << '\n';
}

void printZone(std::ostream& out, const char* name, const MeshZoneSummary& zone)
{
    out << "  " << name << (zone.present ? "" : ": not in the file") << '\n';
    if (!zone.present)
    {
        return;
    }
    const auto row = [&](const std::string& what, std::int64_t n) { printRow(out, what, std::to_string(n)); };
    row("nodes", zone.nodes);
    row("plastic elements", zone.plastic);
    row("mould-base elements", zone.moldBase);
    for (const auto& [kind, n] : zone.cellsOfKind)
    {
        row(std::string("  ") + kindName(kind), n);
    }
    for (const auto& [number, n] : zone.cellsOfBody)
    {
        row("  in body " + std::to_string(number) + " (" + bodyName(number) + ")", n);
    }
    row("surface facets", zone.surface);
    for (const auto& [kind, n] : zone.facetsOfKind)
    {
        row("  " + std::to_string(kind) + " " + facetKindName(kind), n);
    }
    row("part-insert entries", zone.partInsert);
    row("  on an interface", zone.interfaceFacets);
    row("part/insert interfaces", zone.partInterfaces);
    out << "    box " << placeText({zone.lowest[0], zone.lowest[1], zone.lowest[2]}) << " to "
        << placeText({zone.highest[0], zone.highest[1], zone.highest[2]}) << ", unscaled\n";
}

void printMesh(std::ostream& out, const std::string& file, const MeshSummary& mesh)
{
    out << file << ": mesh file" << (mesh.title.empty() ? "" : " \"" + mesh.title + "\"") << ", format version " << mesh.formatVersion
        << ", scale factor " << general(mesh.scaleFactor);
    if (mesh.cellSize > 0)
    {
        out << ", cell size " << general(mesh.cellSize);
    }
    out << '\n';
    printZone(out, "voxel mesh", mesh.voxel);
    printZone(out, "cut-cell mesh", mesh.cutCell);
}

void printResult(std::ostream& out, const std::string& file, const CBinaryInform& result)
{
    out << file << ": result file" << (result.m_strTitle.empty() ? "" : " \"" + result.m_strTitle + "\"") << " on the "
        << (result.m_bOnCutCellMesh ? "cut-cell" : "voxel") << " mesh of " << result.m_strMeshFile << '\n';
    printRow(out, "voxel nodes", std::to_string(result.m_nVoxelNode));
    printRow(out, "cut-cell nodes", std::to_string(result.m_nCutCellNode));
    printRow(out, "nodes of the part", std::to_string(result.m_nMaxCavityNode));
    printRow(out, "filling time", general(result.m_dFillingTime) + " s");
    printRow(out, "output times", std::to_string(result.m_OutputTime.size()));
    printRow(out, "venting result", result.m_bHasVentingResult ? "yes" : "no");
    for (const auto& [name, value] : result.m_CoolInfo)
    {
        printRow(out, "cooling: " + name, general(value));
    }
    for (const auto& [number, type] : result.m_ResultType)
    {
        out << "    result type " << number << ": " << type.m_nDimension << " values" << (type.m_bUseIDMap ? " at listed nodes" : "")
            << '\n';
    }
    out << "    item   type             minimum        maximum  name\n";
    for (const CBinaryResultItem& item : result.m_ResultItem)
    {
        out << std::setw(8) << item.m_iResultItemID << std::setw(7) << item.m_iResultType << std::setw(20) << general(item.m_fMin)
            << std::setw(15) << general(item.m_fMax) << "  " << item.m_strName
            << (item.m_strUnit.empty() ? "" : " [" + item.m_strUnit + "]") << '\n';
    }
}

void jsonZone(JsonWriter& json, const char* name, const MeshZoneSummary& zone)
{
    json.key(name);
    if (!zone.present)
    {
        json.beginObject().member("present", false).endObject();
        return;
    }
    json.beginObject().member("present", true).member("nodes", zone.nodes);
    json.member("plasticElements", zone.plastic).member("mouldBaseElements", zone.moldBase).key("elementsOfKind").beginObject();
    for (const auto& [kind, n] : zone.cellsOfKind)
    {
        json.member(kindName(kind), n);
    }
    json.endObject().key("elementsOfBody").beginObject();
    for (const auto& [number, n] : zone.cellsOfBody)
    {
        json.member(std::to_string(number), n);
    }
    json.endObject().member("surfaceFacets", zone.surface).key("facetsOfKind").beginObject();
    for (const auto& [kind, n] : zone.facetsOfKind)
    {
        json.member(std::to_string(kind), n);
    }
    json.endObject().member("partInsertEntries", zone.partInsert).member("interfaceFacets", zone.interfaceFacets);
    json.member("partInterfaces", zone.partInterfaces).member("partInsertInterfaces", zone.partInsertInterfaces);
    for (const auto& [corner, place] : {std::pair{"lowest", zone.lowest}, std::pair{"highest", zone.highest}})
    {
        json.key(corner).beginArray().value(place[0]).value(place[1]).value(place[2]).endArray();
    }
    json.endObject();
}

void jsonMesh(JsonWriter& json, const std::string& file, const MeshSummary& mesh)
{
    json.beginObject().member("file", file).member("kind", "mesh").member("title", mesh.title).member("formatVersion", mesh.formatVersion);
    json.member("scaleFactor", mesh.scaleFactor).member("cellSize", double{mesh.cellSize});
    jsonZone(json, "voxel", mesh.voxel);
    jsonZone(json, "cutCell", mesh.cutCell);
    json.endObject();
}

void jsonResult(JsonWriter& json, const std::string& file, const CBinaryInform& result)
{
    json.beginObject()
        .member("file", file)
        .member("kind", "result")
        .member("title", result.m_strTitle)
        .member("meshFile", result.m_strMeshFile);
    json.member("mesh", result.m_bOnCutCellMesh ? "cutCell" : "voxel").member("voxelNodes", result.m_nVoxelNode);
    json.member("cutCellNodes", result.m_nCutCellNode).member("partNodes", result.m_nMaxCavityNode);
    json.member("fillingTime", result.m_dFillingTime).member("multipleTimeStepMode", result.m_iMultipleTimeStepMode);
    json.member("hasVentingResult", result.m_bHasVentingResult).key("outputTimes").beginArray();
    for (const double time : result.m_OutputTime)
    {
        json.value(time);
    }
    json.endArray().key("cooling").beginObject();
    for (const auto& [name, value] : result.m_CoolInfo)
    {
        json.member(name, value);
    }
    json.endObject().key("resultTypes").beginArray();
    for (const auto& [number, type] : result.m_ResultType)
    {
        json.beginObject().member("type", number).member("values", type.m_nDimension).member("idMap", type.m_bUseIDMap).endObject();
    }
    json.endArray().key("items").beginArray();
    for (const CBinaryResultItem& item : result.m_ResultItem)
    {
        json.beginObject().member("item", item.m_iResultItemID).member("type", item.m_iResultType).member("name", item.m_strName);
        json.member("unit", item.m_strUnit).member("minimum", double{item.m_fMin}).member("maximum", double{item.m_fMax}).endObject();
    }
    json.endArray().endObject();
}

/// Tells about every file that can be read; a file that cannot does not hide the others.
void runInfo(const InfoArguments& arguments)
{
    std::vector<std::string> failures;
    JsonWriter json;
    json.beginArray();
    for (const std::string& file : arguments.files)
    {
        try
        {
            const Summary summary = summariseFile(file);
            const auto* mesh = std::get_if<MeshSummary>(&summary);
            if (arguments.json)
            {
                mesh != nullptr ? jsonMesh(json, file, *mesh) : jsonResult(json, file, std::get<ResultSummary>(summary).description);
            }
            else
            {
                mesh != nullptr ? printMesh(std::cout, file, *mesh)
                                : printResult(std::cout, file, std::get<ResultSummary>(summary).description);
            }
        }
        catch (const std::exception& error)
        {
            failures.emplace_back(error.what());
        }
    }
    json.endArray();
    if (arguments.json)
    {
        std::cout << json.text();
    }
    std::cout << std::flush;
    for (std::size_t i = 0; i + 1 < failures.size(); ++i)
    {
        std::cerr << "tav3d: error: " << failures[i] << '\n';
    }
    if (!failures.empty())
    {
        throw std::runtime_error(failures.back()); // the program reports it and ends with its status
    }
}

} // namespace

void addInfoCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<InfoArguments>();
    CLI::App* command = app.add_subcommand("info", "Tells what stands in mesh files and result files");
    command->footer("Example:\n  tav3d info housing.krn housing.q7f");
    command->add_option("files", arguments->files, "Mesh files and result files")->required();
    command->add_flag("--json", arguments->json, "Print JSON: an array with one object per file that could be read");
    command->callback([arguments] { runInfo(*arguments); });
}

} // namespace tav3d::tools
