#include "command_export.h"

#include "common/file_names.h"
#include "export_formats.h"
#include "opensuite/file_error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

namespace tav3d::tools
{

namespace
{

struct ExportArguments
{
    GridRequest request;
    std::string zone;
    std::string output;
};

struct Format
{
    const char* extension;
    void (*write)(const FieldGrid&, const std::string&);
};

constexpr Format formats[] = {{".vtu", writeVtu}, {".cgns", writeCgns}, {".plt", writeTecplot}};

const Format* formatOf(const std::string& file)
{
    std::string extension = common::nameOf(common::pathOf(file).extension());
    std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto* found = std::ranges::find(formats, extension, &Format::extension);
    return found == std::end(formats) ? nullptr : found;
}

void runExport(ExportArguments arguments)
{
    if (!arguments.zone.empty())
        arguments.request.zone = arguments.zone == "voxel" ? opensuite::ZoneId::Voxel : opensuite::ZoneId::CutCell;
    std::vector<std::string> notes;
    const FieldGrid grid = loadFieldGrid(arguments.request, notes);
    if (isSameFile(arguments.output, arguments.request.file) || isSameFile(arguments.output, grid.meshFile))
        throw opensuite::FileError(opensuite::FileFailure::BadInput, arguments.output, "", "is the file that is exported");
    formatOf(arguments.output)->write(grid, arguments.output);
    for (const std::string& note : notes)
        std::cerr << "tav3d: note: " << note << '\n';
    std::cout << arguments.output << ": " << meshName(grid.zone) << " mesh, " << grid.nodeTotal() << " nodes, " << grid.cells.size()
              << " cells, " << grid.fields.size() << " items\n";
}

} // namespace

void addExportCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<ExportArguments>();
    CLI::App* command = app.add_subcommand("export", "Writes a result and its mesh as one file for other programs");
    command->footer(
        "The file stands alone: it holds the mesh, in mesh length units (the scale factor is applied), and a value per node of\n"
        "each item. Its extension chooses the format:\n"
        "  .vtu   VTK XML unstructured grid\n"
        "  .cgns  CGNS; other than a result file, it does not refer to the mesh file\n"
        "  .plt   Tecplot ASCII, bricks\n"
        "Items are named as in viewers of the result file: \"Temperature (6)\". Nodes without a value (items stored for listed\n"
        "nodes only) hold NaN, in .plt files 0. With --part-only nodes are numbered anew, and the array NodeNumber tells the\n"
        "number of each in the mesh file. A file that stands under the name already is replaced when the new one is complete.\n"
        "Examples:\n"
        "  tav3d export housing.q7f -o housing.vtu\n"
        "  tav3d export housing.q7f -o filling.plt --part-only --items 1,6\n"
        "  tav3d export housing.krn -o mesh.vtu --zone voxel");
    command->add_option("file", arguments->request.file, "Result file on either mesh, or a mesh file, which has no items")->required();
    command->add_option("-o,--output", arguments->output, "File to write: .vtu, .cgns or .plt")
        ->required()
        ->check([](const std::string& file)
                { return formatOf(file) != nullptr ? std::string() : "'" + file + "' has none of the extensions .vtu .cgns .plt"; },
                "", "");
    command->add_flag("--part-only", arguments->request.partOnly, "Only the cells of the part and their nodes");
    command->add_option("--items", arguments->request.items, "Item numbers; default: all items with a value per node")
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_option("--mesh", arguments->request.meshFile, "Mesh file of the result, when it is not where the result file says");
    command->add_option("--zone", arguments->zone, "Which mesh of a mesh file; default: cut-cell if there is one")
        ->check(CLI::IsMember({"voxel", "cut-cell"}));
    command->callback([arguments] { runExport(*arguments); });
}

} // namespace tav3d::tools
